#!/usr/bin/env bash
# Builds the fuzz preset, runs every fuzz target for SECONDS each (seeded from fuzz/corpus, with
# the command-grammar dictionary) and the fault soak for SOAK_MS virtual milliseconds, and prints
# the figures. Any crash, sanitizer report, leak, hang (over 1 s for one input) or failed soak
# check fails the run; the input that did it is kept in build/fuzz/artifacts/.
#
#   scripts/fuzz.sh                 # what ./test runs: 20 s per target, a 100,000 ms soak
#   scripts/fuzz.sh 600 10000000 4  # the long campaign: 10 min per target, four soaks of 10^7 ms
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-20}
soak_ms=${2:-100000}
soaks=${3:-1}
jobs=$(nproc)

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$jobs"

out=build/fuzz
mkdir -p "$out/artifacts" "$out/logs"
status=0
printf '%-16s %12s %10s %8s %8s %8s\n' target executions "exec/s" cov ft corpus
for binary in "$out"/fuzz/fuzz_*; do
    name=${binary##*/fuzz_}
    work="$out/corpus/$name"  # grows here; the repository keeps only the seeds
    mkdir -p "$work"
    log="$out/logs/$name.log"
    seeds=()
    [ -d "fuzz/corpus/$name" ] && seeds=("fuzz/corpus/$name")
    if ! "$binary" -max_total_time="$seconds" -timeout=1 -rss_limit_mb=2048 -max_len=8192 \
        -dict=fuzz/kestrova.dict -print_final_stats=1 -artifact_prefix="$out/artifacts/$name-" \
        "$work" "${seeds[@]}" >"$log" 2>&1; then
        echo "fuzz_$name FAILED:"
        grep -E 'ERROR|FAILURE|runtime error|SUMMARY|Test unit written' "$log" | head -20
        status=1
        continue
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    last=$(grep -E '^#[0-9]+.*cov: ' "$log" | tail -1)
    cov=$(sed -n 's/.*cov: \([0-9]*\).*/\1/p' <<<"$last")
    ft=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$last")
    corp=$(sed -n 's/.* corp: \([0-9]*\).*/\1/p' <<<"$last")
    printf '%-16s %12s %10s %8s %8s %8s\n' "$name" "$runs" "$rate" "$cov" "$ft" "$corp"
done

for seed in $(seq 1 "$soaks"); do
    if ! "$out/fuzz/kestrova-soak" --ms "$soak_ms" --seed "$seed"; then
        echo "kestrova-soak (seed $seed) FAILED"
        status=1
    fi
done
exit $status
