#!/bin/bash
# Fails when any C or C++ file of the repository differs from what .clang-format makes of it, and
# names file and line of each difference; `clang-format -i` on the file is the fix.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
format=$(command -v clang-format-14 || command -v clang-format)
mapfile -t files < <(find Driver Library Host Include Firmware Common Tests \
  \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -type f | sort)
# One run over all files; --Werror turns each difference into an error that names file and line.
if ! report=$("$format" --style=file --dry-run --Werror "${files[@]}" 2>&1); then
  grep -E ': error:' <<<"$report" >&2 || echo "$report" >&2
  exit 1
fi
echo "check-format: ${#files[@]} files formatted"
