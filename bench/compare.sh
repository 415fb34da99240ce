#!/usr/bin/env bash
# Installs what is missing, builds kivsync in Release, and compares it with curl and aria2c.
# Usage: bench/compare.sh [ARGUMENT...]      (arguments go to compare.py, see its --help)
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=$source_dir/build-bench
"$source_dir/scripts/install-packages.sh" build bench
cmake -S "$source_dir" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKIV_BUILD_TESTS=OFF \
    -DKIV_BUILD_BENCH=ON >/dev/null
cmake --build "$build_dir" >/dev/null
exec "$source_dir/bench/compare.py" "$@"
