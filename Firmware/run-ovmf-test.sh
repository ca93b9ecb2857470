#!/bin/bash
# Boots the firmware test application in OVMF under QEMU and judges its console output.
#   run-ovmf-test.sh TEST_APP.efi DRIVER.efi DRIVER.so WORK_DIR
# With PTD_OVMF_SECURE_BOOT=signed or unsigned the VM runs OVMF's Secure Boot firmware (SMM on;
# PTD_OVMF_CODE and PTD_OVMF_VARS name the firmware and its enrolled keys) and the application
# checks that Secure Boot is on and that the driver loads (signed) or is refused (unsigned).
# The VM has a multifunction e1000e at 00:03.0 and 00:03.1; the application stores a ToolMode
# command for 00:03.0. Exits 0 only when the application printed its final "PASS" line; otherwise prints the
# console log and exits 1 (also on a hang: the VM is killed after the timeout).
set -euo pipefail

app=$1
driver=$2
driver_so=$3
work=$4
timeout_seconds=${PTD_OVMF_TIMEOUT:-100}
secure_boot=${PTD_OVMF_SECURE_BOOT:-}
ovmf_code=${PTD_OVMF_CODE:-/usr/share/OVMF/OVMF_CODE_4M.fd}
ovmf_vars=${PTD_OVMF_VARS:-/usr/share/OVMF/OVMF_VARS_4M.fd}

for f in "$app" "$driver" "$driver_so" "$ovmf_code" "$ovmf_vars"; do
  if [[ ! -f $f ]]; then
    echo "run-ovmf-test: missing $f" >&2
    exit 1
  fi
done
qemu=$(command -v qemu-system-x86_64 || true)
if [[ -z $qemu ]]; then
  echo "run-ovmf-test: qemu-system-x86_64 not found (Debian package qemu-system-x86)" >&2
  exit 1
fi

# A fresh disk and NVRAM per run: the firmware writes both.
rm -rf "$work"
mkdir -p "$work/disk/EFI/BOOT"
cp "$app" "$work/disk/EFI/BOOT/BOOTX64.EFI"
cp "$driver" "$work/disk/EFI/BOOT/PlatformToDriver.efi"
cp "$ovmf_vars" "$work/OVMF_VARS.fd"
machine=(-machine q35)
case $secure_boot in
"") ;;
signed | unsigned)
  # The Secure Boot build of OVMF keeps its variable store in SMM.
  machine=(-machine q35,smm=on -global driver=cfi.pflash01,property=secure,value=on)
  printf '%s' "$secure_boot" >"$work/disk/EFI/BOOT/secureboot"
  ;;
*)
  echo "run-ovmf-test: PTD_OVMF_SECURE_BOOT must be signed or unsigned, not '$secure_boot'" >&2
  exit 1
  ;;
esac

# The image offsets of the two protocol members, so that the application can tell that the
# installed instance points at exactly these functions, and of the module state, which it reads
# back at load (the PE image keeps the ELF addresses as offsets from its base): three
# little-endian 64-bit values, Query, Response, mModule.
le64() {
  local value=$1 i
  for ((i = 0; i < 8; i++)); do
    printf "\\$(printf %03o $(((value >> (8 * i)) & 255)))"
  done
}
member_offset() {
  local address
  address=$(nm -C "$driver_so" | sed -nE "s/^([0-9a-f]+) [Tt] $1\\(.*/\\1/p")
  if [[ -z $address ]]; then
    echo "run-ovmf-test: $1 not found in $driver_so" >&2
    exit 1
  fi
  echo $((16#$address))
}
data_offset() {
  local address
  address=$(nm "$driver_so" | sed -nE "s/^([0-9a-f]+) [BbDd] $1\$/\1/p")
  if [[ -z $address ]]; then
    echo "run-ovmf-test: $1 not found in $driver_so" >&2
    exit 1
  fi
  echo $((16#$address))
}
{
  le64 "$(member_offset PlatformToDriverQuery)"
  le64 "$(member_offset PlatformToDriverResponse)"
  le64 "$(data_offset mModule)"
} >"$work/disk/EFI/BOOT/members.bin"
console_log=$work/console.log
debug_log=$work/debug.log
: >"$console_log"

# COM1 carries the firmware console; OVMF mirrors it on COM2 (I/O 0x2F8), where the driver's debug
# output goes as well.
status=0
timeout --kill-after=5 "$timeout_seconds" "$qemu" \
  "${machine[@]}" -m 256 -nographic -no-reboot -net none \
  -drive if=pflash,format=raw,readonly=on,file="$ovmf_code" \
  -drive if=pflash,format=raw,file="$work/OVMF_VARS.fd" \
  -drive format=raw,file=fat:rw:"$work/disk" \
  -device e1000e,addr=0x3.0x0,multifunction=on \
  -device e1000e,addr=0x3.0x1 \
  -serial file:"$console_log" -serial file:"$debug_log" \
  -monitor none -display none </dev/null >"$work/qemu.out" 2>&1 || status=$?

# The console is a terminal stream: drop carriage returns and escape sequences before matching.
clean=$(sed -e 's/\x1b\[[0-9;?=]*[A-Za-z]//g' -e 's/\r//g' "$console_log")
if [[ $status -eq 0 ]] && grep -qx 'PASS' <<<"$clean"; then
  grep -E '^(PlatformToDriver firmware test|Secure Boot|Load state|ToolMode|Sweep|[0-9]+ checks)' <<<"$clean" || true
  echo "PASS"
  exit 0
fi

if [[ $status -eq 124 || $status -eq 137 ]]; then
  echo "run-ovmf-test: QEMU did not finish within ${timeout_seconds}s (hang?)"
elif [[ $status -ne 0 ]]; then
  echo "run-ovmf-test: QEMU exited with status $status"
  cat "$work/qemu.out"
fi
echo "----- console (COM1) -----"
printf '%s\n' "$clean"
if [[ -s $debug_log ]]; then
  echo "----- COM2 (console mirror and the driver's debug output) -----"
  sed -e 's/\r//g' "$debug_log"
fi
if ! grep -q 'checks, ' <<<"$clean"; then
  echo "run-ovmf-test: the test application did not report (no PASS or FAIL line)"
fi
exit 1
