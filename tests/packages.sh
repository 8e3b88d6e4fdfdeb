#!/usr/bin/env bash
# The packages: made twice they are the same bytes; unpacked into an empty folder each runs the
# commands of its README, and both systems come to the same numbers.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. tools/steps.sh
ROOT=$PWD
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

same_numbers() # FILE FILE: headers and all doubles, to 1e-11
{
    cmp -n 12 "$1" "$2" && [[ $(stat -c %s "$1") -eq $(stat -c %s "$2") ]] &&
        paste <(od -An -v -w8 -tf8 -j12 "$1") <(od -An -v -w8 -tf8 -j12 "$2") |
        awk '{ d = $1 - $2; if (!(d < 1e-11 && d > -1e-11)) bad = 1; size += $1 * $1 }
             END { exit bad || NR < 1000 || size < 1 }'
}

commands()
{
    sed -n 's/^    //p' README.txt
}

same_tables() # TABLE TABLE: expectation values at 64 positions, to 1e-11
{
    paste -d, "$1" "$2" | awk -F, '
        !/^#/ { x = $2 - $8; d = $5 - $11; n += NF == 12 && $1 == $7 && x == 0
                if (!(d < 1e-11 && d > -1e-11)) bad = 1; size += $5 * $5 }
        END { exit bad || n != 64 || size < 1 }'
}

rm -f dist/zan-*
tools/package.sh
mkdir "$WORK/first"
cp dist/zan-* "$WORK/first"
touch docs/user-guide.md # its time must not matter
tools/package.sh >/dev/null
for package in "$WORK"/first/*; do
    cmp "$package" "dist/${package##*/}" || fail "${package##*/} differs when made again"
done

mkdir "$WORK/linux" "$WORK/windows folder"
tar -xzf "$WORK"/first/zan-*-linux-x86_64.tar.gz -C "$WORK/linux"
unzip -q "$WORK"/first/zan-*-windows-x86_64.zip -d "$WORK/windows folder"
RESULT=build/runtime/results/lactate-slice.bin

cd "$WORK"/linux/zan-*
commands >run.sh
bash -e run.sh >out.txt </dev/null
grep -q 'ZAN Main Menu' out.txt || fail "the menus of the Linux package"
linux=$PWD
for file in LICENSE CHANGELOG.md docs/user-guide.md bench/README.md; do [[ -s $file ]] || fail "no $file"; done
if readelf -d build/zan | grep NEEDED; then fail "the Linux program needs shared libraries"; fi

cd "$WORK/windows folder"/zan-*
if x86_64-w64-mingw32-objdump -p build/zan.exe | grep 'DLL Name: lib'; then
    fail "the Windows program needs libraries of the compiler"
fi
for file in LICENSE CHANGELOG.md docs/user-guide.md; do [[ -s $file ]] || fail "no $file"; done
commands >run.bat
"$ROOT/tools/wine.sh" cmd /c run.bat >out.txt </dev/null
grep -q 'ZAN Main Menu' out.txt || fail "the menus of the Windows package"
same_numbers "$linux/$RESULT" "$RESULT" || fail "Linux and Windows differ in $RESULT"
same_tables "$linux/profile.csv" profile.csv || fail "Linux and Windows differ in profile.csv"
printf '5\n\n6\n' | "$ROOT/tools/wine.sh" build/zan.exe >checks.txt
grep -q '^All zanmodel smoke/reference checks passed' checks.txt ||
    fail "the reference checks of the Windows package"
echo "Both packages run the commands of their README, with the same results."
