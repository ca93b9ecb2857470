#!/bin/bash
# Plays the scenarios on the simulator and, in ONE boot of OVMF under QEMU, on the firmware platform
# stand-in, and compares the two transcripts (see compare-transcripts.py for what is compared and
# normalised).
#   run-ovmf-scenarios.sh STANDIN.efi DRIVER.efi PACK_TOOL SIMULATE WORK_DIR SCENARIO.json...
# The VM has e1000e functions at 00:03.0, 00:03.1, 00:04.0 and 00:04.1 without option ROMs (so that
# no network driver of the firmware binds them); controller k of a scenario plays on the k-th.
set -euo pipefail

app=$1 driver=$2 pack_tool=$3 simulate=$4 work=$5
shift 5
here=$(cd "$(dirname "$0")" && pwd)
timeout_seconds=${PTD_OVMF_TIMEOUT:-150}
ovmf_code=${PTD_OVMF_CODE:-/usr/share/OVMF/OVMF_CODE_4M.fd}
ovmf_vars=${PTD_OVMF_VARS:-/usr/share/OVMF/OVMF_VARS_4M.fd}
qemu=$(command -v qemu-system-x86_64 || true)
if [[ -z $qemu ]]; then
  echo "run-ovmf-scenarios: qemu-system-x86_64 not found (Debian package qemu-system-x86)" >&2
  exit 1
fi

rm -rf "$work"
mkdir -p "$work/disk/EFI/BOOT" "$work/sim"
cp "$app" "$work/disk/EFI/BOOT/BOOTX64.EFI"
cp "$driver" "$work/disk/EFI/BOOT/PlatformToDriver.efi"
cp "$ovmf_vars" "$work/OVMF_VARS.fd"
"$pack_tool" "$work/disk/EFI/BOOT/scenarios.pack" "$@"

sims=()
for scenario in "$@"; do
  out=$work/sim/$(basename "$scenario" .json).json
  "$simulate" --json "$scenario" >"$out"
  sims+=("$out")
done

console_log=$work/console.log
start=$(date +%s.%N)
status=0
timeout --kill-after=5 "$timeout_seconds" "$qemu" \
  -machine q35 -m 256 -nographic -no-reboot -net none \
  -drive if=pflash,format=raw,readonly=on,file="$ovmf_code" \
  -drive if=pflash,format=raw,file="$work/OVMF_VARS.fd" \
  -drive format=raw,file=fat:rw:"$work/disk" \
  -device e1000e,addr=0x3.0x0,multifunction=on,romfile= \
  -device e1000e,addr=0x3.0x1,romfile= \
  -device e1000e,addr=0x4.0x0,multifunction=on,romfile= \
  -device e1000e,addr=0x4.0x1,romfile= \
  -serial file:"$console_log" -serial file:"$work/com2.log" \
  -monitor none -display none </dev/null >"$work/qemu.out" 2>&1 || status=$?
end=$(date +%s.%N)
printf 'VM run: %.1f s for %d scenarios\n' "$(echo "$end - $start" | bc)" "$#"

if [[ $status -eq 124 || $status -eq 137 ]]; then
  echo "run-ovmf-scenarios: QEMU did not finish within ${timeout_seconds}s (hang?)"
elif [[ $status -ne 0 ]]; then
  echo "run-ovmf-scenarios: QEMU exited with status $status"
  cat "$work/qemu.out"
fi
# The transcript lines; the console around them carries terminal escapes and carriage returns.
sed -e 's/\r//g' "$console_log" | sed -n 's/^.*PTDT //p' >"$work/firmware.lines"
if ! "$here/compare-transcripts.py" "$work/firmware.lines" "${sims[@]}"; then
  echo "(transcripts: $work/firmware.lines and $work/sim/; console: $console_log)"
  exit 1
fi
[[ $status -eq 0 ]]
