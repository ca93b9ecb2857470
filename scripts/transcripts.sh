#!/bin/bash
# Writes the simulator's transcripts (text and JSON) of every scenario in the repository into
# OUT_DIR, one pair of files per scenario, so that two builds can be compared with `diff -r`.
#   scripts/transcripts.sh OUT_DIR [BUILD_DIR]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=${1:?usage: transcripts.sh OUT_DIR [BUILD_DIR]}
build_dir=${2:-${BUILD_DIR:-$root/build}}
simulator=$build_dir/Host/Simulator/simulate
mkdir -p "$out"

# Every scenario the repository holds except the one made to be refused.
mapfile -t scenarios < <(cd "$root" && git ls-files '*.json' | grep -v -e '/corpus/' -e 'over-bound' -e 'refused' | sort)
for scenario in "${scenarios[@]}"; do
  name=$(echo "${scenario%.json}" | tr "/" "_")
  status=0
  "$simulator" "$root/$scenario" >"$out/$name.txt" 2>&1 || status=$?
  echo "exit status $status" >>"$out/$name.txt"
  "$simulator" --json "$root/$scenario" >"$out/$name.json" 2>&1 || true
done
echo "${#scenarios[@]} scenarios written to $out"
