#!/bin/bash
# Checks that compare-transcripts.py accepts a firmware transcript that says what the simulator says,
# accepts what its normalisations allow (OVMF's own progress codes), and rejects each kind of real
# difference. The firmware lines are rendered from the simulator's own JSON by the comparer's
# definition of the stand-in's format.
#   compare-transcripts-test.sh COMPARE.py SIMULATE SCENARIO_DIR WORK_DIR
set -euo pipefail
compare=$1 simulate=$2 scenarios=$3 work=$4
rm -rf "$work"
mkdir -p "$work"
sims=()
for name in 2-FailedCommandBmcRetries 3-Emulex0710Restart 9-RestartPlatform; do
  "$simulate" --json "$scenarios/$name.json" >"$work/$name.json"
  sims+=("$work/$name.json")
done

python3 - "$work" "$compare" "${sims[@]}" <<'PY'
import copy, json, runpy, subprocess, sys
work, compare, sims = sys.argv[1], sys.argv[2], sys.argv[3:]
docs = [json.load(open(p)) for p in sims]
# The stand-in's line format is the comparer's own: the lines are rendered by it.
render = runpy.run_path(compare)["firmware_lines"]

def run(lines, name):
    path = "%s/%s.lines" % (work, name)
    with open(path, "w") as f:
        f.write("".join(json.dumps(l) + "\n" for l in lines))
    return subprocess.run([compare, path] + sims, capture_output=True, text=True)

def steps(lines, kind=None):
    return [l for l in lines if "step" in l and (kind is None or any(e["kind"] == kind for e in l["step"]["events"]))]

failures = 0
base = render(docs)
result = run(base, "same")
if result.returncode != 0:
    print("identical transcripts were rejected:\n" + result.stdout)
    failures += 1
assert steps(base, "ipmi") and steps(base, "statusCode") and steps(base, "connect"), "scenarios lost their events"

def progress_code(l):
    l["step"]["events"].insert(0, {"kind": "statusCode", "type": "0x00000001", "value": "0x03051005",
                                   "instance": "0x00000000", "callerId": ""})
def change_command(l): l["step"]["command"] += " "
def change_ipmi(l):
    e = next(e for e in l["step"]["events"] if e["kind"] == "ipmi"); e["data"] = e["data"][:-2]
def change_instance(l):
    e = next(e for e in l["step"]["events"] if e["kind"] == "statusCode"); e["instance"] = "0x00000001"
def drop_connect(l):
    l["step"]["events"] = [e for e in l["step"]["events"] if e["kind"] != "connect"]
def change_response(l): l["step"]["response"] = "EFI_NOT_FOUND"
def change_cmd_status(l): l["step"]["cmdStatus"] = 0
def drop_start(l):
    l["step"]["events"] = [e for e in l["step"]["events"] if e["kind"] != "start"]

cases = [  # (name, kind of step to mutate, mutation, accepted)
    ("progress code from OVMF", "statusCode", progress_code, True),
    ("command text", None, change_command, False),
    ("IPMI request bytes", "ipmi", change_ipmi, False),
    ("status code instance", "statusCode", change_instance, False),
    ("connect missing", "connect", drop_connect, False),
    ("Response status", None, change_response, False),
    ("CLP status", "ipmi", change_cmd_status, False),
    ("nested run not started inside the Response", "start", drop_start, False),
]
for name, kind, mutate, accepted in cases:
    lines = copy.deepcopy(base)
    mutate(steps(lines, kind)[0])
    result = run(lines, name.replace(" ", "-"))
    if (result.returncode == 0) != accepted:
        print("%s: expected %s, got exit %d\n%s" % (name, "acceptance" if accepted else "a diff",
                                                   result.returncode, result.stdout))
        failures += 1
    elif not accepted and "differ" not in result.stdout:
        print("%s: rejected without a diff:\n%s" % (name, result.stdout))
        failures += 1

# The stopped run's Query after its restarting Response is part of the transcript.
lines = copy.deepcopy(base)
restarting = steps(lines, "start")[0]
for l in lines:
    if "end" in l and l["controller"] == restarting["controller"] and l["run"] == restarting["run"]:
        l["end"] = None
if run(lines, "late-query-missing").returncode == 0:
    print("a restarted run without its late Query was accepted")
    failures += 1

# After a reset nothing may follow, and the reset step must be the last line.
lines = copy.deepcopy(base) + [{"done": True}]
if run(lines, "line-after-reset").returncode == 0:
    print("a line after the reset step was accepted")
    failures += 1
lines = copy.deepcopy(base)[:-1]
if run(lines, "reset-step-missing").returncode == 0:
    print("a transcript without the reset step was accepted")
    failures += 1
print("compare-transcripts checks: %d failed" % failures)
sys.exit(1 if failures else 0)
PY
