#!/usr/bin/env python3
"""Deepest stack use of any Query or Response path of the firmware driver image.

    scripts/stack-depth.py IMAGE.so SU_DIR LIMIT

Reads the frame size of every function from the -fstack-usage files (*.su) below SU_DIR (for a
link-time optimised image, the one file of its link-time unit), builds
the call graph from `objdump -d` of IMAGE.so (direct calls and jumps to other functions), and
resolves indirect calls through function tables: a function that makes an indirect call and
refers to a table of function pointers (a data object whose relocations point at functions) may
call every function of that table. The roots are the functions in the protocol instance's table
(Query and Response). Indirect calls that refer to no such table are calls into firmware
services, whose stack is the firmware's own. Each call adds 8 bytes for the return address.

Fails when the deepest path exceeds LIMIT bytes, when the graph has a cycle (there is no
recursion in the driver), or when a reachable function of the driver has no .su entry or a
frame of dynamic size.
"""
import collections
import os
import re
import subprocess
import sys

PROTOCOL_TABLE = "mPlatformToDriverConfiguration"
RETURN_ADDRESS = 8


def run(*args):
    return subprocess.run(args, check=True, capture_output=True, text=True).stdout


def base_name(signature):
    """The bare function name of a demangled name or a .su signature."""
    text = re.sub(r"\s*\[clone [^]]*\]", "", signature)
    text = re.sub(r"\s*\[with .*\]$", "", text)
    # Drop the argument list: the last top-level parenthesised group.
    depth = 0
    for index in range(len(text) - 1, -1, -1):
        if text[index] == ")":
            depth += 1
        elif text[index] == "(":
            depth -= 1
            if depth == 0:
                text = text[:index]
                break
    # Drop template arguments.
    while True:
        stripped = re.sub(r"<[^<>]*>", "", text)
        if stripped == text:
            break
        text = stripped
    name = text.split()[-1] if text.split() else text
    # GCC's clones carry suffixes in the .su files of a link-time compilation
    # ("ReportStatusCodeEx.constprop.isra"); no C++ name has a dot.
    return name.split("::")[-1].lstrip("*&").split(".")[0]


def read_stack_usage(su_dir, image):
    usage = {}
    dynamic = set()
    paths = [os.path.join(folder, file) for folder, _, files in os.walk(su_dir) for file in files
             if file.endswith(".su")]
    # A link-time optimised image has its frames in the files of its own link-time units
    # (IMAGE.so.ltrans0.ltrans.su); the other .su files below SU_DIR belong to other images, and
    # the debug image has the same functions with other frames.
    own = [path for path in paths if os.path.basename(path).startswith(os.path.basename(image) + ".ltrans")]
    for path in own or paths:
        with open(path) as handle:
            for line in handle:
                parts = line.rstrip("\n").split("\t")
                if len(parts) != 3:
                    continue
                location, size, kind = parts
                signature = location.split(":", 3)[3]
                name = base_name(signature)
                # Functions that share a bare name (overloads, template instances) count with
                # the largest of their frames.
                usage[name] = max(usage.get(name, 0), int(size))
                if "dynamic" in kind and "bounded" not in kind:
                    dynamic.add(name)
    return usage, dynamic


def read_symbols(image):
    functions = {}  # address -> bare name
    objects = []  # (start, end, name)
    for line in run("nm", "-S", "-C", "--defined-only", image).splitlines():
        match = re.match(r"([0-9a-f]+) ([0-9a-f]+) ([tTdDrRbB]) (.*)$", line)
        if not match:
            continue
        address, size, kind, name = int(match[1], 16), int(match[2], 16), match[3], match[4]
        if kind in "tT":
            functions[address] = base_name(name)
        else:
            objects.append((address, address + size, name.split("::")[-1]))
    return functions, objects


def read_function_tables(image, functions, objects):
    """Data objects whose relocated slots point at functions: name -> set of function names."""
    tables = collections.defaultdict(set)
    for line in run("readelf", "-rW", image).splitlines():
        match = re.match(r"\s*([0-9a-f]+)\s+[0-9a-f]+\s+R_X86_64_RELATIVE\s+([0-9a-f]+)", line)
        if not match:
            continue
        offset, target = int(match[1], 16), int(match[2], 16)
        if target not in functions:
            continue
        for start, end, name in objects:
            if start <= offset < end:
                tables[name].add(functions[target])
    return tables


