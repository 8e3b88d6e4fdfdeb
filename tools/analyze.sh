#!/usr/bin/env bash
# Looks for faults that tests may miss.
#
#   tools/analyze.sh             all of these, one after the other
#   tools/analyze.sh cppcheck    doubtful places in the sources
#   tools/analyze.sh tidy        the same by clang-tidy (.clang-tidy says what is off and why)
#   tools/analyze.sh valgrind    memory errors and leaks in the unit tests and in runs of examples
#
# Leaks are also looked for by the sanitizer build of ./test.sh. Findings end it with status 1. Needs
# the Debian packages cppcheck, clang-tidy and valgrind and what ./test.sh installs.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. tools/steps.sh

look_with_cppcheck()
{
    quietly cppcheck cppcheck --std=c++20 --language=c++ --enable=warning,performance,portability \
        --suppressions-list=tools/cppcheck.txt --inline-suppr --error-exitcode=1 --quiet \
        -j "$(nproc)" -I incl -I src src tools
}

look_with_tidy()
{
    quietly tidy-configure cmake --preset release-tests -DCMAKE_EXPORT_COMPILE_COMMANDS=ON
    quietly tidy run-clang-tidy -quiet -p build "$PWD/(src|tools)/"
}

under_valgrind()
{
    OMP_NUM_THREADS=2 valgrind --quiet --error-exitcode=9 --leak-check=full \
        --errors-for-leak-kinds=definite,indirect,possible "$@"
}

# What valgrind does otherwise than the machine: memory that a test lets run out is its own, a
# program that cannot be started seems to start, and long double has the digits of double.
NOT_UNDER_VALGRIND='*Without*Memory*:*NoMemory*:Propagation.AfterAFailedFirstSectorTheNextIsTheFirst'
NOT_UNDER_VALGRIND+=':SpectrumOutputs.AMissingGnuplotIsReported:PlatformBackground.AMissingProgramIsAnError'
NOT_UNDER_VALGRIND+=':SpinSplits.AreNotUndoneByRounding:SpinSplits.HaveIsometriesThatFillTheGroupOnce'

look_with_valgrind()
{
    quietly valgrind-build cmake --preset release-tests
    quietly valgrind-build cmake --build --preset release-tests
    quietly valgrind-unit under_valgrind build/unit_tests \
        --gtest_brief=1 --gtest_filter="-$NOT_UNDER_VALGRIND"
    for model in lactate-slice spin-echo adiabatic-inversion gaba-fid; do
        quietly "valgrind-$model" under_valgrind build/zan --run-model "$PWD/models/$model.zanmodel"
    done
}

ways=("$@")
[[ ${#ways[@]} -gt 0 ]] || ways=(cppcheck tidy valgrind)
for way in "${ways[@]}"; do
    case $way in
    cppcheck | tidy | valgrind) ;;
    *) fail "usage: tools/analyze.sh [cppcheck | tidy | valgrind]..." ;;
    esac
done

for way in "${ways[@]}"; do
    echo "Looking with $way ..."
    "look_with_$way"
    echo "No findings."
done
