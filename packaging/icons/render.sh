#!/bin/bash
# Renders quillgate.svg anew: packaging/icons/render.sh
#
# The results are in the repository: builds need no package for them, and the icons are the same
# whichever version of these a machine has. The largest picture in the .ico is a PNG, as in Windows'
# own.
set -euo pipefail
cd "$(dirname "$0")/../.."
source cmake/packages.sh
ensurePackages "${commonPackages[@]}" "${releasePackages[@]}"
cd packaging/icons

for size in 16 24 32 48 64 128 256; do
  rsvg-convert --width "$size" --height "$size" --output "quillgate-$size.png" quillgate.svg
done
# Beside the pages of the installer for Windows.
convert -size 164x314 'xc:#1d3f5e' quillgate-128.png -gravity center -composite \
  -type palette -compress none BMP3:setup.bmp
icotool --create --output quillgate.ico quillgate-{16,24,32,48}.png --raw quillgate-256.png
