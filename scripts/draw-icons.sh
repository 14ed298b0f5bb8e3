#!/usr/bin/env bash
# Redraws the icons under image/ with ImageMagick. The results are committed, so
# the build never needs this; run it only to change an icon.
set -euo pipefail
cd "$(dirname "$0")/../image"
W=white
# Application icon: a blue tile with a white chip and a check mark.
convert -size 64x64 xc:none -fill '#1677ff' -draw 'roundrectangle 2,2 61,61 12,12' \
  -stroke $W -strokewidth 3 -fill none -draw 'rectangle 17,17 46,46' \
  -draw 'line 24,10 24,16' -draw 'line 32,10 32,16' -draw 'line 40,10 40,16' \
  -draw 'line 24,47 24,53' -draw 'line 32,47 32,53' -draw 'line 40,47 40,53' \
  -draw 'line 10,24 16,24' -draw 'line 10,32 16,32' -draw 'line 10,40 16,40' \
  -draw 'line 47,24 53,24' -draw 'line 47,32 53,32' -draw 'line 47,40 53,40' \
  -strokewidth 4 -draw 'polyline 23,32 30,39 41,25' PNG32:probix.png
convert probix.png -define icon:auto-resize=64 probix.ico
# Warning mark: an orange-red triangle with an exclamation mark.
convert -size 16x16 xc:none -fill '#d72f2f' -draw 'polygon 8,1 15,14 1,14' \
  -fill $W -draw 'rectangle 7,5 8,10' -draw 'rectangle 7,12 8,13' PNG32:warning.png
# Row icons, white on the green circle.
convert -size 18x18 xc:none -stroke $W -strokewidth 1.5 -fill none -draw 'rectangle 4,4 13,13' \
  -draw 'line 7,1 7,3' -draw 'line 11,1 11,3' -draw 'line 7,14 7,16' -draw 'line 11,14 11,16' \
  -draw 'line 1,7 3,7' -draw 'line 1,11 3,11' -draw 'line 14,7 16,7' -draw 'line 14,11 16,11' \
  -fill $W -draw 'rectangle 7,7 10,10' PNG32:hardware_cpu.png
convert -size 18x18 xc:none -stroke $W -strokewidth 1.5 -fill none -draw 'rectangle 1,5 16,12' \
  -fill $W -draw 'rectangle 4,7 5,10' -draw 'rectangle 8,7 9,10' -draw 'rectangle 12,7 13,10' \
  -draw 'line 3,13 3,16' -draw 'line 7,13 7,16' -draw 'line 11,13 11,16' -draw 'line 15,13 15,16' PNG32:hardware-mem.png
convert -size 18x18 xc:none -stroke $W -strokewidth 1.5 -fill none -draw 'circle 9,9 9,1.5' \
  -draw 'ellipse 9,9 3.5,7.5 0,360' -draw 'line 1.5,9 16.5,9' -draw 'line 3,5 15,5' -draw 'line 3,13 15,13' PNG32:hardware_bw.png
convert -size 18x18 xc:none -stroke $W -strokewidth 1.5 -fill none -draw 'roundrectangle 2,3 15,14 2,2' \
  -draw 'line 2,10 15,10' -fill $W -draw 'circle 12,12 12.6,12.6' PNG32:hardware-res.png
convert -size 18x18 xc:none -stroke $W -strokewidth 1.5 -fill none -draw 'rectangle 1,2 16,12' \
  -draw 'line 9,12 9,15' -draw 'line 5,16 13,16' PNG32:hardware-sys.png
convert -size 18x18 xc:none -stroke $W -strokewidth 1.5 -fill $W -draw 'polygon 2,7 5,7 9,3 9,15 5,11 2,11' \
  -fill none -draw 'arc 8,5 14,13 -60,60' -draw 'arc 8,2 17,16 -60,60' PNG32:hardware-audio.png
# Default row icon: a speech bubble.
convert -size 38x38 xc:none -fill '#8c8c8c' -draw 'roundrectangle 3,5 34,26 6,6' \
  -draw 'polygon 10,25 18,25 10,33' -fill $W -draw 'circle 11,16 13,16' -draw 'circle 19,16 21,16' \
  -draw 'circle 27,16 29,16' PNG32:discuss.png
cat > close-circle.svg <<'SVG'
<svg xmlns="http://www.w3.org/2000/svg" width="9" height="9" viewBox="0 0 9 9">
  <path fill="rgb(191, 191, 191)" fill-rule="evenodd"
        d="M4.5 0a4.5 4.5 0 1 1 0 9a4.5 4.5 0 1 1 0-9zM2.9 2.2L2.2 2.9L3.8 4.5L2.2 6.1L2.9 6.8L4.5 5.2L6.1 6.8L6.8 6.1L5.2 4.5L6.8 2.9L6.1 2.2L4.5 3.8z"/>
</svg>
SVG
# The application icon at the sizes the desktop's icon theme asks for.
for size in 16 32 48; do
  convert probix.png -strip -resize ${size}x${size} PNG32:../packaging/icons/$size.png
done
cp probix.png ../packaging/icons/64.png
