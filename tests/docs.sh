#!/usr/bin/env bash
# Runs every command that README.md, docs/ and bench/README.md show, and checks what comes out.
#
#   tests/docs.sh BUILD      the folder of the programs
#
# Commands are the lines of the blocks fenced as "sh", and whatever looks like a command elsewhere:
# indented or between backquotes. They run in a copy of the checkout, document by document, as they
# stand; words in capitals are filled in. A command that does not run here is in left_out.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/shell_tree.sh"
make_tree "$1"
BUILD=$(cd "$1" && pwd)
cd "$TREE"
documents=(README.md docs/*.md bench/README.md)
RESULTS=$TREE/build/runtime/results

# ---- commands that do not run here, with the reason ----

builds='./test.sh and tests/packages.sh build with all presets'
packs='tests/packages.sh runs it'
minutes='takes minutes; its arguments are checked below'
declare -A left_out=(
    ['cmake --preset release && cmake --build --preset release']=$builds
    ['cmake --preset windows && cmake --build --preset windows']=$builds
    ['cmake --preset release-tests && cmake --build --preset release-tests --target bench_engine']=$builds
    ['tools/package.sh']=$packs
    ['tests/packages.sh']='./test.sh runs it'
    ['tools/wine.sh']='./test.sh runs the Windows tests through it'
    ['build\zan']='a Windows program; tests/packages.sh runs it'
    ['build\zan --run-model "%CD%\models\lactate-slice.zanmodel"']=$packs
    ['build/zan --run-model "$PWD/models/pair.zanmodel"']='the test of the session that composes it'
    ['./test.sh']='runs this test'
    ['./test.sh --quick']='runs this test'
    ['./test.sh --coverage']='a build of its own, and runs this test'
    ['tools/analyze.sh']=$minutes
    ['ctest --test-dir build -R dialog']='runs beside this test'
    ['tests/docs.sh']='this test'
    ['tests/run_script.sh']='a test of its own'
    ['./run.sh MODEL']='tests/run_script.sh runs it with every model'
    ['tools/fuzz.sh SECONDS']='needs clang and a build of its own; its arguments are checked below'
    ['bench/run.sh']=$minutes
    ['bench/run.sh --no-large']=$minutes
    ['build/bench_engine']='takes minutes; the list of its benchmarks is checked below'
    ['build/bench_engine --benchmark_filter=/64/']='as above'
)

# ---- the commands of a document ----

# Lines "FILE:LINE<tab>COMMAND". A command goes on behind a backslash at the end of its line; what
# stands behind two blanks and # is a comment.
commands_of() # DOCUMENT
{
    awk -v file="$1" '
        function found(text)
        {
            sub(/  +#.*/, "", text)
            printf "%s:%d\t%s\n", file, NR, text
        }
        /^```/ { fence = fence == "" ? $0 : ""; next }
        fence == "```sh" {
            line = line $0
            if (line !~ /\\$/) { found(line); line = "" } else sub(/\\$/, "", line)
            next
        }
        { paragraph = $0 }
        { sub(/^    /, "`", paragraph) }
        {
            n = split(paragraph, span, "`")
            for (k = 2; k <= n; k += 2)
                if (span[k] ~ /^(\.\/|tools\/|tests\/|bench\/)?[a-z_]+\.sh( |$)/ ||
                    span[k] ~ /^build[\/\\](zan|make_waveforms|bench_engine)( |$)/ ||
                    span[k] ~ /^(cmake|ctest|git|apt|apt-get|sudo|gnuplot|wine|zan|export) / ||
                    span[k] ~ /^[A-Za-z_]+=(\$|[^ ]+ build\/)/)
                    found(span[k])
        }' "$1"
}

filled() # COMMAND: with something for every word in capitals
{
    sed "s#\<MODEL\>#$TREE/models/lactate-press.zanmodel#; s#\<DENSITY\>#$RESULTS/lactate-press.bin#
        s#\<OPERATOR\>#IxSz#; s#\<VOXEL\>#1#; s#\<OUTPUT\>#$TREE/output#; s#\<FOLDER\>#$TREE/timed#" <<<"$1"
}

# The commands of a document are one script, which ends at the first failure, also of one in A && B.
declare -A seen=()
run_document() # DOCUMENT
{
    local place command
    while IFS=$'\t' read -r place command; do
        seen[$command]=yes
        [[ -z ${left_out[$command]-} ]] || continue
        printf 'at=%q\n%s\n[[ $? -eq 0 ]]\n' "$place $command" "$(filled "$command")"
    done < <(commands_of "$1") >script.sh
    bash -euo pipefail -c 'trap "[[ \$? -eq 0 ]] || echo \"FAILED: \$at\" >&2" EXIT; . ./script.sh' \
        >out.txt 2>&1 </dev/null || fail "$(tail -n 30 out.txt)"
}

