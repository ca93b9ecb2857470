#!/usr/bin/env python3
"""Compares the transcript the firmware platform stand-in printed (its "PTDT {json}" lines) with
the simulator's --json transcripts of the same scenarios, in pack order.

  compare-transcripts.py FIRMWARE_LINES SIM1.json [SIM2.json ...]

Compared per scenario: the driver's load status; per controller and run, every step's Instance,
Query status, command text, the scripted reply with its CLP status and error value, the
configuration action and the Response status; the end of each run (Instance and Query status, or
none when the run restarted or was cut by a reset); and the events of each step: IPMI requests
(NetFn, LUN, command, request bytes, completion code), status codes (type, value, instance, caller
ID), variable writes (name, attributes, bytes), console messages, disconnects and connects with
their status, restart notifications and resets. A controller restart runs the next run nested inside
the Response that asked for it, on both platforms: the restarting step's events hold a
{"kind": "start", "controller": ..., "run": k} event between its disconnect and its connect, and the
stopped run ends with the Query it made after that Response; both are compared like any event and
end. The stand-in prints a nested run's lines before the line of the step that started it, so runs
are matched by their number, not by line order.

Normalisations, each for something that legitimately differs between the two platforms:
  N1  Handles never appear in either transcript, so nothing is done for them.
  N2  Status codes of type EFI_PROGRESS_CODE (low byte 1) seen by the firmware's listener are
      dropped: OVMF reports them itself while loading images and connecting controllers; the driver
      reports error codes only.
  N3  Simulator events of kind "debug" are dropped: on the VM the driver's debug output goes to the
      second serial port, not into the transcript.
  N4  The simulator's "records" and "problems" are not compared (the VM prints neither), nor its
      "exitStatus".
  N5  A reset: the simulator ends the boot with {"reset": {"type": ...}}; on the VM the reset ends
      the VM, so the last firmware line must be the step that asked for it (response "(reset)").
Exits 0 when all scenarios agree; otherwise prints a diff per differing scenario and exits 1.
"""
import difflib
import json
import sys


def normal_events(events, firmware):
    out = []
    for e in events or []:
        if firmware and e.get("kind") == "statusCode" and int(e["type"], 16) & 0xFF == 1:
            continue  # N2
        if not firmware and e.get("kind") == "debug":
            continue  # N3
        out.append(e)
    return out


def normal_sim(doc):
    boots = doc.get("boots", [])
    if len(boots) != 1:
        raise SystemExit("compare-transcripts: simulator transcript of %r has %d boots; the VM plays one"
                         % (doc.get("scenario"), len(boots)))
    boot = boots[0]
    controllers = []
    for c in boot["controllers"]:
        runs = []
        for r in c["runs"]:
            steps = [dict(s, events=normal_events(s["events"], False)) for s in r["steps"]]
            end = r["end"]
            if end is not None:
                end = dict(end, events=normal_events(end["events"], False))
            runs.append({"steps": steps, "end": end})
        controllers.append({"name": c["name"], "runs": runs})
    return {
        "scenario": doc["scenario"],
        "load": doc["load"],
        "loadEvents": normal_events(boot.get("loadEvents", []), False),
        "controllers": controllers,
        "reset": boot.get("reset"),
    }


def firmware_lines(docs):
    """The lines the stand-in prints for these simulator transcripts (one boot each): the scenario
    with its load, then per controller and run its steps and its end (a run cut by a reset has
    none), the scenario's end, and {"done": true} after the last unless it reset the platform.
    The inverse of firmware_scenarios() up to the normalisations; the checks of this script use
    it to make firmware transcripts that differ in one known way."""
    lines = []
    for d in docs:
        boot = d["boots"][0]
        lines.append({"scenario": d["scenario"], "load": d["load"], "loadEvents": boot.get("loadEvents", [])})
        for c in boot["controllers"]:
            for n, r in enumerate(c["runs"]):
                for s in r["steps"]:
                    lines.append({"controller": c["name"], "run": n, "step": s})
                if r["end"] is not None or not boot.get("reset"):
                    lines.append({"controller": c["name"], "run": n, "end": r["end"]})
        if not boot.get("reset"):
            lines.append({"scenarioEnd": d["scenario"]})
    if docs and not docs[-1]["boots"][0].get("reset"):
        lines.append({"done": True})
    return lines


