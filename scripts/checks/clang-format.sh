#!/usr/bin/env bash
# Fails on a source file that clang-format would write otherwise. Usage: clang-format.sh [ROOT]
set -euo pipefail
cd "${1:-$(dirname "${BASH_SOURCE[0]}")/../..}"
mapfile -t files < <(find src host demo tests bench fuzz \( -name '*.h' -o -name '*.cpp' \) -type f \
                     2>/dev/null | sort)
if [ ${#files[@]} = 0 ]; then
    echo "clang-format: no sources here" >&2
    exit 1
fi
clang-format --dry-run --Werror "${files[@]}"
echo "clang-format: ${#files[@]} files, as they should be"
