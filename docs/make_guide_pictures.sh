#!/bin/sh
# Makes the pictures of the guide that come from the program: docs/make_guide_pictures.sh build/tool/drape [folder]
# Wants rsvg-convert; pngquant, where it is there, makes the files a quarter as large.
set -eu
drape=$1
here=$(cd "$(dirname "$0")" && pwd)
pictures=${2:-$here/pictures}
samples=$here/../samples
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$pictures"

# picture NAME WIDTH SAMPLE OPTIONS...: a run that ends with a code (4) still writes its partial grid.
picture() {
    name=guide_$1 width=$2 sample=$3
    shift 3
    "$drape" "$samples/$sample.obj" -q "$@" -o "$scratch/$name.svg" 2>"$scratch/said" || {
        [ $? -eq 4 ] || { cat "$scratch/said" >&2; exit 1; }
    }
    rsvg-convert -w "$width" "$scratch/$name.svg" -o "$scratch/$name.png"
    if command -v pngquant >/dev/null; then
        pngquant --force --output "$scratch/$name.png" 64 "$scratch/$name.png"
    fi
    mv "$scratch/$name.png" "$pictures/$name.png"
}

# A run in three stages, the first two cut short by the room for nodes.
picture growth_1 640 double_dome --step 8.2 --max-nodes 260
picture growth_2 640 double_dome --step 8.2 --max-nodes 1000
picture growth_3 640 double_dome --step 8.2

# The two pivot rules from the same start.
picture pivot_grid 640 saddle --seed 30,20,0 --angle 20 --pivot grid
picture pivot_shear 640 saddle --seed 30,20,0 --angle 20 --pivot shear

# Cloth on both sides of a cut, and cloth that stayed away.
picture notch 640 notched_plate --seed -100,-80,0 --step 7.2 --angle 45
picture slit_narrow 640 slit_plate_narrow --seed -100,-80,0 --step 8 --angle 45
picture slit_wide 640 slit_plate_wide --seed -100,-80,0 --step 8 --angle 45
picture comb 640 comb_plate --seed -90,0,0 --step 8 --angle 45
picture slit_dome 640 slit_dome --step 8 --angle 45
picture bare 640 u_plate --seed -100,-80,0 --step 8 --angle 20
picture covered 640 u_plate --seed -100,-80,0 --step 8 --angle 45

# Several pieces.
pieces() {
    name=pieces_$1 sample=$2
    shift 2
    "$drape" "$samples/$sample.obj" -q --cover "$@" -o "$scratch/$name.png" 2>"$scratch/said"
    if command -v pngquant >/dev/null; then
        pngquant --force --output "$scratch/$name.png" 64 "$scratch/$name.png"
    fi
    mv "$scratch/$name.png" "$pictures/$name.png"
}
pieces hemisphere hemisphere --locking 30
pieces saddle saddle --locking 8
