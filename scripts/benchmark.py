#!/usr/bin/env python3
"""Footprint and speed of the driver: measured, printed as a table, written as JSON, checked.

    scripts/benchmark.py BUILD_DIR [--scenario FILE] [--json OUT] [--check]
    scripts/benchmark.py REPORT.json --bound NAME

BUILD_DIR is a build with the firmware image (PTD_FIRMWARE=ON) and the host tools (bench-harness).
Figures:
  image      PlatformToDriver.efi: file size, its LZMA-compressed size (how a firmware volume stores
             it: xz --format=lzma -9), each PE section's size in memory and in the file (.bss
             has no bytes in the file), and the largest symbols of the ELF
  static     .data/.bss/.rodata of the firmware driver objects
  stack      deepest Query/Response stack use, from scripts/stack-depth.sh
  speed      instructions of the driver's own code (Driver/, Library/) per Query+Response pair,
             counted with callgrind on the host build over the scenario; a Query that ends a
             controller's run (no Response follows) is a pair of its own
  pool       pool allocations made while ManagedMode served a pair, and blocks left allocated
All figures are also given per adapter family. --check compares them with BOUNDS below and exits
1 when one is passed.
"""
import argparse
import collections
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
# The demo fleet gives the typical figures (mean, total); the benchmark fleet adds the worst case,
# a PF-information reply of nearly 4 KiB searched for every key of its table.
DEFAULT_SCENARIOS = [os.path.join(ROOT, "Host", "Simulator", "DemoFleet.json"),
                     os.path.join(ROOT, "scripts", "benchmark", "BenchmarkFleet.json")]

# Bounds held by the bench tests (see README.md, "Footprint and speed", for why each is where it is).
BOUNDS = {
    # 48 KiB in the firmware volume's terms: the image file and its LZMA-compressed form.
    "imageBytes": 48 * 1024,
    "lzmaBytes": 20000,
    "meanInstructionsPerPair": 3500,
    # No pair may cost more than the worst one did before the footprint work (39,810).
    "worstPairInstructions": 39810,
    "stackBytes": 2048,
    # Only the Emulex0720 layout probe may allocate in ManagedMode: one NALO_PORT_TABLE, freed
    # before the pair ends.
    "managedAllocationsOutsideProbe": 0,
    "managedBlocksLeftAllocated": 0,
}

# Vendor:device to family, for the per-family figures (the driver's own identification table).
FAMILIES = [
    ("8086", None, "Intel"),
    ("1077", "2261", "QLogic2261"),
    ("1077", "2031", "QLogic2031"),
    ("1077", "2532", "QLogic2031"),
    ("1077", "8070", "QLogic8070"),
    ("1077", "1644", "QLogic8070"),
    ("1077", "1656", "QLogic8070"),
    ("10DF", "0720", "Emulex0720"),
    ("10DF", "0722", "Emulex0720"),
    ("10DF", "0724", "Emulex0720"),
    ("10DF", "E200", "EmulexE200"),
    ("10DF", "E300", "EmulexE200"),
    ("19A2", "0700", "Emulex0700"),
    ("19A2", "0710", "Emulex0710"),
    ("15B3", "1013", "Mellanox1013"),
    ("15B3", "1015", "Mellanox1013"),
    ("15B3", "1017", "Mellanox1017"),
    ("15B3", "101B", "Mellanox1017"),
]
PROBE_FAMILY = "Emulex0720"
PROBE_SIZE = None  # filled from the ELF: sizeof(NALO_PORT_TABLE) is not known here; see below


def family_of(pci):
    vendor, device = pci.split(":")
    for v, d, name in FAMILIES:
        if v == vendor and (d is None or d == device):
            return name
    return "other " + pci


def run(*args, **kwargs):
    return subprocess.run(args, check=True, capture_output=True, text=True, **kwargs).stdout


# ---- Footprint ---------------------------------------------------------------------------------

def pe_sections(efi):
    """Name -> (VirtualSize, SizeOfRawData) from the PE section table."""
    with open(efi, "rb") as handle:
        data = handle.read()
    pe = int.from_bytes(data[0x3C:0x40], "little")
    if data[pe:pe + 4] != b"PE\0\0":
        sys.exit("benchmark: " + efi + " is not a PE image")
    count = int.from_bytes(data[pe + 6:pe + 8], "little")
    optional_size = int.from_bytes(data[pe + 20:pe + 22], "little")
    table = pe + 24 + optional_size
    sections = {}
    for index in range(count):
        entry = data[table + 40 * index:table + 40 * (index + 1)]
        name = entry[:8].rstrip(b"\0").decode()
        sections[name] = (int.from_bytes(entry[8:12], "little"), int.from_bytes(entry[16:20], "little"))
    return sections