# ---- what comes out ----

says() # DOCUMENT TEXT: line ends count as blanks
{
    tr '\n' ' ' <"$1" | grep -qF -- "$2" || fail "$1 does not say: $2"
}

expectation() # FILE ROW: the real part in a table of expectation values
{
    awk -F, -v row="$2" '$1 == row { printf "%.3f", $5 }' "$1"
}

check_readme()
{
    is_picture "$RESULTS/lactate-slice.png"
    [[ $(grep -vc '^#' profile.csv) -eq 64 ]] || fail "profile.csv has not 64 positions"
    says README.md "$(expectation profile.csv 33) in the middle of the slice"
    # What a run tells a front end.
    sed -n 's/^    \(\[ZAN_\)/\1/p' docs/user-guide.md | grep . >shown.txt
    if grep -vxFf build/logs/run.log shown.txt; then fail "no run prints this line"; fi
}

check_user_guide()
{
    local samples position
    samples=$(od -An -td4 -j4 -N4 voxel.bin | tr -d ' ')
    position=$(awk -F, '$1 == 293 { printf "(%g, %g, %g)", $2, $3, $4 }' profile.csv)
    says docs/user-guide.md "each of the $(grep -vc '^#' profile.csv) voxels"
    says docs/user-guide.md "voxel 293, at $position cm"
    says docs/user-guide.md "$samples complex samples"
    is_picture voxel.png
    [[ -s output ]] || fail "--voxel-signal MODEL DENSITY VOXEL OUTPUT wrote nothing"
}

check_optimization()
{
    says docs/optimization.md "\`Iy + Sz + Tz + Uz\` | $(expectation target.csv 1) |"
}

check_bench()
{
    build/zan --run-model "$TREE/timed/slice-4-spins.zanmodel" >out.txt 2>&1 || fail "$(cat out.txt)"
    [[ -s $RESULTS/slice-4-spins.bin ]] || fail "bench/make_models.sh: slice-4-spins has no result"
    [[ -x $BUILD/bench_engine ]] || return 0 # built with ZAN_BENCH only
    diff <(sed -n '/^| name/,/^$/s/^| `\([A-Za-z]*\)`.*/\1/p' bench/README.md | sort) \
        <("$BUILD/bench_engine" --benchmark_list_tests | sed 's#/.*##' | sort -u) ||
        fail "bench/README.md (<) and bench_engine (>) name other benchmarks"
    "$BUILD/bench_engine" --benchmark_list_tests --benchmark_filter=/64/ | grep -q /64/ ||
        fail "--benchmark_filter=/64/ picks nothing"
}

# ---- links ----

anchors() # DOCUMENT: what its headings are called in links
{
    sed -n '/^```/,/^```/d; s/^##* //p' "$1" | tr '[:upper:] ' '[:lower:]-' | tr -cd 'a-z0-9_\n-'
}

check_links() # DOCUMENT
{
    local link file
    while read -r link; do
        file=$(dirname "$1")/${link%%#*}
        [[ -n ${link%%#*} ]] || file=$1
        [[ -e $CHECKOUT/$file ]] || fail "$1: there is no $link"
        [[ $link != *'#'* ]] || anchors "$file" | grep -qx -- "${link#*#}" ||
            fail "$1: $link has no such heading"
    done < <(grep -o '](\([^):]*\))' "$1" | sed 's/](\(.*\))/\1/')
}

# ---- all documents ----

echo 6 >answers.txt
for document in "${documents[@]}"; do
    check_links "$document"
    run_document "$document"
    case $document in
    README.md) check_readme ;;
    docs/user-guide.md) check_user_guide ;;
    docs/optimization.md) check_optimization ;;
    bench/README.md) check_bench ;;
    esac
done
for command in "${!left_out[@]}"; do
    [[ -n ${seen[$command]-} ]] || fail "left out, but no document shows it: $command"
done

refused 1 'usage: ./test.sh [--quick | --coverage]' ./test.sh --fast
refused 1 'usage: tools/setup.sh [test | all | coverage]' tools/setup.sh every
refused 1 'usage: tools/analyze.sh [cppcheck | tidy | valgrind]' tools/analyze.sh lint
refused 2 'usage: tools/fuzz.sh SECONDS [TARGET...]' tools/fuzz.sh
refused 2 'usage: tools/fuzz.sh SECONDS [TARGET...]' tools/fuzz.sh soon
refused 2 'usage: bench/run.sh [--no-large]' bench/run.sh --large
refused 2 'make_models.sh FOLDER' bench/make_models.sh
echo "${#seen[@]} commands, ${#left_out[@]} of them left out."
