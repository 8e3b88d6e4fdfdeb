#!/usr/bin/env bash
# Fuzzes the readers of files and texts that come from outside.
#
#   tools/fuzz.sh SECONDS              every target for so many seconds, one after the other
#   tools/fuzz.sh SECONDS TARGET...    the named ones; a target is a file in tests/fuzz
#
# What is found grows in build-fuzz/corpus/TARGET; an input that fails is left in
# build-fuzz/failures/TARGET, the fuzzer's last words in build-fuzz/logs/TARGET.log.
# Needs clang; tests/fuzz/replay.cpp repeats the inputs with any compiler.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [[ $# -lt 1 || ! $1 =~ ^[0-9]+$ ]]; then
    echo "usage: tools/fuzz.sh SECONDS [TARGET...]" >&2
    exit 2
fi
seconds=$1
shift
targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
    for folder in tests/fuzz/corpus/*/; do targets+=("$(basename "$folder")"); done
fi

if ! command -v clang++ >/dev/null; then
    echo "FAILED: there is no clang++; the Debian packages are clang and libclang-rt-14-dev" >&2
    exit 1
fi
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${targets[@]/%/_fuzz}"

# The targets work in a folder of their own below TMPDIR; in memory it costs little.
memory=/dev/shm
[[ -d $memory && -w $memory ]] || memory=${TMPDIR:-/tmp}
work=$(mktemp -d "$memory/zan-fuzz-XXXXXX")
trap 'rm -rf "$work"' EXIT

status=0
for target in "${targets[@]}"; do
    found=$PWD/build-fuzz/corpus/$target failures=$PWD/build-fuzz/failures/$target
    log=$PWD/build-fuzz/logs/$target.log
    mkdir -p "$found" "$failures" build-fuzz/logs
    echo "Fuzzing $target for $seconds s ..."
    if TMPDIR=$work nice -n 19 "build-fuzz/${target}_fuzz" "$found" "$PWD/tests/fuzz/corpus/$target" \
        -max_total_time="$seconds" -dict="$PWD/tests/fuzz/words.dict" -max_len=4096 -timeout=20 \
        -rss_limit_mb=2048 -close_fd_mask=3 -print_final_stats=1 \
        -artifact_prefix="$failures/" >"$log" 2>&1; then
        grep -E ' cov: ' "$log" | tail -n 1
        grep -E 'number_of_executed_units' "$log"
    else
        echo "FAILED: $target; see $log" >&2
        status=1
    fi
done
exit $status
