#!/bin/bash
# Secure Boot: the driver image signed with sbsign must load and pass the firmware test in OVMF's
# Secure Boot firmware, and the same image unsigned must be refused there.
#   run-ovmf-secureboot-test.sh TEST_APP.efi DRIVER.efi DRIVER.so WORK_DIR
# Uses Debian's snakeoil test key, whose certificate the snakeoil variable store enrolls in db. The
# test application is signed too (the firmware would not start it otherwise).
set -euo pipefail

app=$1
driver=$2
driver_so=$3
work=$4
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
key=${PTD_SNAKEOIL_KEY:-/usr/share/ovmf/PkKek-1-snakeoil.key}
cert=${PTD_SNAKEOIL_CERT:-/usr/share/ovmf/PkKek-1-snakeoil.pem}
export PTD_OVMF_CODE=${PTD_OVMF_SECURE_CODE:-/usr/share/OVMF/OVMF_CODE_4M.snakeoil.fd}
export PTD_OVMF_VARS=${PTD_OVMF_SECURE_VARS:-/usr/share/OVMF/OVMF_VARS_4M.snakeoil.fd}

for tool in sbsign sbverify openssl; do
  if ! command -v "$tool" >/dev/null; then
    echo "run-ovmf-secureboot-test: $tool not found (Debian packages sbsigntool, openssl)" >&2
    exit 1
  fi
done

rm -rf "$work"
mkdir -p "$work"
# The key is protected with the passphrase "snakeoil"; sbsign cannot be given one.
openssl rsa -in "$key" -passin pass:snakeoil -out "$work/snakeoil.key" 2>/dev/null
sbsign --key "$work/snakeoil.key" --cert "$cert" --output "$work/app.efi" "$app" 2>&1
sbsign --key "$work/snakeoil.key" --cert "$cert" --output "$work/driver.efi" "$driver" 2>&1
sbverify --cert "$cert" "$work/driver.efi"

status=0
echo "== signed driver: must load and pass"
PTD_OVMF_SECURE_BOOT=signed "$here/run-ovmf-test.sh" "$work/app.efi" "$work/driver.efi" "$driver_so" \
  "$work/signed" || status=1
echo "== unsigned driver: must be refused"
PTD_OVMF_SECURE_BOOT=unsigned "$here/run-ovmf-test.sh" "$work/app.efi" "$driver" "$driver_so" \
  "$work/unsigned" || status=1
exit $status
