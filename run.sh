#!/usr/bin/env bash
# Builds the program, runs a model and shows what came out.
#
#   ./run.sh            the slice profile of lactate, models/lactate-slice.zanmodel
#   ./run.sh MODEL      another model: a path, or the name of one in models/
#
# A spatial model gives density matrices, an expectation profile for Ix, Iy and Iz and a plot; a
# 1D/2D model gives the receiver signal and a plot. All of it lies in build/runtime/results.
set -euo pipefail
start_dir=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")"
. tools/steps.sh
ROOT=$PWD
RESULTS=$ROOT/build/runtime/results

# The program changes its directory before it opens a model: paths must be absolute.
find_model() # NAME
{
    local path
    for path in "$start_dir/$1" "$1" "$ROOT/models/$1" "$ROOT/models/$1.zanmodel"; do
        if [[ $path == /* && -f $path ]]; then
            printf '%s/%s\n' "$(cd "$(dirname "$path")" && pwd)" "$(basename "$path")"
            return
        fi
    done
    echo "The example models are:" >&2
    (cd models && printf '    %s\n' *.zanmodel) >&2
    fail "there is no model $1"
}

# The value of a key in a model file, without comment and surrounding blanks. Byte by byte: a
# comment need not be UTF-8.
value() # FILE KEY
{
    LC_ALL=C sed -n 's/#.*//; s/[[:space:]]*$//; /^[[:space:]]*'"$2"'[[:space:]]*:[[:space:]]*/{s///; p; q}' "$1"
}

# The value of a key when it is a whole number. Nothing else may reach the shell's arithmetic,
# which runs the commands that it finds in a text.
count() # FILE KEY
{
    local text
    text=$(value "$1" "$2")
    [[ $text =~ ^\+?0*([0-9]+)$ ]] || fail "$2 in $1 is no plain number: $text"
    printf '%s\n' "${BASH_REMATCH[1]}"
}

beside() # FILE PATH: a path that a file names, seen from that file's folder
{
    [[ $2 == /* ]] && printf '%s\n' "$2" || printf '%s/%s\n' "$(dirname "$1")" "$2"
}

state_of() # FILE: changes whenever the file is written or replaced
{
    stat -c '%i %s %z' "$1" 2>/dev/null || echo none
}

# made WHAT FILE OLD_STATE LOG: a mode can end well without having written its file
made()
{
    [[ -s $2 && $(state_of "$2") != "$3" ]] && return
    tail -n 15 "$LOGS/$4.log" | sed 's/^/    /' >&2
    echo "The whole output is in $ROOT/$LOGS/$4.log" >&2
    fail "$1 did not write $2"
}

plot() # COMMANDS on standard input; $picture is drawn
{
    local terminal=pngcairo old
    gnuplot -e 'set terminal pngcairo' >/dev/null 2>&1 || terminal=png
    old=$(state_of "$picture")
    {
        printf 'set terminal %s size 900,600\n' "$terminal"
        printf 'set output %s\n' "$(quoted "$picture")"
        cat
    } >"$LOGS/plot.gp"
    quietly plot gnuplot "$LOGS/plot.gp" || exit 1
    made gnuplot "$picture" "$old" plot
}

quoted() # TEXT: as a gnuplot string
{
    printf "'%s'" "${1//\'/\'\'}"
}

profile() # AXIS: the sum over all spins, Ix + Sx + ..., at every position
{
    local letters=ISTUVWAB operator='' old k
    for ((k = 0; k < nspins; k++)); do
        operator+="${operator:+ + }${letters:k:1}$1"
    done
    old=$(state_of "$stem-$1.csv")
    quietly "profile-$1" build/zan --expectation-profile "$model" "$result" "$operator" \
        "$stem-$1.csv" || exit 1
    made "the expectation profile" "$stem-$1.csv" "$old" "profile-$1"
}

# Every spin's operator and equilibrium have unit norm, so that full magnetisation reads
# sqrt(nspins).
plot_line() # COLUMN AXIS
{
    plot <<TEXT
set title $(quoted "$name: profile along $2") noenhanced
set xlabel '$2 / cm'
set autoscale xfix
set ylabel 'share of the equilibrium magnetisation'
set yrange [-1.1:1.1]
set grid
set datafile separator ','
full = sqrt($nspins)
plot $(quoted "$stem-x.csv") using $1:(\$5/full) with linespoints pt 6 title '<Ix>', \\
     $(quoted "$stem-y.csv") using $1:(\$5/full) with linespoints pt 7 title '<Iy>', \\
     $(quoted "$stem-z.csv") using $1:(\$5/full) with lines dt 2 title '<Iz>'
TEXT
}

# The first two axes that have more than one position; the mean over the third, if any.
plot_map() # COLUMN AXIS COLUMN AXIS [COLUMN AXIS]
{
    awk -F, -v a="$1" -v b="$3" -v spins="$nspins" '
        !/^#/ { key = $a " " $b; if (!(key in sum)) order[n++] = key; sum[key] += $5; count[key]++ }
        END { for (i = 0; i < n; i++)
                  print order[i], sum[order[i]] / count[order[i]] / sqrt(spins) }' \
        "$stem-y.csv" >"$LOGS/map.txt"
    plot <<TEXT
set title $(quoted "$name: <Iy>, share of the equilibrium magnetisation${6:+, mean over $6}") noenhanced
set xlabel '$2 / cm'
set ylabel '$4 / cm'
set size ratio -1
set autoscale fix
set cbrange [-1:1]
set palette defined (-1 'blue', 0 'white', 1 'red')
plot '$LOGS/map.txt' using 1:2:3 with image notitle
TEXT
}

show_profile()
{
    local axis axes=() column=2 points
    for axis in x y z; do
        points=$(count "$model" "nd$axis")
        [[ $points -gt 1 ]] && axes+=("$column" "$axis")
        column=$((column + 1))
    done
    for axis in x y z; do
        profile "$axis"
    done
    [[ ${#axes[@]} -gt 0 ]] || axes=(2 x)
    if [[ ${#axes[@]} -eq 2 ]]; then
        plot_line "${axes[@]}"
    else
        plot_map "${axes[@]}"
    fi
}

plot_trace() # SAMPLES
{
    plot <<TEXT
set title $(quoted "$name: receiver signal") noenhanced
set xlabel 'sample'
set autoscale xfix
set ylabel 'signal'
set grid
plot $(quoted "$result") binary skip=12 record=$1 format='%double%double' using 0:1 \\
         with lines title '<Ix>', \\
     '' binary skip=12 record=$1 format='%double%double' using 0:2 with lines title '<Iy>'
TEXT
}

plot_traces() # SAMPLES ROWS
{
    plot <<TEXT
set title $(quoted "$name: <Ix> of the receiver signal") noenhanced
set xlabel 'sample (acquisition)'
set ylabel 'row (evolution)'
set autoscale fix
set palette defined (-1 'blue', 0 'white', 1 'red')
plot $(quoted "$result") binary skip=12 array=($1,$2) format='%double%double' using 1 \\
         with image notitle
TEXT
}

# ---- build ----

[[ $# -le 1 ]] || fail "usage: ./run.sh [MODEL]"
model=$(find_model "${1-lactate-slice}")
tools/setup.sh
echo "Building ..."
quietly configure cmake --preset release || exit 1
quietly build cmake --build --preset release --target zan || exit 1

# ---- run ----

name=$(basename "$model")
name=${name%.*}
stem=$RESULTS/${name//[^A-Za-z0-9._-]/_}
result=$(value "$model" result_file)
[[ $result == /* ]] || result=$RESULTS/$result
spins_file=$(beside "$model" "$(value "$model" spin_system_file)")
sequence_file=$(beside "$model" "$(value "$model" sequence_file)")

echo "Running $name ..."
old=$(state_of "$result")
began=$SECONDS
quietly run build/zan --run-model "$model" || exit 1
made "the run of $name" "$result" "$old" run
took=$((SECONDS - began))

# ---- show ----

nspins=$(count "$spins_file" nspins)
sequence_type=$(count "$sequence_file" sequence_type)
picture=$stem.png
read -r kind first second < <(od -An -v -td4 -N12 "$result")
if [[ $kind -eq 1 ]]; then
    what="Computed the receiver signal of $name: $second x $first samples"
    files=("$result" "the signal, complex doubles after a header of 12 bytes")
    if [[ $second -gt 1 ]]; then plot_traces "$first" "$second"; else plot_trace "$first"; fi
    files+=("$picture" "its plot")
else
    what="Computed the density matrices of $name: $second of $first x $first states"
    files=("$result" "the density matrices")
    if [[ $sequence_type -ne 1 ]]; then
        echo "(no plot: the model has no acquisition sector)"
    elif [[ $(value "$spins_file" spin_quantum_numbers) == *[!1[:space:]]* ]]; then
        echo "(no profile: operator expressions are for spins 1/2)"
    else
        show_profile
        files+=("$stem-y.csv" "expectation profile of Iy, and likewise -x.csv, -z.csv"
            "$picture" "its plot")
    fi
fi

echo "$what, in $took s."
for ((k = 0; k < ${#files[@]}; k += 2)); do
    printf '    %s\n        %s\n' "${files[k]}" "${files[k + 1]}"
done
echo "    $ROOT/$LOGS/run.log"
echo "        what the program said"
echo "All menus: build/zan      Other models: ./run.sh MODEL (see models/)"
