#!/usr/bin/env bash
# The demo's "Hill Cam" picture (camera JPEG, half-opaque band, PNG logo with alpha, four
# shadowed texts and a rotated label, JPEG out at quality 80) made by Tessarolle and by the
# tools a user would otherwise script, measured in one run on this machine:
#
#   ImageMagick   one `convert` command per picture (hyperfine, whole process)
#   ffmpeg        one process composing a stream of 300 camera frames, one thread
#                 (overlay, drawbox and drawtext filters; the frames' decode included)
#   tessarolle    `tessarolle render` as a whole process (hyperfine), and in-process from
#                 bench_compose: every layer recomposed and encoded, and a new camera frame
#                 decoded, composed and encoded
#
#   bench/compose_vs_peers.sh [build/bench]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/bench}" && pwd)
tess="$build/src/app/tessarolle"
bench="$build/bench/bench_compose"
convert=/usr/bin/convert # the real ImageMagick; a stand-in may come first on PATH
python=/usr/bin/python3
font=/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf
bold=/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf
for tool in "$tess" "$bench" "$convert" ffmpeg hyperfine; do
    command -v "$tool" >/dev/null || { echo "missing: $tool (make bench; scripts/install-deps)"; exit 1; }
done

work=$(mktemp -d /tmp/tess-peers.XXXXXX)
trap 'rm -rf "$work"' EXIT
cp -r "$root/demo/." "$work/"
cd "$work"
at="2024-06-21 13:05:09"
time_text="13:05:09"
date_text="June 21, 2024  (CEST)"
weather_text="12.30 °C   Wind 5.5 km/h SSW   Barometer 1013.2 hPa ↓"
sun_text="Sunrise 04:43   Sunset 21:33   Rain"

# The same picture as one ImageMagick command. Points at 96 pixels per inch are ImageMagick's
# pixels: 36 pt is -pointsize 48. Shadows are the text again, dark, offset.
cat > im.sh <<EOF
exec $convert camera.jpg \
  -fill 'rgba(0,0,0,0.45)' -draw 'rectangle 0,608 1279,719' \
  logo.png -geometry +1060+20 -composite \
  -gravity NorthWest \
  -font $bold -pointsize 48 -fill 'rgba(0,0,0,0.6)' -annotate +27+17 '$time_text' \
  -fill white -annotate +24+14 '$time_text' \
  -font $font -pointsize 27 -fill 'rgba(0,0,0,0.6)' -annotate +28+78 '$date_text' \
  -fill white -annotate +26+76 '$date_text' \
  -fill 'rgba(0,0,0,0.6)' -annotate +26+628 '$weather_text' \
  -fill white -annotate +24+626 '$weather_text' \
  -pointsize 20 -fill '#ffe6c8' -annotate +24+670 '$sun_text' \
  -font $bold -pointsize 35 -fill 'rgba(0,0,0,0.6)' -annotate 12x12+1087+107 'LIVE' \
  -fill '#e62828' -annotate 12x12+1085+105 'LIVE' \
  -sampling-factor 2x2,1x1,1x1 -quality 80 im.jpg
EOF

# The same in ffmpeg, as a filter graph over a stream of camera frames.
for _ in $(seq 300); do cat camera.jpg; done > stream.mjpeg
text() { # file size x y colour [shadow]
    printf "drawtext=fontfile=%s:textfile=%s:expansion=none:fontsize=%s:x=%s:y=%s:fontcolor=%s%s" \
        "$1" "$2" "$3" "$4" "$5" "$6" "${7:-}"
}
printf '%s' "$time_text" > t_time.txt
printf '%s' "$date_text" > t_date.txt
printf '%s' "$weather_text" > t_weather.txt
printf '%s' "$sun_text" > t_sun.txt
printf '%s' "LIVE" > t_live.txt
shadow=":shadowcolor=black@0.6:shadowx=3:shadowy=3"
graph="[0:v]drawbox=x=0:y=608:w=1280:h=112:color=black@0.45:t=fill[band];[band][1:v]overlay=1060:20"
graph+=",$(text "$bold" t_time.txt 48 24 14 white "$shadow")"
graph+=",$(text "$font" t_date.txt 27 26 76 white "$shadow")"
graph+=",$(text "$font" t_weather.txt 27 24 626 white "$shadow")"
graph+=",$(text "$font" t_sun.txt 20 24 670 0xffe6c8)"
graph+=",$(text "$bold" t_live.txt 35 1085 105 0xe62828 "$shadow"),format=yuvj420p"
ff_start=$(date +%s.%N)
ffmpeg -hide_banner -loglevel error -nostdin -y -threads 1 -f mjpeg -i stream.mjpeg -i logo.png \
    -filter_threads 1 -filter_complex_threads 1 -filter_complex "$graph" \
    -threads 1 -q:v 6 -f mjpeg /dev/null
ff_end=$(date +%s.%N)
ff_ms=$("$python" -c "print(f'{($ff_end - $ff_start) * 1000 / 300:.2f}')")

hyperfine -N --warmup 3 --runs 40 --export-json procs.json \
    -n imagemagick "sh im.sh" \
    -n render "$tess render hillcam.can -o render.jpg --at '$at'" >/dev/null

"$bench" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    --benchmark_filter='Recompose|NewCameraFrame|ClockTick' --benchmark_format=json > inproc.json

"$python" - "$ff_ms" <<'EOF'
import json, sys
ff = float(sys.argv[1])
procs = {r["command"]: r for r in json.load(open("procs.json"))["results"]}
im = procs["imagemagick"]["median"] * 1000
render = procs["render"]["median"] * 1000
inproc = {b["run_name"]: b["real_time"] for b in json.load(open("inproc.json"))["benchmarks"]
          if b.get("aggregate_name") == "median"}
full = inproc["BM_RecomposeEveryLayerAndEncode"]
frame = inproc["BM_NewCameraFrameDecodeComposeEncode"]
clock = inproc["BM_ClockTickComposeEncode"]
rows = [
    ("ImageMagick, one convert command (median)", im, ""),
    ("ffmpeg, per frame of a 300-frame stream, one thread", ff, ""),
    ("tessarolle render, whole process (median)", render, f"{im / render:.1f}x faster than ImageMagick"),
    ("every layer recomposed + JPEG q80, in process", full, f"{im / full:.1f}x faster than ImageMagick"),
    ("new camera frame: decode + compose + JPEG q80", frame, f"{ff / frame:.1f}x faster than ffmpeg"),
    ("clock changed: its layer + JPEG q80", clock, ""),
]
print("| What | ms | Ratio |")
print("|---|---|---|")
for what, ms, ratio in rows:
    print(f"| {what} | {ms:.2f} | {ratio} |")
EOF
