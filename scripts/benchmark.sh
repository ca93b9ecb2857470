#!/bin/bash
# Footprint and speed of the driver; see scripts/benchmark.py.
#   scripts/benchmark.sh [BUILD_DIR] [--json OUT] [--check] [--scenario FILE]
# BUILD_DIR defaults to build/ (configured with the firmware build on, and built).
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
build=build
if [[ $# -gt 0 && $1 != --* ]]; then
  build=$1
  shift
fi
exec python3 "$here/benchmark.py" "$build" "$@"
