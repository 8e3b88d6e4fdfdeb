#!/usr/bin/env bash
# Builds and runs every test.
#
#   ./test.sh            the release build, the sanitizer build, the Windows build (under Wine), and
#                        the packages of both systems
#   ./test.sh --quick    the release build alone
#   ./test.sh --coverage a build that counts, and which lines and branches of the product its tests
#                        reach; the page to look at is build-coverage/report/index.html
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. tools/steps.sh

summary=()
passed=0
failed=0
status=0

report() # RESULT WHAT
{
    summary+=("$1  $2")
    [[ $1 == "ok    " ]] || status=1
    printf '%s  %s\n' "$1" "$2"
}

build() # PRESET
{
    echo "Building $1 ..."
    if quietly "$1-configure" cmake --preset "$1" && quietly "$1-build" cmake --build --preset "$1"
    then
        report "ok    " "$1 build"
    else
        report "FAILED" "$1 build"
        return 1
    fi
}

total() # PATTERN LOG: the sum of the numbers that the pattern's group finds
{
    sed -n "s/.*$1.*/\1/p" "$2" | awk '{ sum += $1 } END { print sum + 0 }'
}

# Of ctest's last line, "..., F tests failed out of N"; of the Windows tests, which ctest runs in a
# few shares, of the shares' own last lines.
count_tests() # PRESET
{
    local log=$LOGS/$1-tests.log good
    if [[ $1 == windows-tests ]]; then
        bad=$(total '\[  FAILED  \] \([0-9]*\) tests\{0,1\}, listed' "$log")
        good=$(total '\[  PASSED  \] \([0-9]*\) tests\{0,1\}\.' "$log")
        all=$((good + bad))
    else
        bad=$(total ' \([0-9]*\) tests failed out of ' "$log")
        all=$(total ' tests failed out of \([0-9]*\)' "$log")
    fi
    failed=$((failed + bad))
    passed=$((passed + all - bad))
}

run_tests() # PRESET FOLDER CTEST_OPTIONS...
{
    local bad all
    echo "Testing $1 ..."
    if quietly "$1-tests" ctest --test-dir "$2" --no-tests=error -j "$(nproc)" "${@:3}"
    then
        count_tests "$1"
        report "ok    " "$1 tests: $all, none failed"
    else
        count_tests "$1"
        report "FAILED" "$1 tests: $bad of $all failed"
    fi
}

check_packages()
{
    echo "Packing ..."
    if quietly packages tests/packages.sh; then
        report "ok    " "packages: both run the commands of their README"
    else
        report "FAILED" "packages"
    fi
}

# Branches that g++ adds for calls that throw are not counted.
check_coverage()
{
    echo "Counting lines and branches ..."
    mkdir -p build-coverage/report
    if quietly coverage gcovr -j "$(nproc)" --root . --filter 'src/' --filter 'incl/' \
        --exclude-throw-branches --exclude-unreachable-branches --print-summary \
        --fail-under-line 95 --html-details build-coverage/report/index.html \
        --txt build-coverage/report/summary.txt build-coverage
    then
        report "ok    " "$(coverage_line)"
    else
        report "FAILED" "$(coverage_line)"
    fi
}

coverage_line()
{
    sed -n 's/^\(lines\|branches\): /\1 /p' "$LOGS/coverage.log" | paste -sd, | sed 's/,/, /g'
}

test_coverage()
{
    tools/setup.sh coverage
    build coverage || return 0
    find build-coverage -name '*.gcda' -delete
    # Where a program may not write or is killed it cannot write its counters either.
    run_tests coverage build-coverage --output-on-failure -E '^faults\.|RuntimeDirectory.OneThatCannotBeMade'
    check_coverage
}

test_release()
{
    tools/setup.sh test
    if build release-tests; then run_tests release-tests build --output-on-failure; fi
}

test_all()
{
    tools/setup.sh all
    test_release
    if build sanitize; then run_tests sanitize build-sanitize --output-on-failure; fi
    if build windows-tests; then run_tests windows-tests build-windows -V; fi
    check_packages
    tools/wine.sh || true # ends what Wine still runs
}

case ${1-} in
'') test_all ;;
--quick) test_release ;;
--coverage) test_coverage ;;
*) fail "usage: ./test.sh [--quick | --coverage]" ;;
esac

echo
echo "Summary"
printf '    %s\n' "${summary[@]}"
if [[ $status -eq 0 ]]; then echo "All passed."; else echo "Not all passed; logs are in $LOGS."; fi
echo "$passed passed, $failed failed"
exit $status