def read_call_graph(image, functions, tables):
    calls = collections.defaultdict(set)
    prologue = collections.defaultdict(int)  # frame estimated from pushes and sub $n,%rsp
    instructions = collections.Counter()
    indirect = set()
    references = collections.defaultdict(set)
    current = None
    for line in run("objdump", "-d", "-C", "--no-show-raw-insn", image).splitlines():
        header = re.match(r"[0-9a-f]+ <(.*)>:$", line)
        if header:
            current = base_name(header[1])
            prologue[current] += 0
            continue
        if current is None or "\t" not in line:
            continue
        instruction = line.split("\t", 1)[1]
        instructions[current] += 1
        if instructions[current] <= 16:
            if instruction.startswith("push"):
                prologue[current] += 8
            grow = re.match(r"sub\s+\$0x([0-9a-f]+),%rsp", instruction)
            if grow:
                prologue[current] += int(grow[1], 16)
        direct = re.match(r"(call|jmp)\w*\s+([0-9a-f]+) <([^>+]*)>", instruction)
        if direct:
            target = int(direct[2], 16)
            if target in functions and functions[target] != current:
                calls[current].add(functions[target])
            continue
        if re.match(r"(call|jmp)\w*\s+\*", instruction):
            if instruction.startswith("call") or "(%r" in instruction or "%r" in instruction:
                indirect.add(current)
            continue
        for referenced in re.findall(r"<([^>+]*)(?:\+0x[0-9a-f]+)?>", instruction):
            name = referenced.split("::")[-1]
            if name in tables:
                references[current].add(name)
    for function in indirect:
        for table in references[function]:
            calls[function] |= tables[table]
    return calls, prologue


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    image, su_dir, limit = sys.argv[1], sys.argv[2], int(sys.argv[3])
    usage, dynamic = read_stack_usage(su_dir, image)
    functions, objects = read_symbols(image)
    tables = read_function_tables(image, functions, objects)
    if PROTOCOL_TABLE not in tables:
        sys.exit(f"stack-depth: no function table {PROTOCOL_TABLE} in {image}")
    calls, prologue = read_call_graph(image, functions, tables)
    # Functions that GCC writes no .su line for (variadic ones among them): their frame as the
    # prologue sets it up.
    estimated = sorted(name for name in prologue if name not in usage)
    for name in estimated:
        usage[name] = prologue[name]
    roots = sorted(tables[PROTOCOL_TABLE])

    depth, path, state = {}, {}, {}
    problems = []

    def visit(name, trail):
        if state.get(name) == "done":
            return depth[name]
        if state.get(name) == "active":
            cycle = trail[trail.index(name):] + [name]
            problems.append("recursion: " + " -> ".join(cycle))
            return 0
        state[name] = "active"
        frame = usage.get(name, 0)
        deepest, deepest_path = 0, []
        for callee in sorted(calls.get(name, ())):
            below = visit(callee, trail + [name])
            if RETURN_ADDRESS + below > deepest:
                deepest, deepest_path = RETURN_ADDRESS + below, path.get(callee, [callee])
        state[name] = "done"
        depth[name] = frame + deepest
        path[name] = [name] + deepest_path
        return depth[name]

    for root in roots:
        visit(root, [])

    reachable = [name for name in state]
    missing = sorted(name for name in reachable if name not in usage)
    estimated_reachable = sorted(set(estimated) & set(reachable))
    driver_missing = missing
    for name in sorted(set(reachable) & dynamic):
        problems.append(f"dynamic stack frame of unbounded size: {name}")

    for root in roots:
        print(f"{root}: {depth[root] + RETURN_ADDRESS} bytes")
        for name in path[root]:
            print(f"    {usage.get(name, 0):5d}  {name}")
    worst = max(roots, key=lambda r: depth[r])
    figure = depth[worst] + RETURN_ADDRESS
    print(f"deepest Query/Response path: {figure} bytes ({worst}), limit {limit}; "
          f"{len(reachable)} functions reachable, {len(tables) - 1} function tables")
    if estimated_reachable:
        print("frames read from the prologue (no .su entry): " + ", ".join(estimated_reachable))
    if missing:
        print("functions without a frame figure (counted as 0): " + ", ".join(missing))
    sys.stdout.flush()
    if driver_missing:
        problems.append("reachable functions without stack figures: " + ", ".join(driver_missing))
    if figure > limit:
        problems.append(f"deepest path {figure} bytes exceeds {limit}")
    for problem in problems:
        print("stack-depth: " + problem, file=sys.stderr)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
