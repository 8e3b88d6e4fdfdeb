#!/usr/bin/env bash
# Builds and runs every test.
#
#   ./test.sh            the release build, the sanitizer build, and the Windows build (compiled only)
#   ./test.sh --quick    the release build alone
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. tools/steps.sh

quick=no
case ${1-} in
'') ;;
--quick) quick=yes ;;
*) fail "usage: ./test.sh [--quick]" ;;
esac

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

# Adds the counts of ctest's last line, "..., F tests failed out of N".
count_tests() # PRESET
{
    local counts
    counts=$(sed -n 's/.* \([0-9]*\) tests failed out of \([0-9]*\)$/\1 \2/p' "$LOGS/$1-tests.log")
    read -r bad all <<<"${counts:-0 0}"
    failed=$((failed + bad))
    passed=$((passed + all - bad))
}

run_tests() # PRESET FOLDER
{
    local bad all
    echo "Testing $1 ..."
    if quietly "$1-tests" ctest --test-dir "$2" --output-on-failure --no-tests=error \
        -j "$(nproc)"
    then
        count_tests "$1"
        report "ok    " "$1 tests: $all, none failed"
    else
        count_tests "$1"
        report "FAILED" "$1 tests: $bad of $all failed"
    fi
}

tools/setup.sh test
if build release-tests; then run_tests release-tests build; fi
if [[ $quick == no ]]; then
    if build sanitize; then run_tests sanitize build-sanitize; fi
    build windows || true
fi

echo
echo "Summary"
printf '    %s\n' "${summary[@]}"
if [[ $status -eq 0 ]]; then echo "All passed."; else echo "Not all passed; logs are in $LOGS."; fi
echo "$passed passed, $failed failed"
exit $status
