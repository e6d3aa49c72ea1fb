#!/usr/bin/env bash
# Measures the desktop application on the simulated master:
#   - time from process start to the first painted page (median of several starts),
#   - resident memory after a minute on the IO-Link Data page with auto update,
#   - CPU used on that page while it polls (from the process's own tick counts).
# Usage: src/hosts/qt/measure.sh [KESTROVA_BINARY] [SECONDS]
# The start is measured on Qt's offscreen platform and, when Xvfb is installed, under Xvfb
# (STARTS runs each, 10 by default); the minute on the Data page runs under Xvfb when it is
# there (MEASURE_PLATFORM=offscreen forces offscreen for everything). Wall-clock figures depend
# on what else the machine runs, so the load average is printed with them.
set -euo pipefail

root=$(cd "$(dirname "$0")/../../.." && pwd)
exe=${1:-$root/build/default/src/hosts/qt/kestrova}
seconds=${2:-60}
starts=${STARTS:-10}
[ -x "$exe" ] || { echo "measure: no kestrova at $exe (build it first)" >&2; exit 1; }

work=$(mktemp -d)
xvfb_pid=""
cleanup() {
    if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; fi
    rm -rf "$work"
}
trap cleanup EXIT
export QT_LOGGING_RULES="qt.qpa.*=false"

use_offscreen() {
    export QT_QPA_PLATFORM=offscreen
}
use_xvfb() {
    if [ -z "$xvfb_pid" ]; then
        # A free display number: others may run Xvfb at the same time.
        local n=$((90 + RANDOM % 400))
        while [ -e "/tmp/.X11-unix/X$n" ] || [ -e "/tmp/.X$n-lock" ]; do n=$((n + 1)); done
        Xvfb ":$n" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
        xvfb_pid=$!
        sleep 1
        export DISPLAY=:$n
    fi
    unset QT_QPA_PLATFORM WAYLAND_DISPLAY
}

platforms=offscreen
if [ "${MEASURE_PLATFORM:-}" != offscreen ] && command -v Xvfb >/dev/null; then
    platforms="offscreen xvfb"
fi
echo "machine: $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | xargs), $(nproc) cores," \
    "load average $(cut -d' ' -f1-3 /proc/loadavg)"

# 1. Start to first painted page, as the application reports it. The launcher's clock is
# handed over so the time includes loading the program and its libraries.
for platform in $platforms; do
    "use_$platform"
    times=()
    for _ in $(seq "$starts"); do
        line=$(KESTROVA_STARTUP_REPORT=1 KESTROVA_LAUNCH_NS=$(date +%s%N) \
            "$exe" --screenshot "$work/start.png" --after 300 2>&1 | grep 'first page painted' || true)
        ms=$(sed -n 's/.*after \([0-9]*\) ms.*/\1/p' <<<"$line")
        [ -n "$ms" ] && times+=("$ms")
    done
    if [ ${#times[@]} -eq 0 ]; then
        echo "$platform: first page not reported" >&2
    else
        sorted=$(printf '%s\n' "${times[@]}" | sort -n)
        median=$(sed -n "$(((${#times[@]} + 1) / 2))p" <<<"$sorted")
        echo "$platform: first page painted: median ${median} ms (runs: $(tr '\n' ' ' <<<"$sorted"))"
    fi
done

# 2. and 3. A run on the Data page with auto update (on by default), ending by itself, on the
# last platform measured.
hz=$(getconf CLK_TCK)
/usr/bin/time -v -o "$work/time.txt" "$exe" --page K3 --screenshot "$work/data.png" \
    --after $(((seconds + 2) * 1000)) >/dev/null 2>"$work/app.err" &
timer=$!
sleep 0.5
pid=$(pgrep -P "$timer" || true)
[ -n "$pid" ] || { echo "measure: the application did not start" >&2; cat "$work/app.err" >&2; exit 1; }
ticks() { awk '{print $14 + $15}' "/proc/$pid/stat"; }
sleep 10  # past the start and the connection
t0=$(ticks)
s0=$(date +%s.%N)
sleep $((seconds - 10))
t1=$(ticks)
s1=$(date +%s.%N)
rss=$(awk '/VmRSS/ {print $2}' "/proc/$pid/status")
wait "$timer" || true
cpu=$(awk -v a="$t0" -v b="$t1" -v s="$s0" -v e="$s1" -v hz="$hz" \
    'BEGIN {printf "%.2f", (b - a) / hz / (e - s) * 100}')
max=$(awk -F: '/Maximum resident/ {gsub(/ /, "", $2); print $2}' "$work/time.txt")
echo "$platform: resident after ${seconds} s on the Data page: $((rss / 1024)) MB (peak $((max / 1024)) MB)"
echo "$platform: CPU while polling: ${cpu} % of one core (over the last $((seconds - 10)) s)"
