"""Prints the side-by-side table of scripts/bench.sh from the benchmark runs.

Time mode reads Google Benchmark's JSON (medians over the repetitions);
instruction mode reads the callgrind dumps each benchmark run leaves, labelled
"bench <name> <iterations> <allocations> <peak bytes>".
"""
import glob
import json
import os
import statistics
import sys

MAP_SIZE = 4 << 20
PROCESSED = 1 << 20

# Row title, benchmark pair, kind, goal ratio. "throughput" rows compare speed
# (higher is better), "cost" rows compare the cost of one call (lower is better).
ROWS = [
    ("base64Encode, 1 MiB", "base64Encode", "throughput", 1.0),
    ("base64Decode, 1 MiB", "base64Decode", "throughput", 1.0),
    ("parseData, enciphered code 60", "parseData", "cost", 1.3),
    ("4 MiB map answer, build + encrypt", "mapAnswer", "cost", 1.1),
    ("resGetPosition to a connected client", "resGetPosition", "cost", 1.5),
]
PEAK_GOAL = 3.0
SENT_PEAK_GOAL = 0.25
POLL_GOAL_NS = 20.0


def from_json(path):
    runs = {}
    with open(path) as f:
        for run in json.load(f)["benchmarks"]:
            if run.get("run_type") == "iteration":
                runs.setdefault(run["run_name"], []).append(run)
    return {
        name: {
            "cost": statistics.median(r["cpu_time"] for r in reps),
            "allocs": statistics.median(r.get("allocs", 0) for r in reps),
            "peak": max(r.get("peak_heap", 0) for r in reps),
        }
        for name, reps in runs.items()
    }


def from_dumps(folder):
    sums = {}
    for path in glob.glob(os.path.join(folder, "callgrind.out*")):
        label, total = None, None
        with open(path) as f:
            for line in f:
                if line.startswith("desc: Trigger: Client Request: bench "):
                    label = line.split("Client Request: ")[1].split()
                elif line.startswith(("totals:", "summary:")):
                    total = int(line.split()[1])
        if label is None or total is None:
            continue
        _, name, iterations, allocations, peak = label
        entry = sums.setdefault(name, [0, 0, 0, 0])
        entry[0] += total
        entry[1] += int(iterations)
        entry[2] += int(allocations)
        entry[3] = max(entry[3], int(peak))
    return {
        name: {"cost": ir / n, "allocs": allocations / n, "peak": peak}
        for name, (ir, n, allocations, peak) in sums.items()
    }


def amount(value, instructions):
    if instructions:
        for unit, scale in (("G", 1e9), ("M", 1e6), ("k", 1e3)):
            if value >= scale:
                return f"{value / scale:.3g}{unit} instr"
        return f"{value:.3g} instr"
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if value >= scale:
            return f"{value / scale:.3g} {unit}"
    return f"{value:.3g} ns"


def describe(run, kind, instructions):
    if kind == "throughput" and not instructions:
        return f"{PROCESSED / run['cost'] * 1e3:.0f} MB/s"
    text = amount(run["cost"], instructions)
    if kind == "cost":
        text += f", {run['allocs']:.0f} allocs"
    return text


def main():
    mode, folder = sys.argv[1], sys.argv[2]
    instructions = mode == "--instructions"
    runs = from_dumps(folder) if instructions else from_json(os.path.join(folder, "runs.json"))
    table = [("operation", "robocomm", "anchor", "ratio", "goal", "met")]
    for title, pair, kind, goal in ROWS:
        ours, anchor = runs[pair + "/robocomm"], runs[pair + "/anchor"]
        if kind == "throughput":
            ratio, goal_text = anchor["cost"] / ours["cost"], f">= {goal}x"
            met = ratio >= goal
        else:
            ratio, goal_text = ours["cost"] / anchor["cost"], f"<= {goal}x"
            met = ratio <= goal
        table.append((title, describe(ours, kind, instructions), describe(anchor, kind, instructions),
                      f"{ratio:.3g}x", goal_text, "yes" if met else "NO"))
    peak = runs["mapAnswer/robocomm"]["peak"] / MAP_SIZE
    anchor_peak = runs["mapAnswer/anchor"]["peak"] / MAP_SIZE
    table.append(("peak extra heap of that answer", f"{peak:.2f}x the map", f"{anchor_peak:.2f}x the map", "",
                  f"<= {PEAK_GOAL}x", "yes" if peak <= PEAK_GOAL else "NO"))
    sent_peak = runs["mapAnswerSent"]["peak"] / MAP_SIZE
    table.append(("extra heap of a 4 MiB map answer sent", f"{sent_peak:.2f}x the map", "", "",
                  f"<= {SENT_PEAK_GOAL}x", "yes" if sent_peak <= SENT_PEAK_GOAL else "NO"))
    pending, idle = runs["poll/pending"], runs["poll/idle"]
    allocation_free = pending["allocs"] == 0 and idle["allocs"] == 0
    if instructions:
        met = "yes" if allocation_free else "NO"
        goal_text = "allocation-free (time: timed mode)"
    else:
        met = "yes" if allocation_free and max(pending["cost"], idle["cost"]) < POLL_GOAL_NS else "NO"
        goal_text = f"< {POLL_GOAL_NS:.0f} ns, allocation-free"
    table.append(("pending poll / idle poll",
                  f"{amount(pending['cost'], instructions)}, {pending['allocs']:.0f} allocs / "
                  f"{amount(idle['cost'], instructions)}", "", "", goal_text, met))

    if mode == "--smoke":
        print("smoke run: a few iterations each, to show the benchmarks build and run; not a measurement")
    widths = [max(len(row[i]) for row in table) for i in range(len(table[0]))]
    for index, row in enumerate(table):
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")
        if index == 0:
            print("|" + "|".join("-" * (width + 2) for width in widths) + "|")


main()
