#!/usr/bin/env bash
# The memory a site takes for a picture far larger than its canvas: an 8000 x 8000 PNG of a
# quarter of a megabyte, shown stretched on a 640 x 480 canvas and read again every second,
# and a cut-short progressive JPEG of the same size. Each runs for a few seconds; the highest
# resident memory (VmHWM) is read from /proc just before the end. Run once with the default
# picture limit (both refused) and once with MaxPicturePixels raised to allow them.
#
#   bench/huge_picture_memory.sh [build/release]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/release}" && pwd)
tess="$build/src/app/tessarolle"
work=$(mktemp -d /tmp/tess-huge.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"

/usr/bin/python3 - <<'PY'
from PIL import Image
im = Image.new('RGB', (8000, 8000), (30, 120, 200))
for y in range(0, 8000, 400):
    for x in range(0, 8000, 400):
        im.paste((x * 255 // 8000, y * 255 // 8000, 90), (x, y, x + 200, y + 200))
im.save('huge.png', optimize=True)
im.save('full.jpg', quality=75, progressive=True)
data = open('full.jpg', 'rb').read()
open('cut.jpg', 'wb').write(data[:75000])
PY

site() { # $1: picture file
    printf '[Canvas01]\r\nFileName=big.can\r\n' > site.por
    printf '[General]\r\nName=Big\r\nWidth=640\r\nHeight=480\r\n[Capture]\r\nFixedEnabled=True\r\nFixedRate=1\r\nFixedFileName=out.jpg\r\n[Graphic001]\r\nEnabled=True\r\nSourceType=1\r\nSourceFileName=%s\r\nStretched=True\r\nStretchedWidth=640\r\nStretchedHeight=480\r\nInterval=1\r\n' "$1" > big.can
}

measure() { # $1: picture, $2: limit ("" for the default)
    rm -f Tessarolle.INI
    [ -n "$2" ] && printf '[Limits]\r\nMaxPicturePixels=%s\r\n' "$2" > Tessarolle.INI
    site "$1"
    "$tess" run site.por --headless --for 6 >/dev/null 2>log.txt &
    local pid=$!
    sleep 5
    local hwm rss
    hwm=$(awk '/VmHWM/ {print $2}' "/proc/$pid/status")
    rss=$(awk '/VmRSS/ {print $2}' "/proc/$pid/status")
    wait "$pid" || true
    local refused="no"
    grep -q "too large" Tessarolle.log 2>/dev/null && refused="yes"
    printf '%-9s limit %-10s refused %-3s  resident %4d MB  highest %4d MB\n' "$1" "${2:-default}" \
        "$refused" $((rss / 1024)) $((hwm / 1024))
    rm -f Tessarolle.log
}

echo "files: huge.png $(stat -c %s huge.png) bytes, cut.jpg $(stat -c %s cut.jpg) bytes"
measure huge.png ""
measure huge.png 64000000
measure cut.jpg ""
measure cut.jpg 64000000
