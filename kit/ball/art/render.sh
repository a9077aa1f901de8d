#!/usr/bin/env bash
# Renders the ball's icon into the bundle: 1.6 × 16 points, at 2× and 3×.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
bundle="$here/../../../bundle"
rsvg-convert -w 52 -h 52 "$here/floaticon.svg" -o "$bundle/floaticon@2x.png"
rsvg-convert -w 77 -h 77 "$here/floaticon.svg" -o "$bundle/floaticon@3x.png"
cp "$bundle/floaticon@2x.png" "$bundle/floaticon.png"
