#!/bin/sh
# Makes every picture of the README and the guides by running the program on the samples.
# Usage: docs/make_pictures.sh [path of the program]
# Pictures are reduced to 144 colours by pngquant, which is needed to keep them small.
set -eu

root=$(cd "$(dirname "$0")/.." && pwd)
drape=${1:-drape}
out=$root/docs/pictures
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

command -v pngquant >/dev/null || { echo "make_pictures.sh: install pngquant first" >&2; exit 1; }
command -v "$drape" >/dev/null || { echo "make_pictures.sh: no program at $drape" >&2; exit 1; }
mkdir -p "$out"

# keep FILE NAME: the picture under its final name.
keep() {
    pngquant --speed 1 --quality 40-88 --strip --force --output "$out/$2.png" -- 144 "$1"
}

# picture NAME SAMPLE OPTIONS...: the drape on its mould.
picture() {
    name=$1 sample=$2
    shift 2
    "$drape" "$root/samples/$sample.obj" --quiet "$@" -o "$work/$name.png"
    keep "$work/$name.png" "$name"
}

# pattern NAME SAMPLE OPTIONS...: its flat pattern.
pattern() {
    name=$1 sample=$2
    shift 2
    "$drape" "$root/samples/$sample.obj" --quiet "$@" -o "$work/$name.pattern.png"
    keep "$work/$name.pattern.png" "$name"
}

# page BOOK NAME NUMBER: a page of a ply book, which takes pdftoppm.
page() {
    pdftoppm -r 90 -f "$3" -l "$3" -png -singlefile "$work/$1.pdf" "$work/$2"
    keep "$work/$2.png" "$2"
}
# The tray's book takes gmsh.
"$drape" "$root/samples/tray.step" --mesh-size 8 --layup "$root/samples/tray_layup.csv" --core 0,0,0 --quiet -o "$work/tray.pdf"
page tray ply_page 3
page tray core_sample 7
printf 'name,cloth,thickness,locking,pieces\nP1,twill,0.3,30,cover\n' > "$work/pieces.csv"
"$drape" "$root/samples/hemisphere.obj" --layup "$work/pieces.csv" --quiet -o "$work/pieces.pdf"
page pieces ply_in_pieces 2
page pieces piece_page 3

picture darts_hemisphere hemisphere --darts
pattern darts_pattern hemisphere --darts
picture hemisphere hemisphere
pattern hemisphere_pattern hemisphere
picture double_dome double_dome --seed=0,0,50
picture double_dome_bias double_dome --seed=0,0,50 --angle=45
pattern double_dome_pattern double_dome --seed=0,0,50
picture saddle saddle
picture corrugated_panel corrugated_panel --angle=20
picture notched_plate notched_plate --seed=-100,-80,0
picture slit_plate_narrow slit_plate_narrow --seed=-60,-10,0 --step=8
picture slit_plate_wide slit_plate_wide --seed=-60,-10,0 --step=8
picture comb_plate comb_plate --seed=-90,0,0
picture u_plate u_plate --seed=-100,-80,0
picture l_plate l_plate --seed=-100,-80,0
picture holed_plate holed_plate --seed=-100,-80,0
picture holed_plate_filled holed_plate --seed=-100,-80,0 --fill-holes
picture slit_dome slit_dome --step=8
pattern slit_dome_pattern slit_dome --step=8

ls -l "$out"
