#!/bin/sh
# The script language against CPython and Lua 5.4 on the same three programs
# (bench/vbscript/*.vbs, *.py, *.lua). Each figure is the best of five runs, in milliseconds,
# timed inside the interpreter so that start-up does not count.
# Usage: bench/vbscript_vs_peers.sh BUILD_DIR   (a release build with -DTESS_BENCH=ON)
set -e
build=${1:-build/release}
here=$(dirname "$0")
python=/usr/bin/python3
echo "program   ours(ms)  cpython(ms)  lua5.4(ms)"
for program in fib loop text; do
    ours=$("$build/bench/bench_vbscript" --benchmark_filter="BM_$(case $program in
        fib) echo Fib25;; loop) echo Loop1M;; text) echo Text100k;; esac)\$" \
        --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
        --benchmark_format=csv 2>/dev/null | grep '_median' | head -1 | cut -d, -f4)
    py=$("$python" -c "
import time
src = open('$here/vbscript/$program.py').read()
best = None
for _ in range(5):
    t = time.process_time(); exec(compile(src, '$program.py', 'exec'), {}); d = time.process_time() - t
    best = d if best is None or d < best else best
print('%.1f' % (best * 1000))")
    lua=$(lua5.4 -e "
local src = assert(loadfile('$here/vbscript/$program.lua'))
local best
for _ = 1, 5 do
    local t = os.clock(); src(); local d = os.clock() - t
    if not best or d < best then best = d end
end
print(string.format('%.1f', best * 1000))")
    printf '%-8s %9.1f %12s %11s\n' "$program" "$ours" "$py" "$lua"
done
