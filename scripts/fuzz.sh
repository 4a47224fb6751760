#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer + UndefinedBehaviorSanitizer) and runs each one
# for SECONDS seconds (default 10) on a corpus seeded from fuzz/corpus, tests/fixtures and, when it is
# there, ../shared/samples. Usage: scripts/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-10}"
shift || true
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=(time_value project probe_json effect_preset mappings)
fi

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j"$(nproc)" --target "${targets[@]/%/_fuzzer}"

seeds=build/fuzz/seeds
rm -rf "$seeds"
mkdir -p "$seeds"/{time_value,project,probe_json,effect_preset,mappings}
cp fuzz/corpus/time_value/* "$seeds/time_value/"
cp fuzz/corpus/probe_json/* "$seeds/probe_json/"
cp fuzz/corpus/effect_preset/* "$seeds/effect_preset/"
cp fuzz/corpus/mappings/* "$seeds/mappings/"
# Every project we have, and the time values written in them.
n=0
while IFS= read -r -d '' project; do
    n=$((n + 1))
    cp "$project" "$seeds/project/$n.fcpxml"
    grep -o '="[-0-9/]*s"' "$project" | tr -d '="' | head -200 | paste -d' ' - - |
        split -l 1 - "$seeds/time_value/$n-" || true
done < <(find tests/fixtures ../shared/samples -name '*.fcpxml' -print0 2>/dev/null)

for target in "${targets[@]}"; do
    corpus="build/fuzz/corpus/$target"
    mkdir -p "$corpus"
    echo "== ${target}_fuzzer, ${seconds} s"
    log="build/fuzz/${target}.log"
    # libFuzzer ends with a non-zero status on any finding, also one it could not write an input file for.
    status=0
    build/fuzz/"${target}_fuzzer" -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 "$corpus" "$seeds/$target" >"$log" 2>&1 || status=$?
    grep -E 'stat::number_of_executed_units|ERROR|SUMMARY|Done' "$log" || true
    if [ "$status" -ne 0 ] || ls crash-* leak-* timeout-* oom-* >/dev/null 2>&1; then
        tail -n 40 "$log"
        echo "finding in ${target}_fuzzer (exit status $status)"
        exit 1
    fi
done
