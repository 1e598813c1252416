"""Runs a family's benchmarks, ours and the peers' in turn, each in a process of its own, and prints the ratios.

    compare-benchmarks.py FAMILY PROGRAM [WORD]

Only the measurements whose name has the word in it are run. Times are processor time, the user's and the system's:
what else the machine does at the same time counts less; a benchmark that counts bytes is measured by those. Files
of the benchmarks lie beside the program. The status is 77 where no name has the word.
"""

import json
import statistics
import subprocess
import sys
from pathlib import Path

ROUNDS = 9
SECONDS_A_PROCESS = "0.1"
SECONDS_UNTIL_STUCK = 120
STATUS_NOTHING_NAMED_SO = 77

# What is measured, the peer, the largest ratio that is good enough; None: for information.
TEXT = [
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
CONFIG = [
    ("parse 200 bytes", "glib", 1.0),
    ("parse 200 bytes", "simpleini", 1.0),
    ("parse 200 bytes", "inih", 1.0),
    ("parse 1 MiB", "glib", 1.0),
    ("parse 1 MiB", "simpleini", 1.0),
    ("parse 1 MiB", "inih", 1.0),
    ("parse 64 MiB", "glib", 1.2),
    ("parse 64 MiB", "simpleini", 1.0),
    ("parse 64 MiB", "inih", 1.0),
    ("memory of 1 MiB", "glib", 1.7),
    ("memory of 64 MiB", "glib", 1.7),
    ("write 1 MiB", "glib", 1 / 4),
    ("look up", "glib string", 1.3),
    ("look up", "glib value", 1.3),
]
STREAMS = [
    ("read by bytes", "getc", 6.0),
    ("read by 64 bytes", "fread", 1.5),
    ("write by bytes", "putc", 6.0),
    ("write by 64 bytes", "fwrite", 1.5),
]
FILE_SYSTEM = [
    ("load 64 MiB, LoadFile", "read", 1.1),
    ("load 64 MiB, CFileStream", "read", 1.1),
    ("load 200 bytes, LoadFile", "read", 1.5),
    ("load 200 bytes, CFileStream", "read", 1.5),
    ("index of 20,000 files", "nftw", 1.3),
    ("200,000 file infos", "stat", 1 / 6),
]
CHECKSUMS = [
    (f"{name}, {size}", peer, limit)
    for name, peer, limit in [
        ("crc", "zlib", 1.0),
        ("crc", "libdeflate", 1.2),
        ("crc by tables", "zlib", None),
        ("accumulator", "isal", 1.2),
        ("accumulator", "plain", 1.0),
        ("accumulator", "zlib", 1.0),
        ("crc wide", "zlib", 1.0),
    ]
    for size in ("64 B", "4 KiB", "64 MiB")
]
FAMILIES = {
    "text": TEXT,
    "config": CONFIG,
    "streams": STREAMS,
    "filesystem": FILE_SYSTEM,
    "checksums": CHECKSUMS,
}


def measure(program, benchmark):
    """The nanoseconds of one iteration, or the bytes, in a process that runs this benchmark alone."""
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
    return ("bytes", result["bytes"]) if "bytes" in result else ("time", result["cpu_time"])


def shown(quantity, value):
    units = ("B", "kB", "MB") if quantity == "bytes" else ("ns", "us", "ms")
    for unit in units[:-1]:
        if value < 1000:
            return f"{value:.1f} {unit}"
        value /= 1000
    return f"{value:.1f} {units[-1]}"


def compare(program, name, peer):
    ours, theirs = [], []
    for _ in range(ROUNDS):
        quantity, value = measure(program, f"{name}/ours")
        ours.append(value)
        theirs.append(measure(program, f"{name}/{peer}")[1])
    return quantity, statistics.median(ours), statistics.median(theirs)


def main():
    measurements = FAMILIES[sys.argv[1]]
    program = Path(sys.argv[2]).resolve()
    word = sys.argv[3] if len(sys.argv) > 3 else ""
    if not any(word in name for name, _, _ in measurements):
        sys.exit(STATUS_NOTHING_NAMED_SO)
    print(f"Medians of {ROUNDS} processes each, ours and the peer's in turn; a limit is the largest ratio that is good.")
    print(f"{'':32}{'ours':>10}{'peer':>10}  {'':12}{'ratio':>6}{'limit':>7}")
    for name, peer, limit in measurements:
        if word not in name:
            continue
        quantity, ours, theirs = compare(program, name, peer)
        verdict = "" if limit is None else f"{limit:7.2f}{'  missed' if ours / theirs > limit else ''}"
        print(f"{name:32}{shown(quantity, ours):>10}{shown(quantity, theirs):>10}  {peer:12}{ours / theirs:6.2f}{verdict}", flush=True)


main()
