# shellcheck shell=bash
# steps.sh - what run.sh and test.sh share: quiet steps with a log, and plain failure messages.
# Sourced from the checkout's root.

LOGS=build/logs

fail()
{
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# quietly NAME COMMAND...: output goes to build/logs/NAME.log; its end is shown on failure.
quietly()
{
    local log=$LOGS/$1.log
    shift
    mkdir -p "$LOGS"
    if "$@" >"$log" 2>&1 </dev/null; then
        return 0
    fi
    {
        printf 'FAILED: %s\n' "$*"
        tail -n 40 "$log" | sed 's/^/    /'
        printf 'The whole output is in %s\n' "$PWD/$log"
    } >&2
    return 1
}
