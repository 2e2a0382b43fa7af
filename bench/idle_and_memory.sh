#!/usr/bin/env bash
# What the running program takes from a small always-on machine:
#   - the CPU time of a portfolio of 20 canvases of 20 items each in which nothing is due
#     (texts and graphics refreshed hourly), over a minute, read from /proc/<pid>/stat;
#   - the memory of the demo (resident now and at its highest), from /proc/<pid>/status,
#     after it has run for half a minute.
#
#   bench/idle_and_memory.sh [build/bench]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/bench}" && pwd)
tess="$build/src/app/tessarolle"
seconds=${IDLE_SECONDS:-60}
work=$(mktemp -d /tmp/tess-idle.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$work"' EXIT

# The idle portfolio, written as a user's files would be.
mkdir -p "$work/idle"
cd "$work/idle"
{
    for slot in $(seq -w 1 20); do printf '[Canvas%s]\r\nFileName=idle%s.can\r\n' "$slot" "$slot"; done
} > idle.por
for slot in $(seq -w 1 20); do
    {
        printf '[General]\r\nName=Idle %s\r\nWidth=320\r\nHeight=240\r\n' "$slot"
        printf '[Capture]\r\nFixedEnabled=True\r\nFixedRate=3600\r\nFixedFileName=out\\idle%s.jpg\r\n' "$slot"
        for i in $(seq -w 1 10); do
            printf '[Text0%s]\r\nEnabled=True\r\nText=<TIME> item %s\r\nInterval=3600\r\nLocationY=%d\r\n' \
                "$i" "$i" $((10#$i * 20))
            printf '[Graphic0%s]\r\nEnabled=True\r\nSourceType=3\r\nStretchedWidth=20\r\nStretchedHeight=20\r\nLocationX=%d\r\nInterval=3600\r\n' \
                "$i" $((10#$i * 25))
        done
    } > "idle$slot.can"
done
clk=$(getconf CLK_TCK)
cpu_ticks() { awk '{print $14 + $15}' "/proc/$1/stat"; }

"$tess" run idle.por --headless --for $((seconds + 10)) >/dev/null 2>&1 &
pid=$!
sleep 5 # loading and the first composition are not idle
start=$(cpu_ticks "$pid")
sleep "$seconds"
end=$(cpu_ticks "$pid")
idle_rss=$(awk '/VmRSS/ {print $2}' "/proc/$pid/status")
wait "$pid"
awk -v t=$((end - start)) -v clk="$clk" -v s="$seconds" -v rss="$idle_rss" 'BEGIN {
    printf "idle portfolio (20 canvases x 20 items): %.2f s of CPU in %d s = %.3f %% of one core; VmRSS %d kB\n",
        t / clk, s, 100 * t / clk / s, rss }'

# The demo, on a free port.
cd "$work"
port=$(/usr/bin/python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1])')
"$tess" demo --dir "$work/demo" --for 40 --port "$port" >/dev/null 2>&1 &
pid=$!
sleep 30
for _ in 1 2 3; do curl -s -o /dev/null "http://127.0.0.1:$port/Canvas01.jpg"; done
awk '/VmRSS|VmHWM/ {printf "demo %s %s kB\n", $1, $2}' "/proc/$pid/status"
wait "$pid"
