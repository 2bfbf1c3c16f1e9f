#!/bin/sh
# Draws the compiled-in JPEG pictures and the desktop's PNG icons again from their SVG sources.
# Needs rsvg-convert (Debian: librsvg2-bin) and convert (Debian: imagemagick); only for those
# who change a drawing, the pictures are kept in the repository.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
icons=$root/ui/icons
desktop=$root/packaging/icons
temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT

draw() { # NAME SIDE
    rsvg-convert --width "$2" --height "$2" --output "$temporary/$1.png" "$icons/src/$1.svg"
    # full chroma resolution: the drawings have hard edges between colours
    convert "$temporary/$1.png" -alpha remove -strip -sampling-factor 4:4:4 -quality 92 \
        "$temporary/$1.jpg"
    mv "$temporary/$1.jpg" "$icons/$1.jpg"
}

draw title 256
# four times the size on the buttons: sharp at 30 x 30 and on dense displays
draw setting 120
draw save 120
draw photograph 120

# small ones have a drawing of their own, whose edges lie on whole pixels
for side in 16 22 24 32 48 64 128 256 512; do
    source=$desktop/vexalin-plixo-base.svg
    [ "$side" -gt 24 ] || source=$desktop/vexalin-plixo-base-small.svg
    rsvg-convert --width "$side" --height "$side" --output "$temporary/icon.png" "$source"
    # exactly the same file from the same drawing
    convert "$temporary/icon.png" -strip -define png:exclude-chunks=date,time \
        "$desktop/$side.png"
done
