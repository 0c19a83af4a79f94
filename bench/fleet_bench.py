#!/usr/bin/env python3
"""The fleet bridge under load, as scripts/bench.sh --fleet prints it.

usage: fleet_bench.py BRIDGE_PID BROKER_PORT ROBOTS SECONDS
Watches every message under uagv/# for SECONDS with mosquitto_sub, while
reading the bridge's CPU time and resident memory from /proc. The position
age is the time from the robot's answer (the visualization's timestamp) to
its delivery here."""
import json
import os
import subprocess
import sys
import tempfile
import time
from datetime import datetime

pid, port, robots, seconds = sys.argv[1], sys.argv[2], int(sys.argv[3]), float(sys.argv[4])
ticks = os.sysconf("SC_CLK_TCK")


def cpu_seconds():
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / ticks


def rss_mib():
    with open(f"/proc/{pid}/status") as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1]) / 1024
    return 0.0


# A file, not a pipe: a watcher blocked on a full pipe would age the positions.
record = tempfile.TemporaryFile(mode="w+")
watcher = subprocess.Popen(["mosquitto_sub", "-h", "127.0.0.1", "-p", port, "-t", "uagv/#", "-F", "%U %t %p"],
                           stdout=record, text=True)
time.sleep(1)  # the retained messages arrive first; they are not counted
start_cpu, start, window_start = cpu_seconds(), time.monotonic(), time.time()
rss_peak = 0.0
lines = []
deadline = start + seconds
while time.monotonic() < deadline:
    rss_peak = max(rss_peak, rss_mib())
    time.sleep(0.5)
elapsed = time.monotonic() - start
cpu = (cpu_seconds() - start_cpu) / elapsed
window_end = time.time()
watcher.terminate()
watcher.wait()
record.seek(0)
lines = record.readlines()
record.close()

ages, messages = [], 0
for line in lines:
    received, topic, payload = (line.rstrip("\n").split(" ", 2) + ["", ""])[:3]
    received = float(received)
    if not window_start <= received <= window_end:
        continue
    messages += 1
    if topic.endswith("/visualization"):
        try:
            stamp = json.loads(payload)["timestamp"]
        except (ValueError, KeyError):
            continue
        sent = datetime.strptime(stamp, "%Y-%m-%dT%H:%M:%S.%fZ").timestamp() - time.timezone
        ages.append((received - sent) * 1000)

ages.sort()


def percentile(p):
    return ages[min(len(ages) - 1, int(len(ages) * p))] if ages else float("nan")


span = window_end - window_start
print(f"fleet bench: {robots} robots, {seconds:.0f} s")
print(f"  bridge CPU        {cpu * 100:6.1f} % of one core   (goal < 20 %)")
print(f"  bridge RSS peak   {rss_peak:6.1f} MiB            (goal < 64 MiB)")
print(f"  messages          {messages / span:6.0f} /s")
print(f"  position age p50  {percentile(0.5):6.0f} ms")
print(f"  position age p99  {percentile(0.99):6.0f} ms             (goal < 1000 ms)")
