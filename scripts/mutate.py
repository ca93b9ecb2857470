#!/usr/bin/env python3
"""Mutation testing of the driver and library sources against the host test suites.

Seeds one single-token fault at a time into a copy of Driver/ and Library/ (never the checkout
itself), rebuilds the host test binaries incrementally in a lean build and runs them. A mutant is
killed when a test binary fails, crashes or hangs; it survives when all three pass; it is
stillborn when it does not compile. Mutants listed in scripts/mutation-equivalents.txt cannot be
killed by any test and are left out of the score.

  scripts/mutate.py [--work DIR] [--files GLOB...] [--sample N --seed S] [--jobs J]
                    [--list] [--report OUT.json] [--min-score 90]
"""

import argparse
import fnmatch
import hashlib
import json
import os
import queue
import random
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
from dataclasses import dataclass, field

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
EQUIVALENTS = os.path.join(ROOT, "scripts", "mutation-equivalents.txt")
TEST_BINARIES = ["driver_tests", "library_tests", "simulator_tests"]
TEST_PATHS = {
    "driver_tests": "Tests/driver_tests",
    "library_tests": "Tests/library_tests",
    "simulator_tests": "Tests/simulator_tests",
}
SOURCE_SUFFIXES = (".c", ".cpp", ".h", ".hpp")

# ---------------------------------------------------------------------------------------------
# Which files are mutated


def firmware_only(path):
    """Files the host build leaves out (folders or files named *Firmware* under Library/)."""
    if not path.startswith("Library/"):
        return False
    return any("Firmware" in part for part in path.split("/"))


def mutable_files(paths):
    out = []
    for p in paths:
        if not (p.startswith("Driver/") or p.startswith("Library/")):
            continue
        if not p.endswith(SOURCE_SUFFIXES) or firmware_only(p):
            continue
        out.append(p)
    return sorted(out)


def checkout_files():
    """Tracked and untracked (not ignored) files of the checkout, as the working tree has them."""
    out = subprocess.run(
        ["git", "-C", ROOT, "ls-files", "-co", "--exclude-standard", "-z"],
        check=True,
        capture_output=True,
    ).stdout.decode()
    return sorted(p for p in out.split("\0") if p and os.path.isfile(os.path.join(ROOT, p)))


# ---------------------------------------------------------------------------------------------
# Tokenizer

PUNCTUATORS = sorted(
    """>>= <<= ... -> ++ -- << >> <= >= == != && || += -= *= /= %= &= |= ^= :: ## { } [ ] ( ) ; : ,
    ? . ~ ! + - * / % ^ & | = < > #""".split(),
    key=len,
    reverse=True,
)
IDENT = re.compile(r"[A-Za-z_][A-Za-z_0-9]*")
NUMBER = re.compile(r"(?:0[xX][0-9A-Fa-f']+|0[bB][01']+|[0-9][0-9']*(?:\.[0-9]*)?(?:[eE][+-]?[0-9]+)?)[A-Za-z]*")
STRING_PREFIX = re.compile(r"(?:u8|u|U|L)?(?=[\"'])")


@dataclass
class Token:
    kind: str  # ident, number, string, punct
    text: str
    start: int  # offset in the file
    end: int
    directive: str = ""  # "define" when inside a #define line


