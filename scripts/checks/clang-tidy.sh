#!/usr/bin/env bash
# Runs clang-tidy with .clang-tidy over the sources that a build folder compiles; a warning is a
# failure. Usage: clang-tidy.sh BUILD-FOLDER [PATH-PART...]     (only files whose path has a part)
set -euo pipefail
build_dir=${1:?usage: clang-tidy.sh BUILD-FOLDER [PATH-PART...]}
shift
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

mapfile -t files < <(python3 - "$build_dir" "$@" <<'PYTHON'
import json
import os
import sys

build, parts = sys.argv[1], sys.argv[2:]
with open(os.path.join(build, "compile_commands.json"), encoding="utf-8") as commands:
    files = {os.path.normpath(os.path.join(entry["directory"], entry["file"]))
             for entry in json.load(commands)}
generated = os.path.abspath(build) + os.sep
for file in sorted(files):
    if not file.startswith(generated) and (not parts or any(part in file for part in parts)):
        print(file)
PYTHON
)
if [ ${#files[@]} = 0 ]; then
    echo "clang-tidy: $build_dir compiles no such sources" >&2
    exit 1
fi
config=$source_dir/.clang-tidy
echo "clang-tidy: ${#files[@]} files"
result=0
printf '%s\0' "${files[@]}" | xargs -0 -n 1 -P "$(nproc)" \
    clang-tidy --quiet -p "$build_dir" --extra-arg=-Wno-unknown-warning-option \
    --extra-arg=-Wgnu --extra-arg=-Wvla --extra-arg=-Wmicrosoft \
    2> >(grep -vE '^[0-9]+ warnings? (generated|treated)' >&2) || result=$?
if [ "$result" != 0 ]; then
    echo "clang-tidy: findings (settings: ${config#"$source_dir"/})" >&2
    exit 1
fi
echo "clang-tidy: no findings"
