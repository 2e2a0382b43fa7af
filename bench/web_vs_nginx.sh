#!/usr/bin/env bash
# Loads our web server and nginx (one worker process, the same JPEG bytes as a static file)
# with wrk on loopback, in the same run, interleaved, and prints each run and the medians.
#
#   bench/web_vs_nginx.sh [BUILD_DIR]        (default build/bench; make bench first)
#   REPS=5 DURATION=10s bench/web_vs_nginx.sh
#   FRAME_QUALITY=90 bench/web_vs_nginx.sh   (the frame from a JPEG file, as from a camera)
#
# Keep-alive load: wrk -t2 -c64 -d10s (CONNECTIONS=N to change -c) with "Connection: keep-alive" (wrk sends HTTP/1.1
# without that header; both servers get the same requests). Our server runs twice: with the
# picture kept (Interval 60, one encoding for the whole run) and with Interval 0 (a new
# encoding for every request). For each of our runs the server also reports how its fixed
# file (saved every second) and a 10 ms probe timer kept time under the load, and its memory.
# nginx runs in the foreground of this script with its own config and is stopped by its PID;
# no system service is involved.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/bench}" && pwd)
reps=${REPS:-3}
duration=${DURATION:-10s}
ours_port=${OURS_PORT:-18481}
nginx_port=${NGINX_PORT:-18482}
work=$(mktemp -d /tmp/tess-web-bench-XXXXXX)
chmod 755 "$work" # nginx's workers run as an unprivileged user when started by root
pids=()
cleanup() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT

for tool in wrk nginx curl; do
    command -v "$tool" >/dev/null || { echo "needs $tool (scripts/install-deps)"; exit 1; }
done

start_ours() { # interval, log
    mkdir -p "$work/web"
    "$build/bench/web_serve" --port "$ours_port" --interval "$1" --web "$work/web" \
        --frame-quality "${FRAME_QUALITY:-0}" > "$2" &
    ours_pid=$!
    pids+=("$ours_pid")
    for _ in $(seq 100); do grep -q serving "$2" && return; sleep 0.05; done
    echo "web_serve did not start"; exit 1
}

start_nginx() { # the file to serve as Canvas01.jpg
    local p=$work/nginx
    mkdir -p "$p/html" "$p/tmp"
    cp "$1" "$p/html/Canvas01.jpg"
    chmod -R a+rX "$p/html"
    cat > "$p/nginx.conf" <<CONF
worker_processes 1;
pid $p/nginx.pid;
error_log $p/error.log warn;
events { worker_connections 1024; }
http {
    types { image/jpeg jpg; }
    default_type application/octet-stream;
    sendfile on;
    tcp_nopush on;
    access_log off;
    client_body_temp_path $p/tmp/body;
    proxy_temp_path $p/tmp/proxy;
    fastcgi_temp_path $p/tmp/fastcgi;
    uwsgi_temp_path $p/tmp/uwsgi;
    scgi_temp_path $p/tmp/scgi;
    server {
        listen 127.0.0.1:$nginx_port;
        root $p/html;
        location / { }
    }
}
CONF
    nginx -p "$p" -c "$p/nginx.conf" -e "$p/error.log" -g 'daemon off;' > "$p/out.log" 2>&1 &
    pids+=($!)
    for _ in $(seq 100); do
        curl -sf -o /dev/null "http://127.0.0.1:$nginx_port/Canvas01.jpg" && return
        sleep 0.05
    done
    echo "nginx did not start"; cat "$p/error.log"; exit 1
}

