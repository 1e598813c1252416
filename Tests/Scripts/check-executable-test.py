"""check-executable-test.py TREE DEBUG VERSION: damages a good install tree in one way after the other and expects that
scripts/check-executable.py names each damage."""

import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

import pefile

TREE, DEBUG, VERSION = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
CHECKER = Path(__file__).parents[2] / "scripts" / "check-executable.py"
PROGRAM = "Launcher.exe"
RUNTIME = "Brenvault.Runtime"
ICON_BEGIN = bytes.fromhex("28000000 30000000 60000000 0100 0800")  # the header of 48x48, 8 bits


def replace(name, old, new, offset=0):
    """Damage that writes `new` over what stands at each place of `old`, or so many bytes behind it."""

    def damage(folder):
        data = bytearray((folder / name).read_bytes())
        for place in [match.start() + offset for match in re.finditer(re.escape(old), data)]:
            data[place : place + len(new)] = new
        (folder / name).write_bytes(data)

    return damage


def text(old, new, name=PROGRAM):
    return replace(name, old.encode(), new.encode())


def wide(old, new):
    return replace(PROGRAM, f"\0{old}\0".encode("utf-16-le"), f"\0{new}\0".encode("utf-16-le"))


def header(part, field, change, name=PROGRAM):
    def damage(folder):
        pe = pefile.PE(data=(folder / name).read_bytes(), fast_load=True)
        setattr(getattr(pe, part), field, change(getattr(getattr(pe, part), field)))
        pe.write(folder / name)

    return damage


def flags(change):
    return header("OPTIONAL_HEADER", "DllCharacteristics", change)


LIBRARY = f"{RUNTIME}/libstdc++-6.dll"
DAMAGES = [
    ("is missing", lambda folder: (folder / LIBRARY).unlink()),
    ("does not belong to the tree", lambda folder: (folder / "Launcher.debug").touch()),
    ("more than 98304", lambda folder: (folder / PROGRAM).open("ab").write(bytes(98304))),
    ("Launcher.exe: not built for i386", header("FILE_HEADER", "Machine", lambda _: 0x1C0)),
    ("libstdc++-6.dll: not built for i386", header("FILE_HEADER", "Machine", lambda _: 0x1C0, LIBRARY)),
    ("no GUI program", header("OPTIONAL_HEADER", "Subsystem", lambda _: 3)),
    ("ASLR is off", flags(lambda bits: bits & ~0x40)),
    ("DEP is off", flags(lambda bits: bits & ~0x100)),
    ("no-SEH is on", flags(lambda bits: bits | 0x400)),
    ("no relocations", header("FILE_HEADER", "Characteristics", lambda bits: bits | 1)),
    ("the sections do not end with the image", header("OPTIONAL_HEADER", "SizeOfImage", lambda size: size + 4096)),
    ("a gap before the section", header("OPTIONAL_HEADER", "SectionAlignment", lambda _: 512)),
    ("libstdc++-6.dll: not stripped", header("FILE_HEADER", "NumberOfSymbols", lambda _: 5, LIBRARY)),
    ("imports SHELL32.dll", text("SHLWAPI.dll", "SHELL32.dll")),
    ("libstdc++-6.dll: imports msvcrx.dll", replace(LIBRARY, b"\0msvcrt.dll\0", b"\0msvcrx.dll\0")),
    ("imports nothing of the runtime", text("libgcc_s_dw2-1.dll", "KERNEL32.dll\0")),
    ("no link with the debug file", text(".gnu_debuglink", ".gnu_debuglinx")),
    ("the debug file is not Launcher.debug", text("Launcher.debug", "Launchet.debug")),
    ("another execution level", text('"asInvoker"', '"asInvokex"')),
    ("another execution level", text('uiAccess="false"', 'uiAccess="true" ')),
    ("supported systems differ by", text("8e0f7a12", "8e0f7a13")),
    ("does not ask for the assembly", text('name="Brenvault.Runtime"', 'name="Brenvault.Runtimx"')),
    ("does not ask for the assembly", text('"1.0.0.0"', '"1.0.0.1"', f"{RUNTIME}/{RUNTIME}.manifest")),
    ("names other files", text("libstdc++-6", "libstdc++-7", f"{RUNTIME}/{RUNTIME}.manifest")),
    ("icon images (size, bits) are", replace(PROGRAM, bytes.fromhex("30300000 0100 0800"), b"\x31")),
    ("48x48, 8 bits: damaged", replace(PROGRAM, ICON_BEGIN, b"\x2f", 4)),
    ("48x48, 8 bits: only 1 colours", replace(PROGRAM, ICON_BEGIN, bytes(1024), 40)),
    ("48x48, 32 bits: no soft", replace(PROGRAM, ICON_BEGIN[:14] + b"\x20", b"\xff" * 9216, 40)),
    ("product version is 1.0.0.9", replace(PROGRAM, bytes.fromhex("bd04effe"), b"\x09", 20)),
    ("resource's texts are", wide("The Brenvault Launcher", "The Brenvault Launchex")),
]


def complaints(folder):
    command = [sys.executable, CHECKER, folder, DEBUG, VERSION]
    run = subprocess.run(command, capture_output=True, text=True, check=False, timeout=60)
    return run.stdout if run.returncode == 1 else f"exit code {run.returncode}: {run.stderr}"


def main():
    unseen = []
    for expected, damage in DAMAGES:
        with tempfile.TemporaryDirectory() as parent:
            folder = Path(parent) / "tree"
            shutil.copytree(TREE, folder)
            damage(folder)
            found = complaints(folder)
        if expected not in found:
            unseen.append(f"Damage not seen: {expected}; found: {found}")
    print("\n".join(unseen) if unseen else f"Each of {len(DAMAGES)} damages to the install tree is seen")
    return 1 if unseen else 0


sys.exit(main())
