#!/usr/bin/env bash
# Installs the Debian packages that the named groups need and that are missing; when none is
# missing it touches neither the network nor the package system.
# Usage: scripts/install-packages.sh GROUP...        (as root, or as a user who may use sudo)
# Groups: build, test, checks, bench, windows. Called by the other scripts.
set -euo pipefail

packages_of() {
    case "$1" in
        build) echo "g++ cmake ninja-build pkg-config ca-certificates libcurl4-openssl-dev libssl-dev" \
                    "libjsoncpp-dev libcli11-dev libcpp-httplib-dev libgtest-dev googletest" ;;
        test) echo "python3 nginx-light tinyproxy-bin squid openssl" ;;
        checks) echo "clang clang-tidy clang-format libclang-rt-14-dev valgrind python3" ;;
        bench) echo "libbenchmark-dev aria2 curl nginx-light python3 time" ;;
        windows) echo "wine wine64 g++-mingw-w64-x86-64-posix dpkg-dev cmake ninja-build googletest" \
                      "libcli11-dev python3" ;;
        *) echo "install-packages.sh: no group '$1' (there are build, test, checks, bench," \
                "windows)" >&2
           return 1 ;;
    esac
}

# Prints the packages among the arguments that aren't installed.
missing_among() {
    local installed package
    installed=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true)
    for package in "$@"; do
        grep -qxF "$package installed" <<<"$installed" || echo "$package"
    done
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@" </dev/null
    else
        sudo "$@" </dev/null
    fi
}

# The tests start servers of their own; those of the packages must neither start now nor at boot.
policy=/usr/sbin/policy-rc.d
policy_is_ours=no
forbid_services() {
    if [ ! -e "$policy" ]; then
        policy_is_ours=yes
        as_root sh -c "printf '#!/bin/sh\nexit 101\n' > $policy && chmod 755 $policy"
    fi
}
restore_services() {
    if [ "$policy_is_ours" = yes ]; then
        as_root rm -f "$policy"
    fi
}
disable_at_boot() {
    local package
    for package in "$@"; do
        case "$package" in
            nginx-light) as_root update-rc.d nginx disable || true ;;
            squid) as_root update-rc.d squid disable || true ;;
        esac
    done
}

install_packages() {
    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=600)
    if [ "$(id -u)" != 0 ] && ! command -v sudo >/dev/null; then
        echo "install-packages.sh: needs root or sudo to install: $*" >&2
        return 1
    fi
    echo "Installing: $*"
    trap restore_services EXIT
    forbid_services
    as_root "${apt[@]}" update || echo "Not all package lists could be read; trying with what is here."
    as_root "${apt[@]}" install -y --no-install-recommends "$@"
    disable_at_boot "$@"
}

wanted=()
for group in "$@"; do
    names=$(packages_of "$group")
    # shellcheck disable=SC2206  # the names hold no blanks
    wanted+=($names)
done
if [ ${#wanted[@]} = 0 ]; then
    echo "usage: scripts/install-packages.sh build|test|checks|bench|windows ..." >&2
    exit 2
fi
if ! command -v dpkg-query >/dev/null; then
    echo "Not a Debian system; going on with what is installed. Needed are: ${wanted[*]}"
    exit 0
fi
mapfile -t missing < <(missing_among "${wanted[@]}" | sort -u)
if [ ${#missing[@]} != 0 ]; then
    install_packages "${missing[@]}"
fi