def firmware_scenarios(lines):
    scenarios, current, last = [], None, None
    for line in lines:
        try:
            entry = json.loads(line)
        except ValueError as error:
            raise SystemExit("compare-transcripts: unreadable firmware line (%s): %s" % (error, line))
        last = entry
        if "error" in entry:
            raise SystemExit("compare-transcripts: the firmware stand-in failed: " + entry["error"])
        if "scenario" in entry:
            current = {"scenario": entry["scenario"], "load": entry["load"],
                       "loadEvents": normal_events(entry["loadEvents"], True), "controllers": [],
                       "reset": None, "problems": []}
            scenarios.append(current)
            continue
        if current is None or "scenarioEnd" in entry or "done" in entry:
            continue
        if "problem" in entry:
            current["problems"].append(entry["controller"] + ": " + entry["problem"])
            continue
        name = entry["controller"]
        if not current["controllers"] or current["controllers"][-1]["name"] != name:
            current["controllers"].append({"name": name, "runs": []})
        runs = current["controllers"][-1]["runs"]
        while len(runs) <= entry["run"]:
            runs.append({"steps": [], "end": None})
        run = runs[entry["run"]]
        if "step" in entry:
            step = entry["step"]
            step["events"] = normal_events(step["events"], True)
            run["steps"].append(step)
            if step["response"] == "(reset)":
                resets = [e["type"] for e in step["events"] if e["kind"] == "reset"]
                current["reset"] = {"type": resets[-1] if resets else "?"}
        elif "end" in entry and entry["end"] is not None:
            entry["end"]["events"] = normal_events(entry["end"]["events"], True)
            run["end"] = entry["end"]
    return scenarios, last


def main():
    with open(sys.argv[1], encoding="utf-8") as f:
        lines = [l for l in f.read().splitlines() if l.strip()]
    firmware, last = firmware_scenarios(lines)
    sims = []
    for path in sys.argv[2:]:
        with open(path, encoding="utf-8") as f:
            sims.append(normal_sim(json.load(f)))
    failures = 0
    if len(firmware) != len(sims):
        print("compare-transcripts: the VM played %d scenarios, the simulator %d" % (len(firmware), len(sims)))
        failures += 1
    for fw, sim in zip(firmware, sims):
        fw_problems = fw.pop("problems")
        if fw_problems:
            print("firmware problems in %r: %s" % (fw["scenario"], "; ".join(fw_problems)))
        a = json.dumps(sim, indent=1, sort_keys=True).splitlines()
        b = json.dumps(fw, indent=1, sort_keys=True).splitlines()
        if a != b:
            failures += 1
            print("=== scenario %r: simulator (-) and OVMF (+) differ" % sim["scenario"])
            for d in difflib.unified_diff(a, b, "simulator", "ovmf", n=4, lineterm=""):
                print(d)
        else:
            steps = sum(len(r["steps"]) for c in fw["controllers"] for r in c["runs"])
            print("same: %s (%d controllers, %d steps%s)" % (
                sim["scenario"], len(fw["controllers"]), steps,
                ", reset %s" % fw["reset"]["type"] if fw["reset"] else ""))
    # N5: a scenario that resets must be the last, and its step the last line the VM printed.
    for i, sim in enumerate(sims):
        if sim["reset"] is None:
            continue
        if i != len(sims) - 1:
            print("compare-transcripts: %r resets the platform but is not the last scenario" % sim["scenario"])
            failures += 1
        elif last is None or "step" not in last or last["step"]["action"] != "RestartPlatform" \
                or last["step"]["response"] != "(reset)":
            print("compare-transcripts: the last line before the reset is not the RestartPlatform step: %s"
                  % json.dumps(last))
            failures += 1
    if sims and sims[-1]["reset"] is None and (last is None or "done" not in last):
        print("compare-transcripts: the firmware stand-in did not finish (last line: %s)" % json.dumps(last))
        failures += 1
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