def lzma_size(path):
    with open(path, "rb") as handle:
        return len(subprocess.run(["xz", "--format=lzma", "-9", "-c"], stdin=handle, check=True,
                                  capture_output=True).stdout)


def measure_image(firmware_dir):
    efi = os.path.join(firmware_dir, "PlatformToDriver.efi")
    so = os.path.join(firmware_dir, "PlatformToDriver.so")
    table = pe_sections(efi)
    # Sizes in memory; the file holds SizeOfRawData of each (none of .bss).
    sections = {name: virtual for name, (virtual, _) in table.items()}
    raw = {name: raw_size for name, (_, raw_size) in table.items()}
    symbols = []
    for line in run("nm", "-S", "-C", "--size-sort", "-r", "--defined-only", so).splitlines()[:8]:
        parts = line.split(None, 3)
        if len(parts) == 4:
            symbols.append({"name": parts[3], "kind": parts[2], "bytes": int(parts[1], 16)})
    return {"imageBytes": os.path.getsize(efi), "lzmaBytes": lzma_size(efi), "sections": sections,
            "sectionFileBytes": raw, "bssBytes": sections.get(".bss", 0), "largestSymbols": symbols}


def measure_static(firmware_dir):
    """.data/.bss/.rodata that the driver's own code (not crt0 or gnu-efi's libraries) brings into
    the image, from the link map: the driver is compiled at the link, so its objects hold none."""
    link_map = os.path.join(firmware_dir, "PlatformToDriver.map")
    if not os.path.exists(link_map):
        sys.exit("benchmark: no link map " + link_map)
    totals = collections.Counter()
    with open(link_map) as handle:
        lines = handle.read().split("Linker script and memory map", 1)[-1].splitlines()
    pending = None
    for line in lines:
        # An input section: " .name  0xADDRESS  0xSIZE  file", wrapped after a long name.
        match = re.match(r"^ (\.(?:s?data|rodata|s?bss)[^\s]*)(?:\s+0x[0-9a-f]+\s+0x([0-9a-f]+)\s+(\S.*))?$", line)
        if match:
            pending = match[1] if match[2] is None else None
            if match[2] is not None and "/usr/lib/" not in match[3]:
                totals[match[1].split(".")[1].lstrip("s")] += int(match[2], 16)
            continue
        wrapped = re.match(r"^\s+0x[0-9a-f]+\s+0x([0-9a-f]+)\s+(\S.*)$", line)
        if pending and wrapped and "/usr/lib/" not in wrapped[2]:
            totals[pending.split(".")[1].lstrip("s")] += int(wrapped[1], 16)
        pending = None
    return {"dataBytes": totals["data"], "bssBytes": totals["bss"], "rodataBytes": totals["rodata"]}


def measure_stack(build_dir):
    script = os.path.join(ROOT, "scripts", "stack-depth.sh")
    result = subprocess.run([script, os.path.join(build_dir, "Firmware", "PlatformToDriver.so"),
                             os.path.join(build_dir, "Firmware"), str(BOUNDS["stackBytes"])],
                            capture_output=True, text=True)
    match = re.search(r"deepest Query/Response path: (\d+) bytes \((\w+)\)", result.stdout)
    if not match:
        sys.exit("benchmark: stack-depth.sh gave no figure:\n" + result.stdout + result.stderr)
    return {"stackBytes": int(match[1]), "deepestRoot": match[2]}


# ---- Speed and pool ----------------------------------------------------------------------------

def driver_file(path):
    """Our driver's code as it is linked into the firmware image: Driver/ and Library/, without the
    host stand-ins."""
    rel = os.path.relpath(path, ROOT)
    if rel.startswith(".."):
        return False
    if not (rel.startswith("Driver/") or rel.startswith("Library/")):
        return False
    return "Host" not in rel


def driver_instructions(dump):
    """Self cost (Ir) of the functions defined in driver files, from one callgrind dump."""
    names = {}
    current_file = None
    counting = False
    skip_next_cost = False
    total = 0
    with open(dump) as handle:
        for line in handle:
            if line.startswith("fl="):
                match = re.match(r"fl=\((\d+)\)(?: (.*))?$", line.rstrip("\n"))
                if match[2]:
                    names[match[1]] = match[2]
                current_file = names.get(match[1])
            elif line.startswith(("fi=", "fe=")):
                match = re.match(r"f[ie]=\((\d+)\)(?: (.*))?$", line.rstrip("\n"))
                if match[2]:
                    names[match[1]] = match[2]
            elif line.startswith("fn="):
                counting = current_file is not None and driver_file(current_file)
            elif line.startswith("calls="):
                skip_next_cost = True
            elif line[:1].isdigit() or line[:1] in "+-*":
                if skip_next_cost:
                    skip_next_cost = False
                    continue
                if counting:
                    parts = line.split()
                    if len(parts) >= 2:
                        total += int(parts[1])
            elif line.startswith(("cfl=", "cfi=", "cfn=", "cob=", "ob=")):
                match = re.match(r"c?f[li]=\((\d+)\) (.*)$", line.rstrip("\n"))
                if match:
                    names[match[1]] = match[2]
    return total


