#!/usr/bin/env bash
# Installs the Debian packages that are missing, by name.
#
#   tools/setup.sh           what building and running needs
#   tools/setup.sh test      also what the tests of the Linux build need
#   tools/setup.sh all       also what the Windows build, its tests and the packages need
#   tools/setup.sh coverage  as test, and what counting the lines that the tests reach needs
#
# Where nothing is missing it only looks, and is done at once.
set -euo pipefail

missing=()

program() # PACKAGE COMMAND
{
    command -v "$2" >/dev/null || missing+=("$1")
}

library() # PACKAGE HEADER
{
    [[ -e /usr/include/$2 || -e /usr/local/include/$2 ]] || missing+=("$1")
}

program g++ g++
program cmake cmake
program ninja-build ninja
program gnuplot-nox gnuplot
library libeigen3-dev eigen3/Eigen/Core
for_tests()
{
    library libgtest-dev gtest/gtest.h
    library libbenchmark-dev benchmark/benchmark.h
}

case ${1-} in
'') ;;
test) for_tests ;;
all)
    for_tests
    program g++-mingw-w64-x86-64-posix x86_64-w64-mingw32-g++-posix
    program wine wine
    program zip zip
    program unzip unzip
    ;;
coverage)
    for_tests
    program gcovr gcovr
    ;;
*)
    echo "usage: tools/setup.sh [test | all | coverage]" >&2
    exit 1
    ;;
esac
[[ ${#missing[@]} -gt 0 ]] || exit 0

if ! command -v apt-get >/dev/null; then
    echo "FAILED: missing: ${missing[*]}" >&2
    echo "There is no apt-get here; install what these Debian packages hold and start again." >&2
    exit 1
fi
as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null; then
        echo "FAILED: missing: ${missing[*]}" >&2
        echo "As root, run: apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
    [[ -t 0 ]] || as_root+=(-n)
fi

log=$(mktemp)
apt() # ARGUMENTS...
{
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q "$@" >>"$log" 2>&1 </dev/null
}

echo "Installing ${missing[*]} ..."
apt update || echo "apt-get update failed; trying with the package lists that are here." >&2
if ! apt install -y --no-install-recommends "${missing[@]}"; then
    tail -n 20 "$log" | sed 's/^/    /' >&2
    echo "FAILED: apt-get install ${missing[*]}" >&2
    echo "The whole output is in $log" >&2
    exit 1
fi
rm -f "$log"
