#!/usr/bin/env bash
# Renders the PNG images of the icon from kelvara.svg. Run by hand after changing the SVG;
# the images are kept in the repository, so building needs no image tools.
# The drawing sits on a 16-unit grid, so a box filter gives sharp small sizes.
set -euo pipefail
cd "$(dirname "$0")"
big=$(mktemp --suffix=.png)
trap 'rm -f "$big"' EXIT
convert -background none kelvara.svg -strip "PNG32:$big"
for size in 16 32 48 64 128 256; do
    convert "$big" -filter box -resize "${size}x${size}" -strip "PNG32:kelvara-$size.png"
done
