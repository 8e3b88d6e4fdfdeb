# shellcheck shell=bash
# shell_tree.sh - a copy of the checkout with the programs that are built, for tests of commands and
# scripts. Sourced. The copy, TREE, goes when the shell ends.
#
# In the copy nothing is built or installed: cmake does nothing for what run.sh asks of it and refuses
# everything else, and apt-get and sudo do nothing.

export LC_ALL=C.UTF-8 # numbers have a point
CHECKOUT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
TREE=$(mktemp -d)
trap 'rm -rf "$TREE"' EXIT

fail()
{
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

make_tree() # BUILD: the folder of the programs
{
    local name
    command -v gnuplot >/dev/null || fail "there is no gnuplot; tools/setup.sh installs it"
    for name in README.md run.sh test.sh CMakePresets.json docs bench tools models spin-systems \
        sequences rf-input rf-output density_matrices; do
        cp -r "$CHECKOUT/$name" "$TREE/"
    done
    mkdir "$TREE/build" "$TREE/bin"
    cp "$1/zan" "$1/make_waveforms" "$TREE/build/"
    cat >"$TREE/bin/cmake" <<'TEXT'
#!/bin/sh
[ "$*" = '--preset release' ] || [ "$*" = '--build --preset release --target zan' ]
TEXT
    printf '#!/bin/sh\n' >"$TREE/bin/ninja"
    chmod +x "$TREE"/bin/*
    for name in g++ apt-get sudo; do ln -s ninja "$TREE/bin/$name"; done
    export PATH=$TREE/bin:$PATH
}

# refused CODE TEXT COMMAND...: ends with CODE and says TEXT
refused()
{
    local code=0 out
    out=$("${@:3}" 2>&1 </dev/null) || code=$?
    [[ $code -eq $1 && $out == *"$2"* ]] || fail "${*:3}: exit code $code and
$out
instead of exit code $1 and $2"
}

is_picture() # FILE
{
    [[ $(head -c 4 "$1" | od -An -tx1) == ' 89 50 4e 47' ]] || fail "$1 is no PNG picture"
}
