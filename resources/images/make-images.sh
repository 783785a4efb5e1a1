#!/usr/bin/env bash
# Draws the outline and error-list images (32x32, shown at 16x16 on ordinary screens).
# Needs ImageMagick and the DejaVu fonts; the PNGs it writes are committed.
set -euo pipefail
cd "$(dirname "$0")"
IM=/usr/bin/convert
font=/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf

badge() { # file colour letter
  $IM -size 32x32 xc:none -fill "$2" -stroke "$(printf '%s' "$2")" \
    -draw "roundrectangle 2,2 29,29 7,7" \
    -fill white -stroke none -font "$font" -pointsize 19 -gravity center -annotate +0+1 "$3" "$1"
}

badge parts.png '#7b3fa0' P
badge chapters.png '#2f63b8' C
badge sections.png '#1f8a8a' S
badge subsections.png '#4a9a3c' s

$IM -size 32x32 xc:none \
  -fill white -stroke '#6b6b6b' -strokewidth 2 -draw "polygon 6,2 20,2 27,9 27,30 6,30" \
  -fill '#d8d8d8' -draw "polygon 20,2 20,9 27,9" \
  -stroke '#8a8a8a' -strokewidth 2 -draw "line 10,14 23,14" -draw "line 10,19 23,19" -draw "line 10,24 19,24" \
  fileIncludes.png

$IM -size 32x32 xc:none \
  -fill '#8c5a2b' -stroke '#5e3b1a' -strokewidth 1.5 -draw "roundrectangle 5,3 27,29 3,3" \
  -fill '#f3ead7' -stroke none -draw "rectangle 9,5 25,27" \
  -fill '#5e3b1a' -draw "rectangle 5,3 9,29" \
  -stroke '#b08a5a' -strokewidth 1.5 -draw "line 12,10 22,10" -draw "line 12,14 22,14" \
  bibliography_outline_icon.png

$IM -size 32x32 xc:none -fill '#d93a3a' -stroke '#a82323' -strokewidth 1.5 -draw "circle 16,16 16,2" \
  -fill white -stroke none -draw "roundrectangle 14,7 18,19 1,1" -draw "circle 16,24 16,22" \
  errorsAndWarningsTableViewErrorIcon.png

$IM -size 32x32 xc:none -fill '#f2b01e' -stroke '#b27c00' -strokewidth 1.5 -draw "polygon 16,3 30,28 2,28" \
  -fill '#3a2a00' -stroke none -draw "roundrectangle 14.5,11 17.5,20 1,1" -draw "circle 16,24 16,22.3" \
  errorsAndWarningsTableViewWarningIcon.png
