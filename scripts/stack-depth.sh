#!/bin/bash
# Deepest stack use of any Query or Response path of the firmware driver; see stack-depth.py.
#   scripts/stack-depth.sh IMAGE.so FIRMWARE_BUILD_DIR LIMIT
set -euo pipefail
exec python3 "$(dirname "${BASH_SOURCE[0]}")/stack-depth.py" "$@"
