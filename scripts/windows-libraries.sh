#!/usr/bin/env bash
# Prints the folder with the libraries that the build for Windows stands on: curl and JsonCpp
# cross-built from Debian's source packages, GoogleTest, the headers of CLI11. Builds them once, into
# a cache outside the tree; when they are there it does nothing more.
# Usage: scripts/windows-libraries.sh           (the packages of the group `windows` are installed)
# The cache is $KIV_WINDOWS_CACHE, or kivdownloader-windows in the user's folder for caches.
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
toolchain=$source_dir/cmake/mingw-w64.cmake
exec </dev/null

# A machine's service may run this without HOME.
cache_folder() {
    local home=${HOME:-}
    [ -n "$home" ] || home=$(getent passwd "$(id -u)" | cut -d: -f6 || true)
    if [ -n "${KIV_WINDOWS_CACHE:-}" ]; then
        echo "$KIV_WINDOWS_CACHE"
    elif [ -n "${XDG_CACHE_HOME:-}" ]; then
        echo "$XDG_CACHE_HOME/kivdownloader-windows"
    elif [ -n "$home" ] && [ -w "$home" ]; then
        echo "$home/.cache/kivdownloader-windows"
    else
        echo "${TMPDIR:-/tmp}/kivdownloader-windows-$(id -u)"
    fi
}

# What was built with another recipe or another compiler is built anew.
recipe() {
    cat "${BASH_SOURCE[0]}" "$toolchain" | sha256sum | cut -c1-12
    x86_64-w64-mingw32-g++-posix -dumpfullversion
}

# fetch PACKAGE...: downloads and unpacks source packages by name, with package lists and settings
# of its own, so that the machine's stay as they are.
fetch() {
    local apt_folder=$work/apt found=no file package
    mkdir -p "$apt_folder/parts" "$apt_folder/lists/partial" "$work/downloads" "$work/sources"
    for file in /etc/apt/sources.list.d/debian.sources; do
        [ -e "$file" ] || continue
        sed 's/^Types:.*/Types: deb-src/' "$file" > "$apt_folder/parts/debian.sources"
        found=yes
    done
    if [ "$found" = no ]; then
        sed -n 's/^deb[[:blank:]]/deb-src /p' /etc/apt/sources.list > "$apt_folder/parts/debian.list"
    fi
    local apt=(apt-get -q -o Dir::Etc::sourcelist=/dev/null
               -o Dir::Etc::sourceparts="$apt_folder/parts" -o Dir::State::lists="$apt_folder/lists"
               -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
               -o APT::Sandbox::User="$(id -un)" -o Acquire::Retries=3)
    "${apt[@]}" update
    (cd "$work/downloads" && "${apt[@]}" source --download-only "$@")
    # apt has compared the files with Debian's signed lists; the keys of its developers aren't here.
    for package in curl libjsoncpp; do
        dpkg-source --no-check -x "$work/downloads/${package}"_*.dsc "$work/sources/$package"
    done
}

# build NAME SOURCES OPTION...: configures, builds and installs one library.
build() {
    local name=$1 sources=$2
    shift 2
    cmake -S "$sources" -B "$work/build-$name" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
          -DKIV_WINDOWS_PREFIX="$work/prefix" -DCMAKE_BUILD_TYPE=Release \
          -DCMAKE_INSTALL_PREFIX="$work/prefix" -DCMAKE_POLICY_DEFAULT_CMP0074=NEW "$@"
    cmake --build "$work/build-$name" --parallel "$(nproc)"
    cmake --install "$work/build-$name"
}

build_all() {
    fetch curl libjsoncpp-dev
    # http and https alone, TLS by Windows itself, and nothing that Windows doesn't bring.
    build curl "$work/sources/curl" -DHTTP_ONLY=ON -DCURL_USE_SCHANNEL=ON \
          -DCURL_TARGET_WINDOWS_VERSION=0x0601 -DBUILD_SHARED_LIBS=OFF -DBUILD_CURL_EXE=OFF \
          -DBUILD_TESTING=OFF -DENABLE_MANUAL=OFF -DPICKY_COMPILER=OFF -DCURL_ZLIB=OFF \
          -DCURL_USE_LIBPSL=OFF -DCURL_USE_LIBSSH2=OFF -DUSE_LIBIDN2=OFF
    build jsoncpp "$work/sources/libjsoncpp" -DBUILD_STATIC_LIBS=ON -DBUILD_SHARED_LIBS=OFF \
          -DBUILD_OBJECT_LIBS=OFF -DJSONCPP_WITH_TESTS=OFF -DJSONCPP_WITH_POST_BUILD_UNITTEST=OFF
    build googletest /usr/src/googletest
    # Headers alone, and the same for every system; the compiler for Windows looks nowhere in /usr.
    mkdir -p "$work/prefix/share/cmake"
    cp -R /usr/include/CLI "$work/prefix/include/"
    cp -R /usr/share/cmake/CLI11 "$work/prefix/share/cmake/"
}

cache=$(cache_folder)
mkdir -p "$cache"
key=$(recipe | tr '\n' '-' | sed 's/-$//')
prefix=$cache/$key
exec 9> "$cache/lock"
flock 9
if [ ! -e "$prefix" ]; then
    work=$(mktemp -d "$cache/work.XXXXXX")
    trap 'rm -rf "$work"' EXIT
    echo "Building the libraries for Windows in $cache" >&2
    # Not as a condition: there, -e would count for nothing inside.
    set +e
    (set -e; build_all) > "$cache/build.log" 2>&1
    result=$?
    set -e
    if [ "$result" != 0 ]; then
        tail -n 50 "$cache/build.log" >&2
        echo "windows-libraries.sh: failed; the whole log is $cache/build.log" >&2
        exit 1
    fi
    mv "$work/prefix" "$prefix"
fi
echo "$prefix"
