#!/usr/bin/env bash
# Builds the project for Windows and runs its tests under Wine; installs the Debian packages that
# are missing. Needs no display. Wine gets a fresh folder for its files, which goes in the end.
# Usage: scripts/test-windows.sh [--build-dir=DIR] [--no-install] [-- CTEST-ARGUMENT...]
#   --build-dir=DIR   build there (default: $KIV_WINDOWS_BUILD_DIR, or build-windows-mingw/ in the
#                     source tree)
#   --no-install      take the machine as it is
# The libraries beneath are built once, into a cache; see scripts/windows-libraries.sh.
# CMAKE_BUILD_TYPE is honoured when a build folder is first made; it is Release by itself.
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
exec </dev/null

build_dir=${KIV_WINDOWS_BUILD_DIR:-$source_dir/build-windows-mingw}
install=yes
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir=*) build_dir=${1#*=} ;;
        --no-install) install=no ;;
        --) shift; break ;;
        -h|--help) sed -n '2,10s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0 ;;
        *) echo "test-windows.sh: unknown argument '$1' (see --help)" >&2; exit 2 ;;
    esac
    shift
done

if [ "$install" = yes ]; then
    "$source_dir/scripts/install-packages.sh" build test windows
fi
libraries=$("$source_dir/scripts/windows-libraries.sh")
jobs=$(nproc)

cmake -S "$source_dir" -B "$build_dir" -G Ninja -DKIV_BUILD_TESTS=ON -DKIV_BUILD_HOSTS=ON \
      -DCMAKE_TOOLCHAIN_FILE="$source_dir/cmake/mingw-w64.cmake" \
      -DKIV_WINDOWS_PREFIX="$libraries" -DCMAKE_BUILD_TYPE="${CMAKE_BUILD_TYPE:-Release}"
cmake --build "$build_dir" --parallel "$jobs"

# Wine's files, with the tests' own among them, and the log of the peers.
folder=$(mktemp -d)
chmod 711 "$folder"
export WINEPREFIX=$folder/wine WINEDEBUG=-all
# Wine keeps names of files in the locale's encoding, and refuses what it can't tell.
export LC_ALL=C.UTF-8
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
unset DISPLAY WAYLAND_DISPLAY
peers=
clean_up() {
    local result=$?
    timeout 60 wineserver -k 2>/dev/null || true
    timeout 60 wineserver -w 2>/dev/null || true
    [ -z "$peers" ] || kill "$peers" 2>/dev/null || true
    rm -rf "$folder" || { sleep 2; rm -rf "$folder"; } || true
    exit "$result"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Wine stands for the attribute of files that can't be written by the rights of Linux, which mean
# nothing to root, unless it gives up that privilege.
bound=()
if [ "$(id -u)" = 0 ]; then
    bound=(setpriv --bounding-set -dac_override,-dac_read_search --)
fi

echo "Starting Wine $(wine --version | sed 's/^wine-//')"
# The server stays up between the tests, instead of starting again with each. What it says is a
# list of its own objects when it ends.
mkdir "$WINEPREFIX"
timeout 60 ${bound[@]+"${bound[@]}"} wineserver -p > "$folder/wineserver.log" 2>&1
if ! timeout 300 ${bound[@]+"${bound[@]}"} wineboot -i > "$folder/wineboot.log" 2>&1; then
    cat "$folder/wineboot.log"
    exit 1
fi

# Real servers and proxies run on Linux, and are started by this helper when a test asks for one.
python3 -B "$source_dir/tests/support/linux_side.py" > "$folder/peers" &
peers=$!
for _ in $(seq 100); do
    [ -s "$folder/peers" ] && break
    sleep 0.1
done
export KIV_LINUX_SIDE
KIV_LINUX_SIDE=$(cat "$folder/peers")
[ -n "$KIV_LINUX_SIDE" ] || { echo "test-windows.sh: the helper for peers doesn't start"; exit 1; }

timeout 3600 ${bound[@]+"${bound[@]}"} ctest --test-dir "$build_dir" --parallel "$jobs" --output-on-failure --timeout 300 \
    --no-tests=error --no-label-summary "$@"