def tokenize(src):
    """Tokens of a C/C++ file without comments, character literals, #include/#if/#error lines and
    the contents of static_assert(...). #define bodies are kept (their constants are real)."""
    tokens = []
    i, n = 0, len(src)
    line_start = True
    directive = ""
    while i < n:
        c = src[i]
        if c == "\n":
            if i == 0 or src[i - 1] != "\\":
                directive = ""
            line_start = True
            i += 1
            continue
        if c in " \t\r\f\v" or (c == "\\" and i + 1 < n and src[i + 1] == "\n"):
            i += 1
            continue
        if src.startswith("//", i):
            j = src.find("\n", i)
            i = n if j < 0 else j
            continue
        if src.startswith("/*", i):
            j = src.find("*/", i + 2)
            i = n if j < 0 else j + 2
            continue
        if c == "#" and line_start:
            m = re.compile(r"#\s*([A-Za-z_]*)").match(src, i)
            name = m.group(1)
            if name == "define":
                directive = "define"
                i = m.end()
                # the macro name is not a mutation site
                while i < n and src[i] in " \t":
                    i += 1
                m2 = IDENT.match(src, i)
                if m2:
                    i = m2.end()
                line_start = False
                continue
            # any other directive: skip to the end of the logical line
            j = i
            while True:
                k = src.find("\n", j)
                if k < 0:
                    j = n
                    break
                if src[k - 1] == "\\":
                    j = k + 1
                    continue
                j = k
                break
            i = j
            continue
        line_start = False
        m = STRING_PREFIX.match(src, i)
        if m and m.end() < n and src[m.end()] in "\"'":
            q = src[m.end()]
            j = m.end() + 1
            while j < n and src[j] != q:
                j += 2 if src[j] == "\\" else 1
            j += 1
            if q == '"':
                tokens.append(Token("string", src[i:j], i, j, directive))
            i = j
            continue
        m = IDENT.match(src, i)
        if m:
            tokens.append(Token("ident", m.group(0), i, m.end(), directive))
            i = m.end()
            continue
        m = NUMBER.match(src, i)
        if m:
            tokens.append(Token("number", m.group(0), i, m.end(), directive))
            i = m.end()
            continue
        for p in PUNCTUATORS:
            if src.startswith(p, i):
                tokens.append(Token("punct", p, i, i + len(p), directive))
                i += len(p)
                break
        else:
            i += 1  # stray character (e.g. '@' in a comment-less context); not a site
    return drop_unevaluated(tokens)


def closing_paren(tokens, i):
    """Index of the parenthesis that closes the one at tokens[i]."""
    depth = 0
    j = i
    while j < len(tokens):
        if tokens[j].text == "(":
            depth += 1
        elif tokens[j].text == ")":
            depth -= 1
            if depth == 0:
                break
        j += 1
    return j


def drop_unevaluated(tokens):
    """Drops static_assert(...) whole and the operand of sizeof(...): neither is evaluated, so a
    fault there cannot change what the code does (an index in sizeof(Table[0]), say)."""
    out = []
    i = 0
    while i < len(tokens):
        t = tokens[i]
        if t.kind == "ident" and t.text == "sizeof" and i + 1 < len(tokens) and tokens[i + 1].text == "(":
            j = closing_paren(tokens, i + 1)
            out.append(t)
            out.append(tokens[i + 1])
            out.append(tokens[j])
            i = j + 1
            continue
        if t.kind == "ident" and t.text == "static_assert":
            i = closing_paren(tokens, i + 1) + 1
            continue
        out.append(t)
        i += 1
    return out


# ---------------------------------------------------------------------------------------------
# Mutation operators

RELATIONAL = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
LOGICAL = {"&&": "||", "||": "&&"}
ARITHMETIC = {
    "+": "-",
    "-": "+",
    "*": "/",
    "/": "*",
    "%": "*",
    "<<": ">>",
    ">>": "<<",
    "++": "--",
    "--": "++",
    "+=": "-=",
    "-=": "+=",
    "<<=": ">>=",
    ">>=": "<<=",
}
BITWISE = {"&": "|", "|": "&", "^": "|", "&=": "|=", "|=": "&="}
BOOLEANS = {"TRUE": "FALSE", "FALSE": "TRUE", "true": "false", "false": "true"}
EFI_ERRORS = """EFI_LOAD_ERROR EFI_INVALID_PARAMETER EFI_UNSUPPORTED EFI_BAD_BUFFER_SIZE
EFI_BUFFER_TOO_SMALL EFI_NOT_READY EFI_DEVICE_ERROR EFI_WRITE_PROTECTED EFI_OUT_OF_RESOURCES
EFI_VOLUME_CORRUPTED EFI_VOLUME_FULL EFI_NO_MEDIA EFI_MEDIA_CHANGED EFI_NOT_FOUND EFI_ACCESS_DENIED
EFI_NO_RESPONSE EFI_NO_MAPPING EFI_TIMEOUT EFI_NOT_STARTED EFI_ALREADY_STARTED EFI_ABORTED
EFI_ICMP_ERROR EFI_TFTP_ERROR EFI_PROTOCOL_ERROR EFI_INCOMPATIBLE_VERSION EFI_SECURITY_VIOLATION
EFI_CRC_ERROR EFI_END_OF_MEDIA EFI_END_OF_FILE EFI_INVALID_LANGUAGE EFI_COMPROMISED_DATA""".split()
STATUSES = {"EFI_SUCCESS": "EFI_NOT_FOUND", **{e: "EFI_SUCCESS" for e in EFI_ERRORS}}
KEYWORDS = set(
    """alignas alignof asm auto bool break case catch char class const constexpr const_cast continue
    decltype default delete do double dynamic_cast else enum explicit extern float for friend goto if
    inline int long mutable namespace new noexcept operator private protected public register
    reinterpret_cast return short signed sizeof static static_cast struct switch template this throw
    try typedef typeid typename union unsigned using virtual void volatile while VOID""".split()
)


