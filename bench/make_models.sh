#!/usr/bin/env bash
# Writes models whose whole runs are worth timing, beyond those in models/.
#
#   bench/make_models.sh FOLDER
#
#   fid-8-spins    n = 256, a chain with full coupling, 1024 points
#   fid-5-spins    n = 32, the same, 4096 points
#   cosy-3-spins   n = 8, 128 rows x 512 points
#   slice-4-spins     lactate, n = 16, a pulse of 256 samples at 64 positions
#   press-gaba-8      GABA, n = 64, PRESS over 8 x 8 x 8 voxels
#   press-lactate-16  lactate, PRESS over 16 x 16 x 16 voxels
#   press-lactate-64  the same over 64 x 64 x 64: 1 GiB of density matrices
#
# Their waveforms are those of this checkout's sequences. Run one with
#   time build/zan --run-model FOLDER/fid-8-spins.zanmodel
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
[[ $# == 1 ]] || { echo "usage: $0 FOLDER" >&2; exit 2; }
mkdir -p "$1"
cd "$1"

# ---- spins ----

chain() # NAME SPINS: protons 180 Hz apart, neighbours coupled by 7 Hz and next neighbours by 1.5
{
    local ones=1 offsets=-600 i
    for ((i = 2; i <= $2; i++)); do
        ones+=" 1"
        offsets+=" $((180 * i - 780))"
    done
    {
        printf 'format_version: 1\nspin_system_name: %s\nnspins: %d\n' "$1" "$2"
        printf 'spin_quantum_numbers: %s\nrelative_intensities: %s\n' "$ones" "$ones"
        printf 'resonance_offsets_hz: %s\ncoupling_mode: 2\n' "$offsets"
        for ((i = 1; i < $2; i++)); do
            printf 'jcoupling_hz: %d %d 7\n' "$i" $((i + 1))
            ((i + 2 > $2)) || printf 'jcoupling_hz: %d %d 1.5\n' "$i" $((i + 2))
        done
    } >"$1.zanspin"
}

# ---- sequences ----

sector() # NUMBER TYPE SAMPLES ROWS DURATION_S WAVEFORM REMARK
{
    printf 'sector_type: %d %d\nsector_timepoints: %d %d\n' "$1" "$2" "$1" "$3"
    printf 'sector_evolpoints: %d %d\nsector_duration_s: %d %s\n' "$1" "$4" "$1" "$5"
    printf 'sector_pulsefile: %d %s\n' "$1" "$root/sequences/$6"
    printf 'sector_statoff_hz: %d 0\nsector_remark: %d %s\n' "$1" "$1" "$7"
}

head_of() # NAME SECTORS
{
    printf 'format_version: 1\nsequence_name: %s\nsequence_type: 2\n' "$1"
    printf 'number_of_sectors: %d\n' "$2"
}

fid() # NAME POINTS
{
    {
        head_of "$1" 2
        sector 1 1 1 1 0.00001 gaba-fid/waveforms/hard-90x.bin 'hard 90 degree pulse about x'
        sector 2 1 "$2" 1 0.4096 gaba-fid/waveforms/adc.bin ADC
    } >"$1.zanseq"
}

cosy() # NAME ROWS POINTS
{
    local waveforms=three-spin-cosy/waveforms
    {
        head_of "$1" 4
        sector 1 1 1 1 0.00001 $waveforms/hard-90x.bin 'hard 90 degree pulse about x'
        sector 2 2 1 "$2" 0.0008 $waveforms/evolution.bin evolution
        sector 3 1 1 "$2" 0.00001 $waveforms/hard-90x.bin 'hard 90 degree pulse about x'
        sector 4 1 "$3" "$2" 0.4096 $waveforms/adc.bin ADC
    } >"$1.zanseq"
}

# ---- models ----

model() # NAME SPIN_FILE SEQUENCE_FILE NDX NDY NDZ X0 Y0 Z0 DX DY DZ, cm
{
    printf '%s\n' "format_version: 1" "model_name: $1" "spin_system_file: $2" \
        "sequence_file: $3" "ndx: $4" "ndy: $5" "ndz: $6" "x0_cm: $7" "y0_cm: $8" "z0_cm: $9" \
        "dx_cm: ${10}" "dy_cm: ${11}" "dz_cm: ${12}" "result_file: $1.bin" >"$1.zanmodel"
}

one_position=(1 1 1 0 0 0 0 0 0)

for spins in 8 5; do
    name=fid-$spins-spins
    chain "$name" "$spins"
    fid "$name" $((spins == 8 ? 1024 : 4096))
    model "$name" "$name.zanspin" "$name.zanseq" "${one_position[@]}"
done
chain cosy-3-spins 3
cosy cosy-3-spins 128 512
model cosy-3-spins cosy-3-spins.zanspin cosy-3-spins.zanseq "${one_position[@]}"
lactate=$root/spin-systems/lactate-3t.zanspin
model slice-4-spins "$lactate" "$root/sequences/lactate-slice/lactate-slice.zanseq" \
    64 1 1 -1.575 0 0 0.05 0 0
press() # NAME SPIN_FILE POSITIONS_ALONG_AN_AXIS SPACING: a cube of 2 cm about the centre
{
    local first
    first=$(awk -v n="$3" -v d="$4" 'BEGIN { printf "%.6f", -0.5 * (n - 1) * d }')
    model "$1" "$2" "$root/sequences/lactate-press/lactate-press.zanseq" "$3" "$3" "$3" \
        "$first" "$first" "$first" "$4" "$4" "$4"
}

press press-gaba-8 "$root/spin-systems/gaba-7t.zanspin" 8 0.25
press press-lactate-16 "$lactate" 16 0.125
press press-lactate-64 "$lactate" 64 0.03125