# One wrk run: prints "rps lat_avg_ms p50_ms p99_ms errors".
load() {
    local out
    out=$(wrk -t2 -c"${CONNECTIONS:-64}" -d"$duration" --latency -H 'Connection: keep-alive' "$1")
    echo "$out" >> "$work/wrk.log"
    /usr/bin/python3 - "$out" <<'PY'
import re, sys
text = sys.argv[1]
def ms(v):
    m = re.match(r"([\d.]+)(us|ms|s)", v)
    return float(m.group(1)) * {"us": 0.001, "ms": 1, "s": 1000}[m.group(2)]
rps = float(re.search(r"Requests/sec:\s+([\d.]+)", text).group(1))
avg = ms(re.search(r"Latency\s+(\S+)", text).group(1))
p50 = ms(re.search(r"\s50%\s+(\S+)", text).group(1))
p99 = ms(re.search(r"\s99%\s+(\S+)", text).group(1))
errors = sum(int(n) for n in re.findall(r"(?:connect|read|write|timeout) (\d+)", text))
m = re.search(r"Non-2xx or 3xx responses: (\d+)", text)
errors += int(m.group(1)) if m else 0
print(f"{rps:.0f} {avg:.3f} {p50:.3f} {p99:.3f} {errors}")
PY
}

# Runs wrk against our server inside a measurement window; prints the wrk figures and the
# server's window line.
load_ours() {
    kill -USR1 "$ours_pid"
    sleep 0.1
    local figures
    figures=$(load "http://127.0.0.1:$ours_port/Canvas01.jpg")
    kill -USR2 "$ours_pid"
    sleep 0.3
    echo "$figures | $(grep window "$1" | tail -1)"
}

echo "date: $(date -u '+%Y-%m-%d %H:%M UTC'), nproc $(nproc), load at start: $(cut -d' ' -f1-3 /proc/loadavg)"
start_ours 60 "$work/ours60.log"
curl -s -o "$work/canvas.jpg" "http://127.0.0.1:$ours_port/Canvas01.jpg"
bytes=$(stat -c %s "$work/canvas.jpg")
start_nginx "$work/canvas.jpg"
cmp -s "$work/canvas.jpg" <(curl -s "http://127.0.0.1:$nginx_port/Canvas01.jpg") \
    || { echo "nginx does not serve the same bytes"; exit 1; }
echo "picture: 1280x720, quality 80, $bytes bytes, the same file from both servers"
echo "columns: requests/s, latency avg, p50, p99 (ms), errors"

: > "$work/ours.txt"; : > "$work/nginx.txt"; : > "$work/zero.txt"
for rep in $(seq "$reps"); do
    line=$(load_ours "$work/ours60.log"); echo "$line" >> "$work/ours.txt"
    echo "run $rep ours (kept):  $line"
    line=$(load "http://127.0.0.1:$nginx_port/Canvas01.jpg"); echo "$line" >> "$work/nginx.txt"
    echo "run $rep nginx:        $line"
done
kill "$ours_pid"; wait "$ours_pid" 2>/dev/null || true

start_ours 0 "$work/ours0.log"
for rep in $(seq "$reps"); do
    line=$(load_ours "$work/ours0.log"); echo "$line" >> "$work/zero.txt"
    echo "run $rep ours (Interval 0): $line"
done
echo "load at end: $(cut -d' ' -f1-3 /proc/loadavg)"

/usr/bin/python3 - "$work" <<'PY'
import statistics, sys
work = sys.argv[1]
def medians(name):
    rows = [l.split("|")[0].split() for l in open(f"{work}/{name}.txt") if l.strip()]
    cols = list(zip(*[[float(v) for v in r] for r in rows]))
    return [statistics.median(c) for c in cols], [max(c) for c in cols]
ours, ours_max = medians("ours")
nginx, _ = medians("nginx")
zero, zero_max = medians("zero")
print("median  ours (kept)   %.0f req/s, avg %.3f ms, p50 %.3f ms, p99 %.3f ms, errors max %d" % (*ours[:4], ours_max[4]))
print("median  nginx         %.0f req/s, avg %.3f ms, p50 %.3f ms, p99 %.3f ms" % tuple(nginx[:4]))
print("median  ours (Int. 0) %.0f req/s, avg %.3f ms, p50 %.3f ms, p99 %.3f ms, errors max %d" % (*zero[:4], zero_max[4]))
print("ratio ours/nginx requests/s: %.2f" % (ours[0] / nginx[0]))
PY
