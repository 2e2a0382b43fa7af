#!/usr/bin/env bash
# Uploads a 150 KB canvas picture (demo/hillcam.can rendered at quality 80) COUNT times to a
# local pyftpdlib server in replacement mode 0, first with our engine (bench/ftp_upload, one
# event loop, a 5 ms probe timer beside it), then with `curl -T` started as a process for
# each upload with the same commands (STOR of the temporary name, then DELE, RNFR, RNTO as
# post-quote commands). Prints both times per upload, their ratio and the probe's lateness.
#
#   bench/ftp_vs_curl.sh [BUILD_DIR]        (default build/bench; make bench first)
#   COUNT=50 bench/ftp_vs_curl.sh
#
# Each side's final file is compared with the picture afterwards. The server runs with
# /usr/bin/python3 (Debian's, which has pyftpdlib) and is stopped by its PID.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build/bench}" && pwd)
count=${COUNT:-200}
work=$(mktemp -d /tmp/tess-ftp-bench-XXXXXX)
server_pid=
cleanup() {
    [ -n "$server_pid" ] && kill "$server_pid" 2>/dev/null && wait "$server_pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

for tool in curl /usr/bin/python3; do
    command -v "$tool" >/dev/null || { echo "needs $tool (scripts/install-deps)"; exit 1; }
done

picture=$work/picture.jpg
(cd "$root/demo" && "$build/src/app/tessarolle" render hillcam.can -o "$picture" \
    --at "2026-06-21 12:00:00" --quality 80 >/dev/null)
size=$(stat -c %s "$picture")

mkdir -p "$work/root"
/usr/bin/python3 "$root/tests/publish/ftp_server.py" --root "$work/root" --user bench \
    --password "bench pass" --port-file "$work/port" --log "$work/commands.log" &
server_pid=$!
for _ in $(seq 100); do [ -s "$work/port" ] && break; sleep 0.05; done
port=$(cat "$work/port")
url=ftp://127.0.0.1:$port

now() { date +%s.%N; }

"$build/bench/ftp_upload" --server "$url" --user bench --password "bench pass" \
    --file "$picture" --count "$count" --mode 0 --name ours.jpg | tee "$work/ours.txt"
cmp "$picture" "$work/root/ours.jpg"
ours=$(sed -n 's/.* \([0-9.]*\) ms per upload.*/\1/p' "$work/ours.txt")

curl_upload() {
    curl -sS -u "bench:bench pass" -T "$picture" "$url/FTPPsh00.tmp" \
        -Q "-*DELE theirs.jpg" -Q "-RNFR FTPPsh00.tmp" -Q "-RNTO theirs.jpg"
}
curl_upload # as ours, one upload before the timing
start=$(now)
for _ in $(seq "$count"); do curl_upload; done
end=$(now)
cmp "$picture" "$work/root/theirs.jpg"
theirs=$(echo "($end - $start) * 1000 / $count" | bc -l)

# What starting curl costs on its own here: a read of a local file, 20 times.
start=$(now)
for _ in $(seq 20); do curl -sS -o /dev/null "file://$picture"; done
end=$(now)
alone=$(echo "($end - $start) * 1000 / 20" | bc -l)

printf 'curl -T: %d uploads of %d bytes, %.3f ms per upload\n' "$count" "$size" "$theirs"
printf 'curl started for a local file (its start alone): %.3f ms\n' "$alone"
printf 'ratio ours / curl: %.3f\n' "$(echo "$ours / $theirs" | bc -l)"