@dataclass
class Mutant:
    file: str
    line: int
    col: int  # 1-based column of the first replaced character
    kind: str
    original: str
    mutated: str
    start: int
    end: int
    line_text: str
    id: str = ""
    status: str = ""
    detail: str = ""
    seconds: float = 0.0
    killers: list = field(default_factory=list)  # with --all-killers: every test that failed


def spaced(src, t):
    """True when the token has white space on both sides: the formatted code writes binary
    operators that way and unary ones (*p, &x, -1) without, which tells them apart."""
    before = src[t.start - 1] if t.start > 0 else "\n"
    after = src[t.end] if t.end < len(src) else "\n"
    return before in " \t\n" and after in " \t\n"


def bump_number(text):
    m = re.match(r"(0[xX])([0-9A-Fa-f]+)([A-Za-z]*)$", text)
    if m:
        value = int(m.group(2), 16) + 1
        digits = format(value, "X" if m.group(2).upper() == m.group(2) else "x")
        return m.group(1) + digits.rjust(len(m.group(2)), "0") + m.group(3)
    m = re.match(r"([0-9]+)([uUlL]*)$", text)
    if m:
        if text.startswith("0") and len(m.group(1)) > 1:  # octal
            return None
        return str(int(m.group(1)) + 1) + m.group(2)
    return None  # floats, binary, separators: not used in this code


