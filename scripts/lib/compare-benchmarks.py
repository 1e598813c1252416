"""Runs the text benchmarks, ours and the peers' in turn, each in a process of its own, and prints the ratios.

    compare-benchmarks.py PROGRAM [WORD]

Only the measurements whose name has the word in it are run. Times are processor time, the user's and the system's:
what else the machine does at the same time counts less. Files of the benchmarks lie beside the program.
"""

import json
import statistics
import subprocess
import sys
from pathlib import Path

ROUNDS = 9
SECONDS_A_PROCESS = "0.1"
SECONDS_UNTIL_STUCK = 120

# What is measured, the peer, the largest ratio of the times that is good enough; None: for information.
MEASUREMENTS = [
    ("intern new", "abseil", 1.5),
    ("intern new", "standard", 1 / 1.3),
    ("intern known", "abseil", 1.5),
    ("intern known", "standard", 1 / 1.3),
    ("hash", "plain", 1 / 1.5),
    ("hash no case", "plain", 1 / 1.5),
    ("hash path", "plain", 1 / 1.5),
    ("hash", "xxhash", None),
    ("build paths", "standard", 1 / 2.5),
    ("equal, same texts", "standard", 1.0),
    ("equal, different texts", "standard", 1.0),
    ("find, short text", "memmem", 1.0),
    ("compare no case, same", "strcasecmp", 1.0),
    ("compare no case, different", "strcasecmp", 1.0),
    ("find, 64 KiB, near the end", "memmem", 1.5),
    ("find, 64 KiB, frequent letters", "memmem", 1.5),
    ("find, 64 KiB, absent", "memmem", 1.5),
    ("trace lines", "write", 1.3),
]


def nanoseconds(program, benchmark):
    """The time of one iteration in a process that runs this benchmark alone."""
    arguments = [
        program,
        f"--benchmark_filter=^{benchmark}(/iterations:1)?$",
        f"--benchmark_min_time={SECONDS_A_PROCESS}",
        "--benchmark_format=json",
    ]
    run = subprocess.run(
        arguments, check=True, stdout=subprocess.PIPE, cwd=program.parent, timeout=SECONDS_UNTIL_STUCK
    )
    (result,) = json.loads(run.stdout)["benchmarks"]
    assert result["time_unit"] == "ns" and not result.get("error_occurred")
    return result["cpu_time"]


def shown(time):
    for unit in ("ns", "us"):
        if time < 1000:
            return f"{time:.1f} {unit}"
        time /= 1000
    return f"{time:.1f} ms"


def compare(program, name, peer):
    ours, theirs = [], []
    for _ in range(ROUNDS):
        ours.append(nanoseconds(program, f"{name}/ours"))
        theirs.append(nanoseconds(program, f"{name}/{peer}"))
    return statistics.median(ours), statistics.median(theirs)


def main():
    program = Path(sys.argv[1]).resolve()
    word = sys.argv[2] if len(sys.argv) > 2 else ""
    print(f"Medians of {ROUNDS} processes each, ours and the peer's in turn; a limit is the largest ratio that is good.")
    print(f"{'':32}{'ours':>10}{'peer':>10}  {'':12}{'ratio':>6}{'limit':>7}")
    for name, peer, limit in MEASUREMENTS:
        if word not in name:
            continue
        ours, theirs = compare(program, name, peer)
        verdict = "" if limit is None else f"{limit:7.2f}{'  missed' if ours / theirs > limit else ''}"
        print(f"{name:32}{shown(ours):>10}{shown(theirs):>10}  {peer:12}{ours / theirs:6.2f}{verdict}", flush=True)


main()
