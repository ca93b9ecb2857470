#!/bin/bash
# Checks a linked gnu-efi image before it is accepted as a build output:
#   check-image.sh KIND ELF_SO PE_IMAGE
# KIND is "driver" or "application". Fails (and removes the PE image, so the next build retries)
# when the PE subsystem is wrong, when the ELF carries constructor or destructor tables that
# nothing would run, when a symbol is left for a C or C++ runtime that firmware does not have, or
# when the driver's module state mModule is initialised data: it must stay in .bss, which the
# loader zero-fills and which takes no room in the image file (one non-zero member initialiser
# would put all of it back into the file).
set -euo pipefail

kind=$1
so=$2
efi=$3

fail() {
  echo "$efi: $*" >&2
  rm -f "$efi"
  exit 1
}

case $kind in
driver) expected="EFI boot service driver" ;;
application) expected="EFI application" ;;
*) fail "unknown image kind '$kind'" ;;
esac

description=$(file -b "$efi")
[[ $description == *"$expected"* ]] || fail "file reports '$description', expected '$expected'"

# Any of these sections with contents means a static object needs code run at load or exit;
# crt0 runs none of it and objcopy drops it, so such an image would run with unconstructed data.
while read -r name size; do
  case $name in
  .init_array | .ctors | .fini_array | .dtors | .preinit_array)
    if ((16#$size != 0)); then
      fail "$so has a non-empty $name section ($((16#$size)) bytes): a global object needs a constructor"
    fi
    ;;
  esac
done < <(readelf -SW "$so" | sed -nE 's/^ *\[ *[0-9]+\] +//p' | awk '{ print $1, $5 }')

undefined=$(nm -u "$so" || true)
[[ -z $undefined ]] || fail "$so leaves symbols undefined (no C or C++ runtime exists in firmware):
$undefined"

if [[ $kind == driver ]]; then
  state=$(nm "$so" | awk '$3 == "mModule" { print $2 }')
  if [[ -n $state && $state != [bB] ]]; then
    fail "mModule is initialised data (nm type $state), expected .bss: give every member a zero load value"
  fi
fi

echo "$(basename "$efi"): $(stat -c %s "$efi") bytes"
