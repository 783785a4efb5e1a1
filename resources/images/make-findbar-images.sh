#!/usr/bin/env bash
# Draws the images of the find bar at twice their size in points (its buttons are 28x22 points),
# in the look of the panes' title bars. Needs ImageMagick; the PNGs it writes are committed.
# The find buttons' names carry a capital N ("findANdReplace…"): the code asks for them so.
set -euo pipefail
cd "$(dirname "$0")"
IM=${IM:-convert}
ink='#3d3846'

# The strip behind the bar: a light gradient with hairlines above and below.
$IM -size 8x64 gradient:'#f6f5f4-#e8e6e3' -fill '#cfccc8' -draw "rectangle 0,0 7,1" -draw "rectangle 0,62 7,63" \
  findAndReplaceBarBackground.png

# Buttons are flat; a pressed one shows a soft rounded face.
$IM -size 56x44 xc:none findAndReplaceBackground.png
$IM -size 56x44 xc:none -fill '#00000024' -draw "roundrectangle 4,4 51,39 8,8" findAndReplaceButtonPressed.png
$IM -size 6x44 xc:none -fill '#cfccc8' -draw "rectangle 2,10 3,33" findAndReplaceButtonSeparator.png
$IM -size 56x44 xc:none -fill none -stroke "$ink" -strokewidth 3.2 \
  -draw "stroke-linecap round line 22,16 34,28" -draw "stroke-linecap round line 34,16 22,28" \
  findAndReplaceButtonClose.png

# Find next points down the text, find previous up; pressed, the chevron sits on the pressed face.
chevron() { # file points
  $IM -size 56x44 xc:none -fill none -stroke "$ink" -strokewidth 3.2 \
    -draw "stroke-linecap round stroke-linejoin round polyline $2" "$1"
}
chevron findANdReplaceFindNextButton.png "19,18 28,27 37,18"
chevron findANdReplaceFindPreviousButton.png "19,26 28,17 37,26"
for name in findANdReplaceFindNextButton findANdReplaceFindPreviousButton; do
  $IM findAndReplaceButtonPressed.png "$name.png" -composite "${name}Pressed.png"
done
