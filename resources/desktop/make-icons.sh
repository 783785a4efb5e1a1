#!/usr/bin/env bash
# Renders the application icon (../icons/plumeo.svg) into the PNG sizes of the hicolor theme.
# Needs ImageMagick; the PNGs it writes are committed.
set -euo pipefail
cd "$(dirname "$0")"
for size in 16 22 24 32 48 64 128 256 512; do
  # Rendered large and scaled down, so that small sizes stay crisp.
  convert -background none -density $((size * 3)) ../icons/plumeo.svg -resize "${size}x${size}" \
    -depth 8 -strip "icons/org.plumeo.Plumeo-${size}.png"
done