def measure_speed(build_dir, scenario):
    harness = os.path.join(build_dir, "Host", "Benchmark", "bench-harness")
    if not os.path.exists(harness):
        sys.exit("benchmark: " + harness + " is missing (build the host tools)")
    work = tempfile.mkdtemp(prefix="ptd-bench-")
    try:
        pairs_file = os.path.join(work, "pairs.json")
        out = os.path.join(work, "callgrind.out")
        result = subprocess.run(["valgrind", "--tool=callgrind", "--collect-atstart=no", "--compress-strings=yes",
                                 "--callgrind-out-file=" + out, harness, scenario, pairs_file],
                                capture_output=True, text=True)
        if result.returncode != 0:
            sys.exit("benchmark: the scenario did not run cleanly under callgrind:\n" + result.stderr[-3000:])
        with open(pairs_file) as handle:
            pairs = json.load(handle)
        for dump in glob.glob(out + ".*"):
            with open(dump) as handle:
                head = handle.read(2048)
            match = re.search(r"Trigger: Client Request: pair (\d+)", head)
            if match:
                pairs[int(match[1])]["instructions"] = driver_instructions(dump)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    missing = [i for i, p in enumerate(pairs) if "instructions" not in p]
    if missing:
        sys.exit(f"benchmark: no callgrind dump for pairs {missing[:5]}")
    return pairs


def summarise(pairs):
    def figures(group):
        answered = [p["instructions"] for p in group if p["responded"]]
        managed = [p for p in group if p["managed"]]
        outside = [size for p in managed for size in p["allocations"]
                   if not (family_of(p["pci"]) == PROBE_FAMILY and size == PROBE_SIZE)]
        worst = max(group, key=lambda p: p["instructions"])
        return {
            "pairs": len(answered),
            "endQueries": len(group) - len(answered),
            "meanInstructionsPerPair": round(sum(answered) / len(answered)) if answered else 0,
            "worstPairInstructions": worst["instructions"],
            "worstPair": f'{family_of(worst["pci"])} {worst["pci"]} Instance {worst["instance"]}',
            "totalInstructions": sum(p["instructions"] for p in group),
            "managedAllocations": sum(len(p["allocations"]) for p in managed),
            "managedAllocationsOutsideProbe": len(outside),
            "managedBlocksLeftAllocated": sum(p["leftLive"] for p in managed),
        }

    by_family = collections.defaultdict(list)
    for p in pairs:
        by_family[family_of(p["pci"])].append(p)
    return figures(pairs), {name: figures(group) for name, group in sorted(by_family.items())}


def probe_size(firmware_dir):
    """sizeof(NALO_PORT_TABLE), the size of the Emulex0720 probe buffer, from the ELF's debug-free
    layout: read from the host headers through the compiler instead."""
    source = '#include "Protocol/NaloConfiguration.h"\nunsigned long long S = sizeof(NALO_PORT_TABLE);\n'
    with tempfile.TemporaryDirectory() as work:
        path = os.path.join(work, "probe.cpp")
        with open(path, "w") as handle:
            handle.write('extern "C++" {\n#include "Uefi.h"\n}\n' + source)
        asm = run("c++", "-std=c++17", "-S", "-o", "-", "-DGNU_EFI_USE_MS_ABI", "-I" + os.path.join(ROOT, "Include"),
                  "-isystem", "/usr/include/efi", "-isystem", "/usr/include/efi/x86_64", path)
    match = re.search(r"^S:\s*\n\s*\.quad\s+(\d+)", asm, re.M)
    if not match:
        sys.exit("benchmark: cannot find sizeof(NALO_PORT_TABLE)")
    return int(match[1])


def report_figures(report):
    return {"imageBytes": report["image"]["imageBytes"], "lzmaBytes": report["image"]["lzmaBytes"],
            "stackBytes": report["stack"]["stackBytes"],
            "meanInstructionsPerPair": report["speed"]["meanInstructionsPerPair"],
            "worstPairInstructions": report["speed"]["worstPairInstructions"],
            "managedAllocationsOutsideProbe": report["speed"]["managedAllocationsOutsideProbe"],
            "managedBlocksLeftAllocated": report["speed"]["managedBlocksLeftAllocated"]}


def check_bound(report_file, name):
    with open(report_file) as handle:
        report = json.load(handle)
    value = report_figures(report)[name]
    bound = BOUNDS[name]
    verdict = "holds" if value <= bound else "EXCEEDED"
    print(f"{name}: {value} (bound {bound}) {verdict}")
    if name == "worstPairInstructions":
        print(f"worst pair: {report['speed']['worstPair']}")
    return 0 if value <= bound else 1