def change_string(text):
    """One character of a string literal: the middle character of its body (moved forward past
    escape sequences), replaced by a different printable character. "" gets one character."""
    prefix_len = text.index('"') + 1
    body = text[prefix_len:-1]
    if body == "":
        return text[:prefix_len] + "X" + text[-1]
    plain = []  # offsets of characters that are not part of an escape
    i = 0
    while i < len(body):
        if body[i] == "\\":
            i += 2
            continue
        plain.append(i)
        i += 1
    if not plain:
        return None
    pos = plain[len(plain) // 2]
    c = body[pos]
    if c.islower():
        r = chr((ord(c) - ord("a") + 1) % 26 + ord("a"))
    elif c.isupper():
        r = chr((ord(c) - ord("A") + 1) % 26 + ord("A"))
    elif c.isdigit():
        r = chr((ord(c) - ord("0") + 1) % 10 + ord("0"))
    elif c == " ":
        r = "_"
    else:
        r = "X"
    return text[:prefix_len] + body[:pos] + r + body[pos + 1 :] + text[-1]


ASSIGNMENTS = {"=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="}


def expression_statement(tokens, i):
    """End index (the ';') of the expression statement starting at tokens[i], or None when it is a
    declaration, a jump, a return or anything else whose deletion would not compile or would not
    be a simple statement."""
    t = tokens[i]
    nxt = tokens[i + 1] if i + 1 < len(tokens) else None
    if nxt is None:
        return None
    if t.kind == "ident":
        if t.text in KEYWORDS or t.text in ("case", "default", "return"):
            return None
        if nxt.text not in ("(", ".", "->", "[", "++", "--") and nxt.text not in ASSIGNMENTS:
            return None
    elif t.text not in ("*", "++", "--"):
        return None
    depth = 0
    j = i
    while j < len(tokens):
        x = tokens[j].text
        if x in "([{":
            depth += 1
        elif x in ")]}":
            depth -= 1
            if depth < 0:
                return None
        elif x == ";" and depth == 0:
            return j
        j += 1
    return None


def mutants_of(path, src):
    tokens = tokenize(src)
    line_starts = [0]
    for k, ch in enumerate(src):
        if ch == "\n":
            line_starts.append(k + 1)

    def where(offset):
        lo, hi = 0, len(line_starts) - 1
        while lo < hi:
            mid = (lo + hi + 1) // 2
            if line_starts[mid] <= offset:
                lo = mid
            else:
                hi = mid - 1
        end = src.find("\n", line_starts[lo])
        return lo + 1, offset - line_starts[lo] + 1, src[line_starts[lo] : len(src) if end < 0 else end]

    out = []

    def add(kind, start, end, replacement):
        line, col, text = where(start)
        out.append(Mutant(path, line, col, kind, src[start:end], replacement, start, end, text))

    depth_paren = 0
    depth_brace = 0
    template_angle = 0
    for i, t in enumerate(tokens):
        prev = tokens[i - 1] if i > 0 else None
        x = t.text
        if t.kind == "punct":
            if x == "(":
                depth_paren += 1
            elif x == ")":
                depth_paren -= 1
            elif x == "{":
                depth_brace += 1
            elif x == "}":
                depth_brace -= 1
            if prev is not None and prev.text == "template" and x == "<":
                template_angle += 1
                continue
            if template_angle and x == ">":
                template_angle -= 1
                continue
            if x in RELATIONAL and (x not in ("<", ">") or spaced(src, t)):
                add("relational", t.start, t.end, RELATIONAL[x])
            elif x in LOGICAL:
                add("logical", t.start, t.end, LOGICAL[x])
            elif x == "!" and i + 1 < len(tokens):
                add("logical", t.start, t.end, "")
            elif x in ARITHMETIC:
                if x in ("+", "-", "*", "/", "%", "<<", ">>") and not spaced(src, t):
                    pass  # unary or a declarator
                else:
                    add("arithmetic", t.start, t.end, ARITHMETIC[x])
            elif x in BITWISE and (x.endswith("=") or spaced(src, t)):
                add("bitwise", t.start, t.end, BITWISE[x])
        elif t.kind == "number":
            r = bump_number(x)
            if r is not None:
                add("constant", t.start, t.end, r)
        elif t.kind == "string":
            r = change_string(x)
            if r is not None:
                add("string", t.start, t.end, r)
        elif t.kind == "ident":
            if x in BOOLEANS:
                add("boolean", t.start, t.end, BOOLEANS[x])
            elif x in STATUSES:
                add("status", t.start, t.end, STATUSES[x])
        # statement deletion: an expression statement that begins a statement inside a body
        if (
            not t.directive
            and depth_brace > 0
            and depth_paren == 0
            and prev is not None
            and prev.text in (";", "{", "}")
            and not (t.kind == "punct" and t.text in "{}")
        ):
            end = expression_statement(tokens, i)
            if end is not None:
                add("statement", t.start, tokens[end].end, "")
    for m in out:
        key = "\0".join([m.line_text, str(m.col), m.original, m.mutated])
        m.id = "%s@%s" % (path, hashlib.sha1(key.encode()).hexdigest()[:10])
    # Identical lines give identical hashes: the second and later ones are numbered in file order.
    seen = {}
    for m in out:
        n = seen.get(m.id, 0) + 1
        seen[m.id] = n
        if n > 1:
            m.id = "%s-%d" % (m.id, n)
    return out


# ---------------------------------------------------------------------------------------------
# Equivalents file


def read_equivalents(path):
    entries = {}
    if not os.path.exists(path):
        return entries
    with open(path, encoding="utf-8") as f:
        for number, raw in enumerate(f, 1):
            line = raw.strip()
            if not line or line.startswith("#"):
                continue
            ident = line.split()[0]
            reason = line.split("#", 1)[1].strip() if "#" in line else ""
            if not reason:
                sys.exit("%s:%d: an equivalent mutant needs a reason after '#'" % (path, number))
            entries[ident] = reason
    return entries


# ---------------------------------------------------------------------------------------------
# Work trees and builds


def sync_tree(files, dest):
    """Copies the checkout's files into dest, writing only those whose content differs so that an
    existing build there stays incremental. Files no longer in the checkout are removed."""
    wanted = set(files)
    for rel in files:
        src = os.path.join(ROOT, rel)
        dst = os.path.join(dest, rel)
        with open(src, "rb") as f:
            data = f.read()
        try:
            with open(dst, "rb") as f:
                if f.read() == data:
                    continue
        except FileNotFoundError:
            os.makedirs(os.path.dirname(dst), exist_ok=True)
        with open(dst, "wb") as f:
            f.write(data)
        shutil.copymode(src, dst)
    for top in ("Driver", "Library", "Host", "Common", "Tests", "Include"):
        for dirpath, _, names in os.walk(os.path.join(dest, top)):
            for name in names:
                rel = os.path.relpath(os.path.join(dirpath, name), dest)
                if rel not in wanted:
                    os.remove(os.path.join(dirpath, name))


def linker_flags():
    for name, flag in (("mold", "-fuse-ld=mold"), ("ld.lld", "-fuse-ld=lld")):
        if shutil.which(name):
            return flag
    return ""


class Tree:
    def __init__(self, path, ninja_jobs):
        self.src = path
        self.build = os.path.join(path, "build-m")
        self.ninja_jobs = ninja_jobs
        self.timeouts = {b: 60.0 for b in TEST_BINARIES}

    def configure(self):
        if os.path.exists(os.path.join(self.build, "build.ninja")):
            return
        link = linker_flags()
        cmd = [
            "cmake",
            "-S",
            self.src,
            "-B",
            self.build,
            "-G",
            "Ninja",
            "-DCMAKE_BUILD_TYPE=None",
            "-DCMAKE_C_FLAGS=-O0",
            "-DCMAKE_CXX_FLAGS=-O0",
            "-DPTD_FIRMWARE=OFF",
            "-DPTD_SANITIZE=OFF",
            "-DPTD_FUZZ=OFF",
            "-DPTD_TESTS=ON",
            # Test discovery after every link would run each binary once more per mutant.
            "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST",
        ]
        if link:
            cmd += ["-DCMAKE_EXE_LINKER_FLAGS=" + link]
        r = subprocess.run(cmd, capture_output=True, text=True)
        if r.returncode != 0:
            sys.exit("configure failed in %s:\n%s%s" % (self.build, r.stdout, r.stderr))

    def ninja(self, targets):
        r = subprocess.run(
            ["ninja", "-C", self.build, "-j", str(self.ninja_jobs)] + targets,
            capture_output=True,
            text=True,
        )
        return r.returncode == 0, r.stdout + r.stderr

    def run(self, binary, every_failure=False):
        """(passed, failures). A timeout or a crash is a failure; it is charged to the test that
        was running. With every_failure the whole binary runs and every failing test is named."""
        exe = os.path.join(self.build, TEST_PATHS[binary])
        cmd = [exe] if every_failure else [exe, "--gtest_fail_fast", "--gtest_brief=1"]
        # A session of its own, so that a hang is ended with everything the binary started: a
        # death test's forked child that a mutant sends into a loop would otherwise outlive its
        # parent and keep a core busy for the rest of the run.
        proc = subprocess.Popen(cmd, cwd=self.build, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                start_new_session=True)
        try:
            out, _ = proc.communicate(timeout=self.timeouts[binary])
            code = proc.returncode
        except subprocess.TimeoutExpired:
            os.killpg(proc.pid, signal.SIGKILL)
            out, _ = proc.communicate()
            code = None
        finally:
            try:
                os.killpg(proc.pid, signal.SIGKILL)  # a forked child left behind by a finished run
            except ProcessLookupError:
                pass
        if code == 0:
            return True, []
        failed = re.findall(r"\[  FAILED  \] (\S+)", out)
        failed = list(dict.fromkeys(f for f in failed if "." in f))
        if code is None or code < 0:
            # The test that was running when the binary hung or died has no OK line.
            started = re.findall(r"\[ RUN      \] (\S+)", out)
            finished = set(re.findall(r"\[       OK \] (\S+)", out)) | set(failed)
            running = [s for s in started if s not in finished]
            reason = "timeout" if code is None else "signal %d" % -code
            return False, failed + ["%s (%s)" % (running[-1], reason) if running else reason]
        return False, failed or ["exit %d" % code]

    def baseline(self):
        ok, out = self.ninja(TEST_BINARIES)
        if not ok:
            sys.exit("the unmutated build fails in %s:\n%s" % (self.build, out[-4000:]))
        for b in TEST_BINARIES:
            t0 = time.monotonic()
            passed, failures = self.run(b)
            took = time.monotonic() - t0
            if not passed:
                sys.exit("the unmutated %s fails (%s); fix the tests first" % (b, ", ".join(failures)))
            # A hang counts as killed: allow ten times the clean run, at least 10 s.
            self.timeouts[b] = max(10.0, 10 * took)

    def test_mutant(self, m, order, every_killer=False):
        """Builds and runs the binaries one at a time: a kill by the first spares linking the rest,
        unless every killing test is wanted (m.killers)."""
        killers = []
        for b in order:
            ok, out = self.ninja([b])
            if not ok:
                return "stillborn", first_error(out)
            passed, failures = self.run(b, every_killer)
            if not passed:
                killers += ["%s: %s" % (b, f) for f in failures]
                if not every_killer:
                    break
        m.killers = killers
        return ("killed", killers[0]) if killers else ("survived", "")


def first_error(out):
    for line in out.splitlines():
        if "error:" in line:
            return line.strip()[:200]
    return "build failed"


def binary_order(path):
    if path.startswith("Library/"):
        return ["library_tests", "driver_tests", "simulator_tests"]
    return ["driver_tests", "library_tests", "simulator_tests"]


def write_source(path, text):
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)
    # Make sure ninja sees it as newer than anything built from the previous content.
    now = time.time_ns()
    st = os.stat(path)
    stamp = max(now, st.st_mtime_ns + 1_000_000)
    os.utime(path, ns=(stamp, stamp))


