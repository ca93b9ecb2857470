#!/bin/bash
# The hardening stage: builds the whole host suite with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer plus the libFuzzer targets in a build directory of its own, runs the
# host suite there, then runs every fuzz target for a bounded time on its seed corpus.
#   scripts/hardening.sh BUILD_DIR [SECONDS_PER_FUZZ_TARGET]
# Called by the ctest test "hardening" of the main build; also usable by hand.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=${1:?usage: hardening.sh BUILD_DIR [SECONDS]}
seconds=${2:-${PTD_FUZZ_SECONDS:-20}}
jobs=$(nproc)
started=$(date +%s)

stamp() { echo "hardening: $1 ($(($(date +%s) - started)) s)"; }

# -O1 keeps the sanitizer build quick to compile and still fast enough to fuzz.
cmake -S "$root" -B "$build_dir" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g" \
  -DPTD_FUZZ=ON -DPTD_SANITIZE=ON -DPTD_FIRMWARE=OFF -DPTD_TESTS=ON \
  -DPTD_FUZZ_SECONDS="$seconds" >"$build_dir.configure.log" 2>&1 || {
  cat "$build_dir.configure.log" >&2
  exit 1
}
stamp "configured"
ninja -C "$build_dir" -j "$jobs" >"$build_dir.build.log" 2>&1 || {
  grep -B2 -A20 'FAILED' "$build_dir.build.log" | head -80 >&2
  exit 1
}
stamp "built"

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
ctest --test-dir "$build_dir" -LE fuzz --output-on-failure --no-tests=error -j "$jobs" | grep -E "tests passed|tests failed|\*\*\*|Failed|Total Test time"
stamp "host suite passed under ASan and UBSan"

# One fuzz target per core.
status=0
ctest --test-dir "$build_dir" -L fuzz --output-on-failure --no-tests=error -j "$jobs" >"$build_dir.fuzz.log" 2>&1 ||
  status=$?
for log in "$build_dir"/Tests/Fuzz/fuzz-artifacts/*/last-run.log; do
  target=$(basename "$(dirname "$log")")
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  echo "hardening: fuzz_$target: ${runs:-?} executions in ${seconds} s"
done
if ((status != 0)); then
  cat "$build_dir.fuzz.log" >&2
  echo "hardening: a fuzz target found a problem" >&2
  exit 1
fi
stamp "fuzz targets ran ${seconds} s each without findings"
