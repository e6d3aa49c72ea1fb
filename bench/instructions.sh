#!/bin/sh
# Instructions per steady tick of every rig, and per Init up to the first filled page, counted
# by callgrind (they do not depend on how busy the machine is).
# Usage: bench/instructions.sh [BUILD_DIR] [TICKS]
set -eu
build=${1:-build/default}
ticks=${2:-2000}
program=$build/bench/kestrova_tick_instructions
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
for rig in General DeviceInfo Data Parameter About DataWorst Init; do
    n=$ticks
    [ "$rig" = Init ] && n=$((ticks / 10))
    valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out/$rig" \
        "$program" "$rig" "$n" >/dev/null 2>&1
    total=$(sed -n 's/^totals: *\([0-9]*\).*/\1/p' "$out/$rig")
    printf '%-11s %8d instructions per %s\n' "$rig" $((total / n)) \
        "$([ "$rig" = Init ] && echo Init || echo tick)"
done