# ---------------------------------------------------------------------------------------------
# Running


def run_mutants(trees, by_file, originals, progress, rank, file_done, every_killer=False):
    work = queue.Queue()
    # Files in the order of the --files patterns that matched them; within that, larger files
    # first so that the trees finish together, and headers last (they rebuild the most).
    # A header rebuilds most objects whichever tree it is in, so its mutants are shared out in
    # small chunks; a source file stays in one tree, where only it recompiles between mutants.
    order = sorted(by_file, key=lambda f: (rank(f), f.endswith(".h"), -len(by_file[f]), f))
    for f in order:
        step = 4 if f.endswith(".h") and len(trees) > 1 else len(by_file[f])
        for k in range(0, len(by_file[f]), step):
            work.put((f, by_file[f][k : k + step]))
    lock = threading.Lock()
    errors = []

    def worker(tree):
        try:
            while True:
                try:
                    path, chunk = work.get_nowait()
                except queue.Empty:
                    return
                target = os.path.join(tree.src, path)
                original = originals[path]
                try:
                    for m in chunk:
                        text = original[: m.start] + m.mutated + original[m.end :]
                        write_source(target, text)
                        t0 = time.monotonic()
                        m.status, m.detail = tree.test_mutant(m, binary_order(path), every_killer)
                        m.seconds = round(time.monotonic() - t0, 2)
                        with lock:
                            progress(m)
                finally:
                    write_source(target, original)
                with lock:
                    file_done(path)
        except BaseException as e:  # noqa: BLE001 - reported by the main thread
            errors.append(e)

    threads = [threading.Thread(target=worker, args=(t,)) for t in trees]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    if errors:
        raise errors[0]


