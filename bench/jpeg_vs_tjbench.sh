#!/usr/bin/env bash
# Our JPEG encoder and libjpeg-turbo's own tjbench on the very same 1920 x 1080 picture,
# quality 80, 4:2:0, one thread, run back to back. Usage: bench/jpeg_vs_tjbench.sh BUILD [ROUNDS]
set -euo pipefail
build=${1:-build/bench}
rounds=${2:-5}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for ((i = 1; i <= rounds; i++)); do
    TESS_BENCH_PPM="$work/frame.ppm" "$build/bench/bench_imaging" \
        --benchmark_filter='Jpeg' --benchmark_min_time=2 2>/dev/null | grep -E '^BM_'
    tjbench "$work/frame.ppm" 80 -subsamp 420 -benchtime 2 -warmup 0.5 -nowrite 2>&1 |
        grep -A4 '^Compress' | grep -E 'Frame rate|Throughput|Output image size' |
        sed 's/^ */tjbench: /'
done