# ---- Report ------------------------------------------------------------------------------------

def main():
    global PROBE_SIZE
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build_dir")
    parser.add_argument("--scenario", action="append",
                        help="scenario file (repeatable); the first gives the mean (default: the demo fleet and "
                             "scripts/benchmark/BenchmarkFleet.json)")
    parser.add_argument("--json", dest="json_out")
    parser.add_argument("--check", action="store_true", help="exit 1 when a figure passes its bound")
    parser.add_argument("--bound", metavar="NAME", help="with build_dir naming a report JSON: check one bound")
    args = parser.parse_args()
    if args.bound:
        sys.exit(check_bound(args.build_dir, args.bound))
    build_dir = os.path.abspath(args.build_dir)
    firmware_dir = os.path.join(build_dir, "Firmware")
    PROBE_SIZE = probe_size(firmware_dir)

    image = measure_image(firmware_dir)
    static = measure_static(firmware_dir)
    stack = measure_stack(build_dir)
    scenarios = [os.path.abspath(path) for path in (args.scenario or DEFAULT_SCENARIOS)]
    runs = {}
    all_pairs = []
    for scenario in scenarios:
        pairs = measure_speed(build_dir, scenario)
        overall, families = summarise(pairs)
        runs[os.path.relpath(scenario, ROOT)] = {"speed": overall, "families": families}
        all_pairs += pairs
    combined, _ = summarise(all_pairs)
    first = runs[os.path.relpath(scenarios[0], ROOT)]["speed"]
    # Mean and total of the first scenario; worst pair and pool figures over all of them.
    speed = dict(combined, meanInstructionsPerPair=first["meanInstructionsPerPair"],
                 totalInstructions=first["totalInstructions"], pairs=first["pairs"], endQueries=first["endQueries"])

    report = {"scenarios": list(runs), "image": image, "static": static, "stack": stack, "speed": speed,
              "runs": runs, "bounds": BOUNDS}
    if args.json_out:
        with open(args.json_out, "w") as handle:
            json.dump(report, handle, indent=1)

    print(f"Image PlatformToDriver.efi: {image['imageBytes']} bytes (bound {BOUNDS['imageBytes']}), "
          f"LZMA-compressed {image['lzmaBytes']} bytes (bound {BOUNDS['lzmaBytes']})")
    print("  sections (in memory / in the file): " +
          ", ".join(f"{name} {size}/{image['sectionFileBytes'][name]}" for name, size in image["sections"].items()
                    if name != ".bss"))
    print(f"  .bss (zero-filled by the loader, not in the file): {image['bssBytes']}")
    print("  largest symbols: " + ", ".join(f"{s['name']} {s['bytes']}" for s in image["largestSymbols"][:5]))
    print(f"Static data of the driver objects: .data {static['dataBytes']}, .bss {static['bssBytes']}, "
          f".rodata {static['rodataBytes']} bytes")
    print(f"Deepest stack: {stack['stackBytes']} bytes ({stack['deepestRoot']}; bound {BOUNDS['stackBytes']})")
    header = (f"{'family':<14}{'pairs':>6}{'ends':>5}{'mean/pair':>11}{'worst pair':>12}{'total':>11}"
              f"{'mgd allocs':>11}{'unfreed':>8}")
    for name, run in runs.items():
        print()
        print(f"Scenario {name}")
        print(header)
        print("-" * len(header))
        for family, f in list(run["families"].items()) + [("all", run["speed"])]:
            print(f"{family:<14}{f['pairs']:>6}{f['endQueries']:>5}{f['meanInstructionsPerPair']:>11,}"
                  f"{f['worstPairInstructions']:>12,}{f['totalInstructions']:>11,}{f['managedAllocations']:>11}"
                  f"{f['managedBlocksLeftAllocated']:>8}")
        print(f"worst pair: {run['speed']['worstPair']}")
    print()
    print(f"Bounds: mean {speed['meanInstructionsPerPair']:,} (first scenario; bound "
          f"{BOUNDS['meanInstructionsPerPair']:,}), worst pair {speed['worstPairInstructions']:,} "
          f"({speed['worstPair']}; bound {BOUNDS['worstPairInstructions']:,}), ManagedMode allocations "
          f"outside the probe {speed['managedAllocationsOutsideProbe']}, left allocated "
          f"{speed['managedBlocksLeftAllocated']}")

    if args.check:
        figures = report_figures(report)
        failed = [f"{name} {value} > {BOUNDS[name]}" for name, value in figures.items() if value > BOUNDS[name]]
        for failure in failed:
            print("benchmark: bound exceeded: " + failure, file=sys.stderr)
        sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
