#!/usr/bin/env bash
# The motion detector's per-frame work against the peers' baseline on the same four 720p
# testsrc2 frames, run back to back: the plain-C step (3x3 blur, difference, histogram) and,
# when Debian's python3-opencv is installed, the OpenCV one.
# Usage: bench/motion_vs_peers.sh BUILD PEER_BENCH_FOLDER [ROUNDS]
set -euo pipefail
build=${1:-build/release}
peers=${2:-../shared/peer-bench}
rounds=${3:-3}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Frames 0, 37, 74 and 111, so that the moving parts differ, as the baseline makes them.
ffmpeg -hide_banner -loglevel error -f lavfi -i "testsrc2=size=1280x720:rate=25" \
    -vf "select='not(mod(n,37))'" -fps_mode passthrough -frames:v 4 -q:v 2 "$work/720p_%02d.jpg"
gcc -O3 -march=native -o "$work/motion_c" "$peers/src/motion_c.c" -lturbojpeg
for ((i = 1; i <= rounds; i++)); do
    TESS_BENCH_FRAMES="$work" "$build/bench/bench_motion" --benchmark_filter='DiffFrames' \
        --benchmark_min_time=2 2>/dev/null | grep -E '^BM_'
    "$work/motion_c" peer_motion_c_720p 150 "$work"/720p_0{1,2,3,4}.jpg 2>/dev/null
    if /usr/bin/python3 -c 'import cv2' 2>/dev/null; then
        /usr/bin/python3 "$peers/src/motion_cv.py" peer_motion_cv_720p 100 "$work"/720p_0{1,2,3,4}.jpg 2>/dev/null
    fi
done
