#!/usr/bin/env bash
# run.sh with every example model of the README, and what it refuses.
#
#   tests/run_script.sh BUILD      the folder of the programs
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/shell_tree.sh"
make_tree "$1"
cd "$TREE"
RESULTS=$TREE/build/runtime/results

# The names in the first column of the README's table.
mapfile -t models < <(sed -n '/^| model |/,/^$/s/^| \(`[^|]*\).*/\1/p' README.md | grep -o '[a-z-]*')
diff <(printf '%s\n' "${models[@]}" | sort) <(basename -s .zanmodel models/* | sort) ||
    fail "the README's table (<) and models/ (>) differ"

# Every path that run.sh names at the end of its output is a file with something in it.
for model in "${models[@]}"; do
    ./run.sh "$model" >out.txt 2>&1 </dev/null || fail "./run.sh $model: $(cat out.txt)"
    grep -q "^Computed .* of $model: " out.txt || fail "./run.sh $model: $(cat out.txt)"
    mapfile -t files < <(sed -n 's#^    \(/\)#\1#p' out.txt)
    [[ ${#files[@]} -ge 2 && ${files[0]} == "$RESULTS/$model.bin" ]] || fail "./run.sh $model: ${files[*]}"
    for file in "${files[@]}"; do
        [[ -s $file ]] || fail "./run.sh $model names $file, which is not there"
    done
    if [[ $model == lactate-select ]]; then
        grep -q '^(no plot: the model has no acquisition sector)' out.txt || fail "a plot of $model"
    else
        is_picture "$RESULTS/$model.png"
    fi
done

# A model elsewhere, by a path relative to where the script is called.
mkdir -p 'elsewhere/my models'
sed "s#\.\./#$TREE/#" models/spin-echo.zanmodel >'elsewhere/my models/echo.zanmodel'
(cd elsewhere && ../run.sh 'my models/echo.zanmodel') >out.txt 2>&1 || fail "$(cat out.txt)"
is_picture "$RESULTS/echo.png"

refused 1 'usage: ./run.sh [MODEL]' ./run.sh one two
refused 1 'there is no model nothing' ./run.sh nothing
refused 1 'lactate-slice.zanmodel' ./run.sh nothing
sed 's/^ndx:.*/ndx: none/' models/spin-echo.zanmodel >models/broken.zanmodel
refused 1 'build/zan --run-model' ./run.sh broken
truncate -s 8 sequences/spin-echo/waveforms/spin-echo_s02.bin
refused 1 'the run of spin-echo did not write' ./run.sh spin-echo
echo "run.sh: ${#models[@]} models."
