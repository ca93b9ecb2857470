#!/usr/bin/env python3
"""Checks the EDK II module description of the driver against the tree.

- Every file that Driver/PlatformToDriver.inf lists under [Sources] exists, and no entry is a
  folder (an INF names files only).
- Every source and header under Driver/ that the firmware image builds from is listed; the
  host-only files (named in HOST_ONLY, excluded from the image by CMakeLists.txt) are not.
- Every protocol and GUID of PlatformToDriverPkg.dec has the value of the header that the code
  compiles with, and every protocol, GUID and library class that the INF names and that is not
  one of EDK II's own is declared in that .dec.

Usage: scripts/check-inf.py [REPOSITORY_ROOT]
"""
import re
import sys
from pathlib import Path

HOST_ONLY = {"ModuleStateReset.cpp"}
# Names that EDK II's own packages declare (MdePkg, MdeModulePkg).
EDK2_NAMES = {
    "UefiDriverEntryPoint", "UefiBootServicesTableLib", "UefiRuntimeServicesTableLib", "BaseLib",
    "BaseMemoryLib", "PrintLib", "MemoryAllocationLib", "PcdLib", "PciExpressLib", "DebugLib",
    "SerialPortLib", "ReportStatusCodeLib", "gEfiPlatformToDriverConfigurationProtocolGuid",
    "gEfiPciIoProtocolGuid", "gEfiStatusCodeRuntimeProtocolGuid",
    "gEfiPlatformToDriverConfigurationClpGuid", "gEfiStatusCodeSpecificDataGuid",
}


def sections(text):
    """Maps each [Section] of an INF or DEC file to its entries, comments stripped."""
    result, current = {}, None
    for raw in text.splitlines():
        line = raw.split("#", 1)[0].strip()
        if not line:
            continue
        match = re.fullmatch(r"\[([^\]]+)\]", line)
        if match:
            current = match.group(1).split(".", 1)[0]
            result.setdefault(current, [])
        elif current is not None:
            result[current].append(line)
    return result


def guid_words(text):
    return [int(word, 16) for word in re.findall(r"0x[0-9A-Fa-f]+", text)]


def header_guids(root):
    """GUID macro values of the headers: ADAPTER_SETTINGS_PROTOCOL_GUID -> [11 numbers]."""
    found = {}
    for header in list((root / "Include").rglob("*.h")):
        text = header.read_text()
        for match in re.finditer(r"#define\s+(\w+_GUID)\s*\\\s*\n((?:.*\\\s*\n)*.*)", text):
            found[match.group(1)] = guid_words(match.group(2))
    for source in (root / "Driver").rglob("*.cpp"):
        for match in re.finditer(r"EFI_GUID\s+(g\w+)\s*=\s*\{([^;]*)\};", source.read_text()):
            found[match.group(1)] = guid_words(match.group(2))
    return found


def macro_name(dec_name):
    """gAdapterSettingsProtocolGuid -> ADAPTER_SETTINGS_PROTOCOL_GUID."""
    body = dec_name[1:]
    return re.sub(r"(?<!^)(?=[A-Z])", "_", body).upper()


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent)
    driver = root / "Driver"
    inf = sections((driver / "PlatformToDriver.inf").read_text())
    dec = sections((root / "PlatformToDriverPkg.dec").read_text())
    errors = []

    listed = set()
    for entry in inf.get("Sources", []):
        name = entry.split("|", 1)[0].strip()
        path = driver / name
        if name.endswith("/") or path.is_dir():
            errors.append(f"[Sources] names a folder: {name}")
        elif not path.is_file():
            errors.append(f"[Sources] names a file that does not exist: {name}")
        listed.add(name)
    for path in sorted(driver.rglob("*")):
        if path.suffix not in (".cpp", ".h"):
            continue
        name = path.relative_to(driver).as_posix()
        if path.name in HOST_ONLY:
            if name in listed:
                errors.append(f"[Sources] lists the host-only file {name}")
        elif name not in listed:
            errors.append(f"driver source not listed under [Sources]: {name}")

    headers = header_guids(root)
    declared = set()
    for section in ("Guids", "Protocols"):
        for entry in dec.get(section, []):
            name, _, value = entry.partition("=")
            name = name.strip()
            declared.add(name)
            expected = headers.get(name) or headers.get(macro_name(name))
            if expected is None:
                errors.append(f"{name} of the .dec has no GUID in the headers or sources")
            elif guid_words(value) != expected:
                errors.append(f"{name}: the .dec says {value.strip()}, the code compiles with {expected}")
    for entry in dec.get("LibraryClasses", []):
        name, _, header = entry.partition("|")
        declared.add(name.strip())
        if not (root / header.strip()).is_file():
            errors.append(f"library class {name.strip()}: header {header.strip()} does not exist")

    for section in ("LibraryClasses", "Protocols", "Guids"):
        for entry in inf.get(section, []):
            name = entry.split()[0]
            if name not in EDK2_NAMES and name not in declared:
                errors.append(f"[{section}] of the INF names {name}, which no package declares")
    if not any("PlatformToDriverPkg.dec" in entry for entry in inf.get("Packages", [])):
        errors.append("[Packages] does not name PlatformToDriverPkg.dec")

    for error in errors:
        print(f"check-inf: {error}", file=sys.stderr)
    if errors:
        return 1
    print(f"check-inf: {len(listed)} sources listed, {len(declared)} package names checked")
    return 0


if __name__ == "__main__":
    sys.exit(main())