def summarize(mutants):
    per_file = {}
    for m in mutants:
        row = per_file.setdefault(m.file, {"killed": 0, "survived": 0, "stillborn": 0, "equivalent": 0})
        row[m.status] += 1
    killed = sum(r["killed"] for r in per_file.values())
    survived = sum(r["survived"] for r in per_file.values())
    totals = {
        "mutants": len(mutants),
        "killed": killed,
        "survived": survived,
        "stillborn": sum(r["stillborn"] for r in per_file.values()),
        "equivalent": sum(r["equivalent"] for r in per_file.values()),
    }
    totals["score"] = round(100.0 * killed / (killed + survived), 2) if killed + survived else 100.0
    return per_file, totals


def print_report(mutants, stale, out=sys.stdout):
    per_file, totals = summarize(mutants)
    w = max([len(f) for f in per_file] + [4])
    print("%-*s %7s %8s %9s %10s" % (w, "file", "killed", "survived", "stillborn", "equivalent"), file=out)
    for f in sorted(per_file):
        r = per_file[f]
        print(
            "%-*s %7d %8d %9d %10d" % (w, f, r["killed"], r["survived"], r["stillborn"], r["equivalent"]),
            file=out,
        )
    survivors = [m for m in mutants if m.status == "survived"]
    if survivors:
        print("\nSurvivors:", file=out)
        for m in sorted(survivors, key=lambda m: (m.file, m.line, m.col)):
            print(
                "%s:%d: %s -> %s  [%s %s]\n    %s"
                % (m.file, m.line, m.original or "''", m.mutated or "''", m.kind, m.id, m.line_text.strip()),
                file=out,
            )
    for ident in stale:
        print("stale equivalent (no longer generated): %s" % ident, file=out)
    print(
        "\nmutants %d: killed %d, survived %d, stillborn %d, equivalent %d; score %.2f%%"
        % (
            totals["mutants"],
            totals["killed"],
            totals["survived"],
            totals["stillborn"],
            totals["equivalent"],
            totals["score"],
        ),
        file=out,
    )
    return totals


