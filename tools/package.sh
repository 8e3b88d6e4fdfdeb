#!/usr/bin/env bash
# Builds the programs and makes the packages that are handed on:
#
#   dist/zan-VERSION-linux-x86_64.tar.gz
#   dist/zan-VERSION-windows-x86_64.zip
#
# Each holds one static program, the example models, the documentation and the licence. The same
# sources give the same bytes: names are sorted, times fixed, owners left out.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. tools/steps.sh

export LC_ALL=C TZ=UTC
umask 022
VERSION=$(sed -n 's/^project(zan VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[[ -n $VERSION ]] || fail "no version in CMakeLists.txt"
EXAMPLES=(models spin-systems sequences rf-input rf-output density_matrices)
WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT

# What belongs to the project; outside a git checkout all that is there.
files_of() # FOLDERS...
{
    git ls-files -z -- "$@" 2>/dev/null || find "$@" -type f -print0
}

# The program lies in build/, as the documentation says and the reference checks want it.
fill() # FOLDER PROGRAM NAME README LINE_END
{
    local folder=$WORK/$1
    mkdir -p "$folder/build"
    files_of docs bench/README.md "${EXAMPLES[@]}" | xargs -0 cp --parents -t "$folder"
    cp LICENSE CHANGELOG.md "$folder"
    sed "s/@VERSION@/$VERSION/; s/\$/$5/" "$4" >"$folder/README.txt"
    cp "$2" "$folder/build/$3"
    find "$folder" -type f -exec chmod 644 {} +
    chmod 755 "$folder/build/$3"
    find "$folder" -exec touch -d '2000-01-01 00:00:00' {} +
}

echo "Building ..."
for system in linux windows; do
    preset=release target=zan_static
    [[ $system == linux ]] || preset=windows target=zan
    quietly "package-$system-configure" cmake --preset "$preset" || exit 1
    quietly "package-$system-build" cmake --build --preset "$preset" --target "$target" || exit 1
done
mkdir -p dist

name=zan-$VERSION-linux-x86_64
fill "$name" build/zan_static zan tools/package-linux.txt ''
tar -C "$WORK" --format=ustar --sort=name --owner=0 --group=0 --numeric-owner \
    -cf "$WORK/$name.tar" "$name"
gzip -9n <"$WORK/$name.tar" >"dist/$name.tar.gz"
echo "dist/$name.tar.gz"

name=zan-$VERSION-windows-x86_64
fill "$name" build-windows/zan.exe zan.exe tools/package-windows.txt '\r'
(cd "$WORK" && find "$name" -type f | sort | zip -9 -q -X -D -@ "$name.zip")
mv "$WORK/$name.zip" dist/
echo "dist/$name.zip"
