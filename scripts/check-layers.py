"""Checks that the arrows between the layers point one way and that only Platform/ knows a system.

- An include goes to the own layer or to one below it; includes are written from the root.
- Outside Platform/ no #if names a system and no header is included that is not the standard library's, but for the
  processor's in Plinth/, the tests' and, in the folders of Benchmarks/, the peers'.
"""

import re
import subprocess
import sys
from pathlib import Path

# From the top down; the longest matching prefix counts. Layers of equal rank may not use each other.
LAYERS = [
    ("Benchmarks/", 110),
    ("Fuzz/", 105),
    ("Tests/", 100),
    ("GameLauncher/", 90),
    ("Plinth/Debug/", 80),
    ("Plinth/Config/", 70),
    ("Plinth/FileSystem/", 70),
    ("Plinth/Streams/", 60),
    ("Plinth/Text/", 50),
    ("Plinth/Debug/Allocation", 40),
    ("Plinth/Debug/Trace", 30),
    ("Plinth/Text/ZeroTerminatedText", 20),
    ("Platform/", 10),
]

STANDARD_HEADERS = set(
    """
    algorithm any array atomic bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits
    clocale cmath compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint
    cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem forward_list fstream
    functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits list locale map
    memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex
    scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf
    string string_view strstream syncstream system_error thread tuple type_traits typeindex typeinfo
    unordered_map unordered_set utility valarray variant vector version
    """.split()
)
# The compiler's own, for what its processor has beside the language; for sources that the build list chooses by it.
PROCESSOR_HEADERS = {"immintrin.h"}
TEST_HEADERS = {"gtest/gtest.h", "benchmark/benchmark.h"}
PEER_HEADERS = {
    "INIReader.h",
    "SimpleIni.h",
    "absl/container/flat_hash_set.h",
    "fcntl.h",
    "ftw.h",
    "glib.h",
    "isa-l/crc.h",
    "libdeflate.h",
    "sys/stat.h",
    "unistd.h",
    "xxhash.h",
    "zlib.h",
}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
CONDITION = re.compile(r"^\s*#\s*(?:if|ifdef|ifndef|elif|elifdef|elifndef)\b(.*)")
SYSTEM_NAME = re.compile(
    r"_WIN(?:32|64)|\bWIN(?:32|64)\b|\b_*(?:linux|unix)\b|__gnu_linux|__MINGW|__CYGWIN|__APPLE__|_MSC_VER|__GLIBC__"
    r"|__has_include"
)


def layer_of(path):
    matches = [(len(prefix), prefix, rank) for prefix, rank in LAYERS if path.startswith(prefix)]
    return max(matches)[1:] if matches else None


def include_fault(path, bracket, target):
    if bracket == "<":
        known = (
            target in STANDARD_HEADERS
            or (path.endswith("X86.cpp") and target in PROCESSOR_HEADERS)
            or (path.startswith(("Tests/", "Benchmarks/")) and target in TEST_HEADERS)
            or (re.match(r"Benchmarks/\w+/", path) and target in PEER_HEADERS)
        )
        return None if known or path.startswith("Platform/") else f"<{target}> belongs into Platform/"
    if not Path(target).is_file():
        return f'"{target}" is not written from the root'
    own, other = layer_of(path), layer_of(target)
    if own is None or other is None:
        return f'"{target}" or its user lies in no layer'
    if own[0] != other[0] and own[1] <= other[1]:
        return f'"{target}" lies above {own[0]}'
    host_only = target.startswith("Platform/Host/") and not path.startswith(("Platform/", "Fuzz/"))
    if host_only and "/Host/" not in path:
        return f'"{target}" is the host layer\'s own: use Platform/Win32.h'
    return None


def faults(path):
    for number, line in enumerate(Path(path).read_text(encoding="utf-8").splitlines(), 1):
        include = INCLUDE.match(line)
        condition = CONDITION.match(line)
        fault = include_fault(path, *include.groups()) if include else None
        if condition and SYSTEM_NAME.search(condition.group(1)) and not path.startswith("Platform/"):
            fault = "a system is asked for outside Platform/"
        if fault:
            yield f"{path}:{number}: {fault}"


def main():
    listing = ["git", "ls-files", "--cached", "--others", "--exclude-standard", "--", "*.h", "*.cpp"]
    paths = subprocess.run(listing, check=True, capture_output=True, text=True).stdout.split("\n")
    found = [fault for path in paths if path and Path(path).is_file() for fault in faults(path)]
    print("\n".join(found) if found else f"Layers: {len(paths) - 1} files in order")
    return 1 if found else 0


sys.exit(main())
