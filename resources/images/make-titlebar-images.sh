#!/usr/bin/env bash
# Draws the images of the editor panes' title bars at twice their size in points (the buttons are
# 28x22 points), so they stay sharp on high-density screens. Needs ImageMagick; the PNGs it writes
# are committed.
set -euo pipefail
cd "$(dirname "$0")"
IM=/usr/bin/convert
ink='#3d3846'
pdf='#c01c28'

# The strip behind a pane's title: a light gradient with a hairline at the bottom.
$IM -size 8x44 gradient:'#fafafa-#ebeae8' -fill '#cfccc8' -draw "rectangle 0,42 7,43" titlebarBackground.png

# Buttons are flat; a pressed button shows a soft rounded face.
$IM -size 56x44 xc:none titleBarButtonIconBackground.png
$IM -size 56x44 xc:none -fill '#00000024' -draw "roundrectangle 4,4 51,39 8,8" titleBarButtonIconBackgroundPressed.png

$IM -size 6x44 xc:none -fill '#cfccc8' -draw "rectangle 2,10 3,33" titleBarButtonSeparator.png

chevron() { # file points
  $IM -size 56x44 xc:none -fill none -stroke "$ink" -strokewidth 3.2 -draw "stroke-linecap round stroke-linejoin round polyline $2" "$1"
}
chevron titleBarButtonIconNavigateLeft.png "31,13 23,22 31,31"
chevron titleBarButtonIconNavigateRight.png "25,13 33,22 25,31"

$IM -size 56x44 xc:none -fill none -stroke "$ink" -strokewidth 3.2 \
  -draw "stroke-linecap round line 21,15 35,29" -draw "stroke-linecap round line 35,15 21,29" \
  titleBarButtonIconCloseSplit.png

# Two panes side by side; the PDF variant marks the new right-hand pane in red.
split() { # file right-pane-fill
  $IM -size 56x44 xc:none -fill "$2" -stroke none -draw "rectangle 29,11 38,33" \
    -fill none -stroke "$ink" -strokewidth 2.6 -draw "roundrectangle 16,10 40,34 3,3" -draw "line 28,11 28,33" "$1"
}
split titleBarButtonIconSplit.png none
split titlebarSplitViewAddButton.png none
split titlebarSplitViewAddAndDisplayPDFButton.png "$pdf"

# A page with a folded corner: with a red band for the PDF, with lines of text for the source.
page() { # file
  $IM -size 56x44 xc:none -fill white -stroke "$ink" -strokewidth 2.4 \
    -draw "stroke-linejoin round polygon 19,8 31,8 37,14 37,36 19,36" \
    -fill none -draw "stroke-linejoin round polyline 31,8 31,14 37,14" "$1"
}
for f in titleBarButtonIconDisplayPDF.png titlebarPDFButton.png; do
  page "$f"
  $IM "$f" -fill "$pdf" -stroke none -draw "roundrectangle 15,21 33,29 2,2" \
    -fill white -draw "rectangle 18,24 30,26" "$f"
done
page titlebarTextButton.png
$IM titlebarTextButton.png -fill none -stroke "$ink" -strokewidth 2 \
  -draw "line 23,19 33,19" -draw "line 23,24 33,24" -draw "line 23,29 30,29" titlebarTextButton.png

# Typeset: a page with a "play" triangle, the command that makes the PDF.
$IM -size 56x44 xc:none -fill "$ink" -stroke "$ink" -strokewidth 2 \
  -draw "stroke-linejoin round polygon 22,13 36,22 22,31" titleBarButtonIconTypeset.png