def write_survivors(path, mutants, finished):
    per_file, totals = summarize([m for m in mutants if m.status])
    lines = []
    if not finished:
        lines.append("(run in progress: only the files listed so far are done)\n")
    for f in sorted(per_file):
        r = per_file[f]
        survivors = sorted((m for m in mutants if m.file == f and m.status == "survived"), key=lambda m: (m.line, m.col))
        lines.append(
            "== %s: %d survived, %d killed, %d stillborn, %d equivalent"
            % (f, r["survived"], r["killed"], r["stillborn"], r["equivalent"])
        )
        for m in survivors:
            lines.append(
                "%s:%d:%d: %s -> %s  [%s]\n    %s"
                % (m.file, m.line, m.col, m.original or "''", m.mutated or "''", m.kind, m.line_text.strip())
            )
        lines.append("")
    lines.append(
        "killed %d, survived %d, stillborn %d, equivalent %d; score %.2f%%"
        % (totals["killed"], totals["survived"], totals["stillborn"], totals["equivalent"], totals["score"])
    )
    with open(path + ".tmp", "w", encoding="utf-8") as f:
        f.write("\n".join(lines) + "\n")
    os.replace(path + ".tmp", path)


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--work", default=os.path.join(ROOT, "build-mutation"), help="work directory")
    ap.add_argument("--files", nargs="+", metavar="GLOB", help="only files matching one of these")
    ap.add_argument("--sample", type=int, help="test only N mutants, drawn with --seed")
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--jobs", type=int, default=1, help="work trees used at once")
    ap.add_argument("--list", action="store_true", help="list the mutants and stop")
    ap.add_argument("--report", help="write every mutant and the totals as JSON")
    ap.add_argument("--survivors", help="write the survivors grouped by file as text")
    ap.add_argument("--min-score", type=float, default=0.0, help="exit 1 below this score (percent)")
    ap.add_argument("--equivalents", default=EQUIVALENTS)
    ap.add_argument(
        "--all-killers",
        action="store_true",
        help="run every test binary whole for each mutant and record every test that kills it, "
        "so that tests whose kills others repeat can be found (slower: no test binary is skipped)",
    )
    ap.add_argument(
        "--resume",
        metavar="REPORT.json",
        help="take the outcome of every mutant already in this report (same sources) and run only the rest",
    )
    args = ap.parse_args()

    files = checkout_files()
    targets = mutable_files(files)
    if args.files:
        targets = [f for f in targets if any(fnmatch.fnmatch(f, g) for g in args.files)]
    originals = {}
    mutants = []
    for f in targets:
        with open(os.path.join(ROOT, f), encoding="utf-8") as fh:
            originals[f] = fh.read()
        mutants += mutants_of(f, originals[f])

    equivalents = read_equivalents(args.equivalents)
    generated = {m.id for m in mutants}
    stale = sorted(
        i for i in equivalents if i not in generated and i.split("@")[0] in set(targets)
    )
    for m in mutants:
        if m.id in equivalents:
            m.status, m.detail = "equivalent", equivalents[m.id]

    if args.resume:
        with open(args.resume, encoding="utf-8") as f:
            earlier = {m["id"]: m for m in json.load(f)["mutants"]}
        for m in mutants:
            e = earlier.get(m.id)
            if not m.status and e and e["status"] in ("killed", "survived", "stillborn"):
                m.status, m.detail, m.seconds = e["status"], e["detail"], e["seconds"]

    if args.sample is not None and args.sample < len(mutants):
        chosen = random.Random(args.seed).sample(range(len(mutants)), args.sample)
        mutants = [mutants[k] for k in sorted(chosen)]

    if args.list:
        for m in mutants:
            print(
                "%s  %s:%d:%d  %s  %s -> %s%s"
                % (m.id, m.file, m.line, m.col, m.kind, m.original or "''", m.mutated or "''",
                   "  (equivalent)" if m.status == "equivalent" else "")
            )
        print("%d mutants in %d files" % (len(mutants), len(targets)), file=sys.stderr)
        return 0

    t_start = time.monotonic()
    pending = [m for m in mutants if not m.status]
    by_file = {}
    for m in pending:
        by_file.setdefault(m.file, []).append(m)
    # Nothing to run (all resumed or equivalent): no build either.
    jobs = max(1, args.jobs) if pending else 0
    os.makedirs(args.work, exist_ok=True)
    trees = []
    for k in range(jobs):
        path = os.path.join(os.path.abspath(args.work), "tree%d" % k)
        sync_tree(files, path)
        trees.append(Tree(path, ninja_jobs=max(1, 2 // jobs)))
    # The trees are configured and built one after the other with both cores (each has its own
    # absolute paths, so each builds in full the first time).
    for tree in trees:
        tree.ninja_jobs = 2
        tree.configure()
        tree.baseline()
        tree.ninja_jobs = max(1, 2 // jobs)
    t_ready = time.monotonic()
    if trees:
        print("clean build and tests pass (%.0f s)" % (t_ready - t_start), file=sys.stderr)

    done = [0]

    def progress(m):
        done[0] += 1
        print(
            "[%d/%d] %-9s %5.1fs %s:%d %s -> %s %s"
            % (done[0], len(pending), m.status, m.seconds, m.file, m.line, m.original or "''",
               m.mutated or "''", m.detail),
            file=sys.stderr,
            flush=True,
        )

    def rank(path):
        if not args.files:
            return 0
        return min(k for k, g in enumerate(args.files) if fnmatch.fnmatch(path, g))

    def write_report(finished, t_end):
        if args.survivors:
            write_survivors(args.survivors, mutants, finished)
        if not args.report:
            return
        tested = [m for m in mutants if m.status in ("killed", "survived", "stillborn")]
        per_mutant = sum(m.seconds for m in tested) / len(tested) if tested else 0.0
        commit = subprocess.run(
            ["git", "-C", ROOT, "rev-parse", "--short", "HEAD"], capture_output=True, text=True
        ).stdout.strip()
        done_mutants = [m for m in mutants if m.status]
        report = {
            "finished": finished,
            "commit": commit,
            "files": targets,
            "sample": args.sample,
            "seed": args.seed if args.sample is not None else None,
            "jobs": jobs,
            "wallSeconds": round(t_end - t_start, 1),
            "cleanBuildSeconds": round(t_ready - t_start, 1),
            "meanSecondsPerMutant": round(per_mutant, 2),
            "totals": summarize(done_mutants)[1],
            "perFile": summarize(done_mutants)[0],
            "staleEquivalents": stale,
            "mutants": [
                {
                    k: getattr(m, k)
                    for k in ("id", "file", "line", "col", "kind", "original", "mutated", "line_text", "status",
                              "detail", "seconds", "killers")
                }
                for m in done_mutants
            ],
        }
        with open(args.report + ".tmp", "w", encoding="utf-8") as f:
            json.dump(report, f, indent=1)
        os.replace(args.report + ".tmp", args.report)

    # The report is rewritten after every file, so that a long run can be read while it goes on.
    run_mutants(
        trees, by_file, originals, progress, rank, lambda path: write_report(False, time.monotonic()), args.all_killers
    )
    t_end = time.monotonic()

    totals = print_report(mutants, stale)
    tested = [m for m in mutants if m.status in ("killed", "survived", "stillborn")]
    per_mutant = sum(m.seconds for m in tested) / len(tested) if tested else 0.0
    print(
        "wall time %.0f s (clean build %.0f s, mutants %.0f s); %.2f s per mutant per tree"
        % (t_end - t_start, t_ready - t_start, t_end - t_ready, per_mutant)
    )
    write_report(True, t_end)
    if totals["score"] < args.min_score:
        print("score %.2f%% is below %.2f%%" % (totals["score"], args.min_score), file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
