#!/usr/bin/env bash
# Builds the fuzz targets with clang, ASan and UBSan, and runs each for some minutes.
# Usage: fuzz/run.sh MINUTES [TARGET...]        (MINUTES may be a fraction, such as 0.1)
# Targets are the folders beside this file, each with a small corpus; what a run finds on top of it
# stays in the build folder. An input that breaks something is written there too: mend the fault,
# and add the input to the corpus. KIV_FUZZ_BUILD_DIR names another build folder.
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${KIV_FUZZ_BUILD_DIR:-$source_dir/build-fuzz}
exec </dev/null

if [ $# -lt 1 ]; then
    sed -n '2,6s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2
    exit 2
fi
seconds=$(awk -v minutes="$1" 'BEGIN { printf "%d", minutes * 60 + 0.5 }')
shift
if [ "$seconds" -lt 1 ]; then
    echo "run.sh: '0' minutes would run for ever" >&2
    exit 2
fi
if [ $# = 0 ]; then
    mapfile -t targets < <(cd "$source_dir/fuzz" && ls -d -- */ | tr -d /)
else
    targets=("$@")
fi

CXX=${KIV_FUZZ_CXX:-clang++} cmake -S "$source_dir" -B "$build_dir" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKIV_SANITIZE=address,undefined,fuzzer-no-link \
    -DKIV_BUILD_FUZZERS=ON -DKIV_BUILD_TESTS=OFF -DKIV_BUILD_HOSTS=OFF >/dev/null
cmake --build "$build_dir" --parallel "$(nproc)" --target "${targets[@]/#/fuzz_}"

for target in "${targets[@]}"; do
    corpus=$build_dir/corpus/$target
    mkdir -p "$corpus" "$build_dir/findings"
    dictionary=()
    if [ -e "$source_dir/fuzz/$target.dict" ]; then
        dictionary=("-dict=$source_dir/fuzz/$target.dict")
    fi
    echo "=== $target: $seconds s"
    log=$build_dir/$target.log
    if ! UBSAN_OPTIONS=print_stacktrace=1 "$build_dir/fuzz/fuzz_$target" \
        -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix="$build_dir/findings/$target-" ${dictionary[@]+"${dictionary[@]}"} \
        "$corpus" "$source_dir/fuzz/$target" >"$log" 2>&1; then
        tail -n 60 "$log"
        echo "=== $target: FAILED; the input lies in $build_dir/findings"
        exit 1
    fi
    grep -E '^stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "$log"
done
