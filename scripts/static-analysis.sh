#!/bin/bash
# Static analysis of the driver core: Driver/ and Library/ (except the host-only files).
#   scripts/static-analysis.sh clang-tidy BUILD_DIR   (writes its files below BUILD_DIR)
#   scripts/static-analysis.sh cppcheck BUILD_DIR
# Exits non-zero on any finding. The clang-tidy check set is in .clang-tidy at the top of the
# repository; cppcheck findings that are false positives are suppressed inline where they occur,
# each with its reason.
set -euo pipefail

tool=${1:?usage: static-analysis.sh clang-tidy|cppcheck BUILD_DIR}
build_dir=${2:?usage: static-analysis.sh clang-tidy|cppcheck BUILD_DIR}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

# The sources of the driver core, without the host-only files (Host*), the host reset of the module
# state, and the firmware-only files (whose headers are not on the host include path).
mapfile -t sources < <(find Driver Library -name '*.cpp' \
  ! -name '*Host*' ! -path '*Host*/*' ! -name '*Firmware*' ! -path '*Firmware*/*' \
  ! -name 'ModuleStateReset.cpp' | sort)
if ((${#sources[@]} == 0)); then
  echo "static-analysis: no sources found" >&2
  exit 1
fi

case $tool in
clang-tidy)
  tidy=$(command -v clang-tidy-14 || command -v clang-tidy)
  # A compile database of the host build only: the firmware build's entries carry GCC-only
  # options that clang-tidy cannot parse. Configuring takes a second and builds nothing.
  db_dir=$build_dir/static-analysis-db
  cmake -S "$root" -B "$db_dir" -G Ninja -DPTD_FIRMWARE=OFF -DPTD_TESTS=OFF -DPTD_SANITIZE=OFF \
    -DPTD_FUZZ=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >"$build_dir/static-analysis-db.log" 2>&1 || {
    cat "$build_dir/static-analysis-db.log" >&2
    exit 1
  }
  # Two files at a time: the machine has two cores.
  printf '%s\n' "${sources[@]}" |
    xargs -P "$(nproc)" -n 4 "$tidy" -p "$db_dir" --quiet 2>/dev/null >"$build_dir/clang-tidy.log" || true
  if grep -q 'error:\|warning:' "$build_dir/clang-tidy.log"; then
    grep -A3 'error:\|warning:' "$build_dir/clang-tidy.log"
    echo "clang-tidy: $(grep -c 'error:\|warning:' "$build_dir/clang-tidy.log") finding(s)" >&2
    exit 1
  fi
  echo "clang-tidy: ${#sources[@]} files clean"
  ;;
cppcheck)
  # Suppressed for the whole core, with reasons:
  # - cstyleCast: the EDK II style of this code base casts with (TYPE *); no C++ cast is clearer
  #   for protocol and record pointers.
  # - useStlAlgorithm: the core is freestanding and has no standard library.
  # - constParameter: the routines keep the non-const pointer types of the UEFI interfaces.
  # - unusedFunction: the entry points are called by firmware and by the protocol tables.
  cppcheck --quiet --error-exitcode=1 --inline-suppr --std=c++17 --language=c++ \
    --enable=warning,style,performance,portability --inconclusive \
    --suppress=missingIncludeSystem --suppress=unusedFunction --suppress=unmatchedSuppression \
    --suppress=cstyleCast --suppress=useStlAlgorithm --suppress=constParameter \
    -D__x86_64__ -DGNU_EFI_USE_MS_ABI -DMDEPKG_NDEBUG=0 \
    -I Include -I Library/Include -I Driver \
    --template='{file}:{line}: {severity} ({id}): {message}' \
    "${sources[@]}"
  echo "cppcheck: ${#sources[@]} files clean"
  ;;
*)
  echo "static-analysis: unknown tool $tool" >&2
  exit 2
  ;;
esac
