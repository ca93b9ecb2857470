#!/bin/bash
# Feeds check-image.sh images with the faults it exists to catch and expects each to be refused
# with its reason, and a clean driver to be accepted.
#   check-image-test.sh CHECK_IMAGE_SCRIPT WORK_DIR
set -euo pipefail

check=$1
work=$2
lds=$(cd "$(dirname "$check")" && pwd)/PlatformToDriver.lds
rm -rf "$work"
mkdir -p "$work"
cd "$work"

flags=(-ffreestanding -fno-exceptions -fno-rtti -fno-stack-protector -fpic -fshort-wchar -mno-red-zone
  -maccumulate-outgoing-args -fno-threadsafe-statics -O2 -DEFI_FUNCTION_WRAPPER -DGNU_EFI_USE_MS_ABI
  -I/usr/include/efi -I/usr/include/efi/x86_64)
failures=0

# build NAME PE_TARGET SOURCE: compiles and links like the firmware build does.
build() {
  local name=$1 target=$2 source=$3
  printf '%s\n' "$source" >"$name.cpp"
  g++ "${flags[@]}" -c "$name.cpp" -o "$name.o"
  ld -nostdlib -znocombreloc -T "$lds" -shared -Bsymbolic -L/usr/lib \
    /usr/lib/crt0-efi-x86_64.o "$name.o" -o "$name.so" -lefi -lgnuefi
  objcopy -j .text -j .sdata -j .data -j .dynamic -j .dynsym -j .rel -j .rela -j .rel.* -j .rela.* \
    -j .reloc -j .bss --target "$target" "$name.so" "$name.efi"
}

# expect NAME KIND OUTCOME PATTERN: OUTCOME is accept or refuse; PATTERN must appear in the output.
expect() {
  local name=$1 kind=$2 outcome=$3 pattern=$4 output status=0
  output=$("$check" "$kind" "$name.so" "$name.efi" 2>&1) || status=$?
  if [[ $outcome == accept && $status -ne 0 ]] || [[ $outcome == refuse && $status -eq 0 ]]; then
    echo "FAIL: $name: expected the check to $outcome it, got status $status: $output"
    failures=$((failures + 1))
  elif [[ $output != *"$pattern"* ]]; then
    echo "FAIL: $name: output lacks '$pattern': $output"
    failures=$((failures + 1))
  elif [[ $outcome == refuse && -e $name.efi ]]; then
    echo "FAIL: $name: refused image was left behind"
    failures=$((failures + 1))
  else
    echo "ok: $name ($outcome)"
  fi
}

entry='extern "C" {
#include <efi.h>
}
extern "C" EFI_STATUS efi_main(EFI_HANDLE, EFI_SYSTEM_TABLE *) { return EFI_SUCCESS; }'

build clean efi-bsdrv-x86_64 "$entry"
expect clean driver accept "clean.efi: "

build as_application efi-app-x86_64 "$entry"
expect as_application driver refuse "expected 'EFI boot service driver'"

build global_constructor efi-bsdrv-x86_64 "$entry
int Seed();
struct Counter { int Value; Counter() : Value(Seed()) {} };
Counter gCounter;
int Seed() { return 7; }"
expect global_constructor driver refuse "non-empty .init_array"

build libc_call efi-bsdrv-x86_64 "$entry
extern \"C\" unsigned long strlen(const char *);
unsigned long Length(const char *S) { return strlen(S); }"
expect libc_call driver refuse "strlen"

build state_zero efi-bsdrv-x86_64 "$entry
struct State { unsigned char Plan; unsigned long Table[512]; };
State mModule;
extern \"C\" State *Reach() { return &mModule; }"
expect state_zero driver accept "state_zero.efi: "

build state_initialised efi-bsdrv-x86_64 "$entry
struct State { unsigned char Plan = 255; unsigned long Table[512] = {}; };
State mModule;
extern \"C\" State *Reach() { return &mModule; }"
expect state_initialised driver refuse "mModule is initialised data"

if ((failures)); then
  echo "FAIL ($failures cases failed)"
  exit 1
fi
echo "PASS"
