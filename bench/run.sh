#!/usr/bin/env bash
# Prints the tables of bench/README.md: kernels against the recipe, and whole runs.
#
#   bench/run.sh             everything, a few minutes
#   bench/run.sh --no-large  without the run over 64 x 64 x 64 voxels (2 GiB of disk)
#
# Times are the best of several; only ratios within one run mean something.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
case $* in
'') large=yes ;;
--no-large) large=no ;;
*)
    echo "usage: bench/run.sh [--no-large]" >&2
    exit 2
    ;;
esac

cmake --preset release-tests >/dev/null
cmake --build --preset release-tests --target zan bench_engine >/dev/null

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
bench/make_models.sh "$scratch"

echo "Machine: $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -1), $(nproc) cores in use," \
    "$(uname -sr), $(g++ --version | head -1)"

# ---- kernels ----

engine() # FILTER: lines "name milliseconds items_per_second FLOP/s", one thread
{
    OMP_NUM_THREADS=1 build/bench_engine --benchmark_filter="$1" --benchmark_format=csv \
        2>/dev/null | awk -F, '/^"/ { gsub(/"/, "", $1); print $1, $3, $7, $11 }'
}

echo
echo "One core, per sample and position (microseconds), and arithmetic of the kernels:"
for _ in 1 2 3; do
    engine '^(Peak|SectorPropagator(Plain)?/(4|16|64)/|SectorPropagator/256/)'
done >"$scratch/engine"
engine '^SectorPropagatorPlain/256/' >>"$scratch/engine"
awk '
    { split($1, part, "/") }
    part[1] == "Peak" && $NF > peak { peak = $NF }
    part[1] == "SectorPropagator" && $4 > flops[part[2]] { fast[part[2]] = 1e6 / $3; flops[part[2]] = $4 }
    part[1] == "SectorPropagatorPlain" && $3 > rate[part[2]] { rate[part[2]] = $3; plain[part[2]] = 1e6 / $3 }
    END {
        printf "%6s %12s %12s %8s %10s %8s\n", "n", "recipe", "kernels", "ratio", "GFLOP/s", "of peak"
        for (n = 4; n <= 256; n *= 4)
            printf "%6d %12.3f %12.3f %8.0f %10.1f %7.0f%%\n", n, plain[n], fast[n],
                plain[n] / fast[n], flops[n] / 1e9, (peak ? 100 * flops[n] / peak : 0)
        printf "peak of the core: %.1f GFLOP/s (multiply-adds on registers)\n", peak / 1e9
    }' "$scratch/engine"

# ---- whole runs ----

seconds() # THREADS MODEL: processor time and wall time, the best of five
{
    local TIMEFORMAT='%U %S %R' _
    for _ in 1 2 3 4 5; do
        { time OMP_NUM_THREADS=$1 build/zan --run-model "$scratch/$2.zanmodel" \
            >"$scratch/log" 2>&1; } 2>&1 || { cat "$scratch/log" >&2; exit 1; }
    done | awk '{ cpu = $1 + $2; if (NR == 1 || cpu < best) best = cpu
                  if (NR == 1 || $3 < wall) wall = $3 } END { printf "%.3f %.3f", best, wall }'
}

whole_run() # MODEL WHAT
{
    local one all
    one=$(seconds 1 "$1")
    all=$(seconds "$(nproc)" "$1")
    printf '%-42s %8s s %8s s %8s s\n' "$2" "${one% *}" "${one#* }" "${all#* }"
}

echo
printf '%-42s %10s %10s %10s\n' "Whole processes" "processor" "wall" "$(nproc) threads"
whole_run slice-4-spins 'W1  lactate, 256 samples, 64 positions'
whole_run press-gaba-8 'W2  GABA PRESS, 8 x 8 x 8'
whole_run press-lactate-16 'W2s lactate PRESS, 16 x 16 x 16'
whole_run fid-8-spins 'W3  8 spins, FID of 1024 points'
whole_run cosy-3-spins 'W4  3 spins, COSY 128 x 512'
whole_run fid-5-spins 'W5  5 spins, FID of 4096 points'

# ---- file traffic ----

if [[ $large == yes ]]; then
    # dm.bin is written at first, read and written by every sector but the acquisition, and copied to
    # the result.
    model=press-lactate-64
    started=$(date +%s%N)
    OMP_NUM_THREADS=$(nproc) build/zan --run-model "$scratch/$model.zanmodel" >"$scratch/log"
    took=$((($(date +%s%N) - started) / 1000000))
    result=$(sed -n 's/^Copied .* to //p' "$scratch/log" | tail -1)
    sectors=$(($(grep -c '^sector_type' sequences/lactate-press/lactate-press.zanseq) - 1))
    bytes=$(stat -c %s "$result")
    rm -f "$result"
    awk -v ms="$took" -v bytes="$bytes" -v sectors="$sectors" 'BEGIN {
        moved = bytes * (1 + 2 * sectors + 2)
        printf "%-42s %.1f s, %.1f GB through files, %.2f GB/s\n",
            "W6  lactate PRESS, 64 x 64 x 64", ms / 1000, moved / 1e9, moved / 1e6 / ms }'
fi
