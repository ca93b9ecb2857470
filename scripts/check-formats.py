#!/usr/bin/env python3
"""Holds every format text of the driver to the conversions the print library implements.

The print library formats "%a", "%d", "%x", "%X" and "%r", each with an optional '0' flag and a
width; any other type character prints itself. A format that asks for more ("%s", "%-4d", "%ld",
"%.2a", ...) would compile and print the wrong bytes, so this check reads every string literal of
the driver's and the libraries' sources (comments left out) and refuses any '%' conversion outside
that set. "%%" prints "%", as in EDK II, and is accepted.

Usage: scripts/check-formats.py [REPOSITORY_ROOT]
"""
import re
import sys
from pathlib import Path

FOLDERS = ("Driver", "Library", "Firmware/Driver")
# Sources whose '%' texts are not the print library's formats: the formatter itself, the host's
# assertion report (the C library's fprintf) and the serial port's inline assembly operands.
SKIP = {
    "Library/BasePrintLib/PrintLib.cpp",
    "Library/BaseDebugLibSerialPort/DebugAssertHost.cpp",
    "Library/FirmwareSerialPortLib16550/FirmwareSerialPortLib16550.cpp",
}
CONVERSION = re.compile(r"%(0*[0-9]*[adxXr]|%)")


def string_literals(text):
    """The contents of the string literals of a C++ source, comments skipped."""
    literals = []
    index = 0
    while index < len(text):
        if text.startswith("//", index):
            index = text.find("\n", index)
            index = len(text) if index < 0 else index
        elif text.startswith("/*", index):
            index = text.find("*/", index)
            index = len(text) if index < 0 else index + 2
        elif text[index] == "'":
            match = re.compile(r"'(?:[^'\\]|\\.)*'").match(text, index)
            index = match.end() if match else index + 1
        elif text[index] == '"':
            match = re.compile(r'"((?:[^"\\]|\\.)*)"').match(text, index)
            literals.append(match.group(1))
            index = match.end()
        else:
            index += 1
    return literals


def unsupported(literal):
    """The '%' pieces of a literal that the print library does not format."""
    pieces = []
    index = literal.find("%")
    while index >= 0:
        match = CONVERSION.match(literal, index)
        if match:
            index = literal.find("%", match.end())
        else:
            pieces.append(literal[index:index + 4])
            index = literal.find("%", index + 1)
    return pieces


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    faults = []
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".cpp", ".h") or path.relative_to(root).as_posix() in SKIP:
                continue
            for literal in string_literals(path.read_text()):
                for piece in unsupported(literal):
                    faults.append(f"{path.relative_to(root)}: \"{literal}\" asks for {piece!r}")
    for fault in faults:
        print(fault)
    if faults:
        print("check-formats: the print library formats only %a %d %x %X %r with a '0' flag and a width")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
