#!/usr/bin/env bash
# Builds the project and runs all of its tests; installs the Debian packages that are missing.
# Usage: scripts/test.sh [--build-dir=DIR] [--sanitize=LIST] [--no-install] [-- CTEST-ARGUMENT...]
#   --build-dir=DIR   build there (default: $KIV_BUILD_DIR, or build/ in the source tree)
#   --sanitize=LIST   such as address,undefined or thread (default: $KIV_SANITIZE, or none)
#   --no-install      take the machine as it is
# CXX and CMAKE_BUILD_TYPE are honoured when a build folder is first made.
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
exec </dev/null

build_dir=${KIV_BUILD_DIR:-}
sanitize=${KIV_SANITIZE:-}
install=yes
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir=*) build_dir=${1#*=} ;;
        --sanitize=*) sanitize=${1#*=} ;;
        --no-install) install=no ;;
        --) shift; break ;;
        -h|--help) sed -n '2,8s/^# \{0,1\}//p' "${BASH_SOURCE[0]}"; exit 0 ;;
        *) echo "test.sh: unknown argument '$1' (see --help)" >&2; exit 2 ;;
    esac
    shift
done

if [ -z "$build_dir" ]; then
    case "$sanitize" in
        "") build_dir=$source_dir/build ;;
        *) build_dir=$source_dir/build-${sanitize//,/-} ;;
    esac
fi
if [ "$install" = yes ]; then
    "$source_dir/scripts/install-packages.sh" build test
fi

# A sanitized test takes several times as long, and finds nothing if it goes on after a report.
timeout=120
runner=()
case "$sanitize" in
    *thread*)
        timeout=600
        export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:${TSAN_OPTIONS:-}"
        # TSan's shadow memory collides with the wide address randomisation of newer kernels.
        if setarch "$(uname -m)" -R true 2>/dev/null; then
            runner=(setarch "$(uname -m)" -R)
        fi
        ;;
    ?*)
        timeout=600
        export ASAN_OPTIONS="detect_stack_use_after_return=1:${ASAN_OPTIONS:-}"
        export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:${UBSAN_OPTIONS:-}"
        ;;
esac

jobs=$(nproc)
cmake -S "$source_dir" -B "$build_dir" -G Ninja -DKIV_SANITIZE="$sanitize" -DKIV_BUILD_TESTS=ON \
      -DKIV_BUILD_HOSTS=ON ${CMAKE_BUILD_TYPE:+-DCMAKE_BUILD_TYPE="$CMAKE_BUILD_TYPE"}
${runner[@]+"${runner[@]}"} cmake --build "$build_dir" --parallel "$jobs"
${runner[@]+"${runner[@]}"} ctest --test-dir "$build_dir" --parallel "$jobs" --output-on-failure \
    --timeout "$timeout" --no-tests=error --no-label-summary "$@"
