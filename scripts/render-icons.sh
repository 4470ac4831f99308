#!/usr/bin/env bash
# Renders the program icon into the PNG sizes of the hicolor theme, for desktops
# that do not draw SVG icons in every place. Run after changing
# resources/icons/tessaroven.svg and commit the PNGs (needs librsvg2-bin).
set -euo pipefail
cd "$(dirname "$0")/.."
for size in 16 22 24 32 48 64 128 256; do
  mkdir -p "resources/hicolor/${size}x${size}/apps"
  rsvg-convert -w "$size" -h "$size" resources/icons/tessaroven.svg -o "resources/hicolor/${size}x${size}/apps/tessaroven.png"
done
