#!/usr/bin/env bash
# Composes example sequences by typing into the program's own menus, and puts what it saves into
# models/, spin-systems/ and sequences/.
#
#   tools/compose_examples.sh [TREE [PROGRAM]]      this checkout and its build/zan unless named
#
# The program stores where it wrote the waveforms; in the checkout they lie in waveforms/ beside
# the sequence, where a bare name is looked for.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
target=${1-$root}
program=${2-$root/build/zan}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/build"
cp "$program" "$work/build/zan"

# ---- answers, one line each ----

one_spin() # OFFSET_HZ
{
    printf '%s\n' 1 1 1 1 1 "$1"
}

grid() # NDX NDY X0 Y0 DX DY
{
    printf '%s\n' 2 0 "$1" "$2" 1 "$3" "$4" 0 "$5" "$6" 0
}

new_spatial_sequence() { printf '%s\n' 3 1 2; }

gradients() # X Y Z, each the answers of one axis
{
    printf '%s\n' 0 "$@"
}

no_gradient='1 0'

# The first sector names the model; the waveform file takes the default name.
sector_end() # NAME NOTE
{
    [[ -z $1 ]] || printf '%s\n' "$1"
    printf '%s\n' '' "$2"
}

save_and_leave() # NAME
{
    printf '%s\n' 4 "$1.bin" 5 "$1" 6 6 6
}

# ---- the sequences ----

spin_echo()
{
    one_spin 30
    grid 16 1 -0.75 0 0.1 0
    new_spatial_sequence
    printf '%s\n' 1 1 1 1
    gradients "$no_gradient" "$no_gradient" "$no_gradient"
    sector_end spin-echo '90 degrees about x'
    printf '%s\n' 1 2 5 5
    gradients '1 100' "$no_gradient" "$no_gradient"
    sector_end '' 'half of the echo time, gradient along x'
    printf '%s\n' 1 3 1 6
    gradients "$no_gradient" "$no_gradient" "$no_gradient"
    sector_end '' '180 degrees about y'
    printf '%s\n' 1 4 5 5
    gradients '1 100' "$no_gradient" "$no_gradient"
    sector_end '' 'half of the echo time, gradient along x'
    save_and_leave spin-echo
}

# sech/tanh: b 1325 /s, u 0.8, so that it inverts +-1060 Hz above about 1060 Hz.
adiabatic_inversion()
{
    one_spin 0
    grid 64 1 -1.575 0 0.05 0
    new_spatial_sequence
    printf '%s\n' 1 1 3 512 8 1 '0 2000 1325 0.8'
    gradients '1 1000' "$no_gradient" "$no_gradient"
    sector_end adiabatic-inversion '180 degree sech/tanh pulse, gradient along x'
    save_and_leave adiabatic-inversion
}

# Gauss spiral: B 8 rad/cm, 8 turns, A = B*B/(pi*n), flip angle 0.5 rad; gradients with A = -B.
spiral_excitation()
{
    one_spin 0
    grid 21 21 -3 -3 0.3 0.3
    new_spatial_sequence
    printf '%s\n' 1 1 2 512 10 3 '0.5 2.546479089470325 8 8'
    gradients '2 -8 8' '3 -8 8' "$no_gradient"
    sector_end spiral-excitation '2-D Gauss spiral'
    save_and_leave spiral-excitation
}

# ---- from the program's tree into the target ----

compose() # NAME ANSWERS_FUNCTION
{
    local name=$1 from=$work to=$target/sequences/$1
    if ! "$2" | "$work/build/zan" >"$work/$name.log" 2>&1 || [[ ! -f $from/models/$name.zanmodel ]]; then
        tail -n 20 "$work/$name.log" >&2
        echo "FAILED: composing $name" >&2
        exit 1
    fi
    mkdir -p "$target/models" "$target/spin-systems" "$to/waveforms"
    cp "$from/models/$name.zanmodel" "$target/models/"
    cp "$from/spin-systems/$name.zanspin" "$target/spin-systems/"
    sed 's#^\(sector_pulsefile: [0-9]* \).*/#\1#' "$from/sequences/$name/$name.zanseq" >"$to/$name.zanseq"
    cp "$from/rf-output/${name}"_s*.bin "$to/waveforms/"
}

compose spin-echo spin_echo
compose adiabatic-inversion adiabatic_inversion
compose spiral-excitation spiral_excitation
