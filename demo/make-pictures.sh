#!/usr/bin/env bash
# Makes the demo's two pictures with ImageMagick: a camera-like 1280 x 720 landscape (sky,
# hills, a field, a pond, houses, trees and a little sensor noise, so that it compresses like
# a real camera frame) and a 200 x 80 logo with a transparent background. They are kept in
# the repository; run this only to change them.
set -euo pipefail
cd "$(dirname "$0")"
convert=/usr/bin/convert
"$convert" -size 1280x720 gradient:'#2f63a8'-'#c9def0' \
  \( -size 1280x720 xc:none -fill '#5d7a8c' \
     -draw "path 'M 0,430 C 200,330 380,360 520,400 C 700,300 900,320 1280,410 L 1280,720 L 0,720 Z'" \) \
  -composite \
  \( -size 1280x720 -seed 11 plasma:grey30-grey80 -colorspace gray -blur 0x2 \
     +level-colors '#35591f','#9bbb62' \
     \( -size 1280x720 xc:black -fill white \
        -draw "path 'M 0,500 C 300,450 700,470 1280,480 L 1280,720 L 0,720 Z'" \) \
     -alpha off -compose CopyOpacity -composite \) -compose Over -composite \
  -fill '#7d9cb3' -draw "ellipse 820,600 260,40 0,360" \
  -fill '#8a3b2a' -draw "rectangle 180,470 260,520" -fill '#5a2a1e' -draw "polygon 170,470 220,435 270,470" \
  -fill '#d8d2c2' -draw "rectangle 300,480 360,522" -fill '#6a3020' -draw "polygon 292,480 330,452 368,480" \
  -fill '#2e4a1e' -draw "circle 120,520 120,470" -draw "circle 960,470 960,430" \
  -draw "circle 1010,480 1010,445" \
  -attenuate 0.3 +noise Gaussian -quality 90 -sampling-factor 2x2 camera.jpg
"$convert" -size 200x80 xc:none -fill 'rgba(20,80,180,0.70)' -draw 'roundrectangle 0,0 199,79 16,16' \
  -fill 'rgba(255,255,255,0.95)' -font /usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf \
  -pointsize 30 -gravity center -annotate +0+0 'HILLCAM' PNG32:logo.png
