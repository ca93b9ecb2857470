#!/bin/bash
# Fails when any C or C++ file of the repository differs from what .clang-format makes of it, and
# names the files; `clang-format -i` on them is the fix.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
format=$(command -v clang-format-14 || command -v clang-format)
mapfile -t files < <(find Driver Library Host Include Firmware Tests \
  \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -type f | sort)
unformatted=()
for file in "${files[@]}"; do
  if ! "$format" --style=file "$file" | cmp -s - "$file"; then
    unformatted+=("$file")
  fi
done
if ((${#unformatted[@]} != 0)); then
  printf 'not formatted: %s\n' "${unformatted[@]}" >&2
  exit 1
fi
echo "check-format: ${#files[@]} files formatted"
