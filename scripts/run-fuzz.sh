#!/bin/bash
# Runs one libFuzzer target for a bounded time on its seed corpus.
#   scripts/run-fuzz.sh TARGET WORK_CORPUS SEED_CORPUS ARTIFACT_DIR SECONDS [extra libFuzzer flags]
# New inputs go to WORK_CORPUS (the seeds stay untouched), a crashing input to ARTIFACT_DIR.
# Prints libFuzzer's closing statistics; exits non-zero on any finding.
set -euo pipefail
target=$1 work=$2 seeds=$3 artifacts=$4 seconds=$5
shift 5
mkdir -p "$work" "$artifacts"
log=$artifacts/last-run.log
status=0
"$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096 -print_final_stats=1 \
  -artifact_prefix="$artifacts/" "$@" "$work" "$seeds" >"$log" 2>&1 || status=$?
grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb|Done [0-9]+ runs)' "$log" || true
if ((status != 0)); then
  tail -n 60 "$log"
  echo "run-fuzz: $(basename "$target") found a problem (exit $status); inputs in $artifacts" >&2
fi
exit "$status"
