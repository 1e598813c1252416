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
ASSEMBLY = "Brenvault.Runtime"
RUNTIME_LIBRARIES = ("libgcc_s_dw2-1.dll", "libstdc++-6.dll")
LIBRARY = f"{ASSEMBLY}/libstdc++-6.dll"
ASSEMBLY_MANIFEST = f"{ASSEMBLY}/{ASSEMBLY}.manifest"
DEBUG_FILE = "../Launcher.debug"  # as seen from the tree
IMPORTS, RELOCATIONS = 1, 5  # places among the data directories

# Places in the program.
ICON_DIRECTORY = bytes.fromhex("0000 0100 0800 1010")
ICON_DIRECTORY_ENTRY = bytes.fromhex("30300000 0100 0800")  # 48x48, 8 bits
ICON_IMAGE = bytes.fromhex("28000000 30000000 60000000 0100 0800")
FIXED_VERSION = bytes.fromhex("bd04effe")


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


def wide(characters):
    return characters.encode("utf-16-le")


def version(offset, number):
    return replace(PROGRAM, FIXED_VERSION, bytes([number]), offset)


def parsed(change, name=PROGRAM):
    """Damage to what pefile calls by name."""

    def damage(folder):
        pe = pefile.PE(data=(folder / name).read_bytes())
        change(pe)
        pe.write(folder / name)

    return damage


def header(part, field, change, name=PROGRAM):
    return parsed(lambda pe: setattr(getattr(pe, part), field, change(getattr(getattr(pe, part), field))), name)


def section_flags(pe):
    pe.sections[0].Characteristics |= 0x80000000


def no_directory(index, name=PROGRAM):
    return parsed(lambda pe: setattr(pe.OPTIONAL_HEADER.DATA_DIRECTORY[index], "VirtualAddress", 0), name)


def resource_id(kind, number):
    def change(pe):
        entries = pe.DIRECTORY_ENTRY_RESOURCE.entries
        kinds = next(entry for entry in entries if entry.id == pefile.RESOURCE_TYPE[kind])
        kinds.directory.entries[0].struct.Name = number

    return parsed(change)


def empty_relocations(pe):
    pe.OPTIONAL_HEADER.DATA_DIRECTORY[RELOCATIONS].Size = 8
    pe.DIRECTORY_ENTRY_BASERELOC[0].struct.SizeOfBlock = 8


def copy(old, new):
    return lambda folder: shutil.copyfile(folder / old, folder / new)


def both(first, second):
    return lambda folder: (first(folder), second(folder))


DAMAGES = [
    ("is missing", lambda folder: (folder / LIBRARY).unlink()),
    ("does not belong to the tree", lambda folder: (folder / "Launcher.debug").touch()),
    ("does not belong to the tree", lambda folder: (folder / "empty").mkdir()),
    ("more than 262144", lambda folder: (folder / PROGRAM).open("ab").write(bytes(262144))),
    ("Launcher.exe: not built for i386", header("FILE_HEADER", "Machine", lambda _: 0x1C0)),
    ("libstdc++-6.dll: not built for i386", header("FILE_HEADER", "Machine", lambda _: 0x1C0, LIBRARY)),
    ("no GUI program", header("OPTIONAL_HEADER", "Subsystem", lambda _: 3)),
    ("a link time", header("FILE_HEADER", "TimeDateStamp", lambda _: 1700000000)),
    ("its loader flags are 0x0100", header("OPTIONAL_HEADER", "DllCharacteristics", lambda flags: flags & ~0x40)),
    ("its loader flags are 0x0040", header("OPTIONAL_HEADER", "DllCharacteristics", lambda flags: flags & ~0x100)),
    ("its loader flags are 0x0540", header("OPTIONAL_HEADER", "DllCharacteristics", lambda flags: flags | 0x400)),
    ("its kind is 0x010f", header("FILE_HEADER", "Characteristics", lambda flags: flags | 1)),
    ("no relocations", parsed(empty_relocations)),
    ("no relocations", no_directory(RELOCATIONS)),
    ("libstdc++-6.dll: no imports", no_directory(IMPORTS, LIBRARY)),
    ("code that can be written to", parsed(section_flags)),
    ("the sections do not end with the image", header("OPTIONAL_HEADER", "SizeOfImage", lambda size: size + 4096)),
    ("a gap before the section", header("OPTIONAL_HEADER", "SectionAlignment", lambda _: 512)),
    ("libstdc++-6.dll: not stripped", header("FILE_HEADER", "NumberOfSymbols", lambda _: 5, LIBRARY)),
    ("Launcher.exe: not stripped", text(".gnu_debuglink", ".debug_inform\0")),
    ("imports SHELL32.dll", text("SHLWAPI.dll", "SHELL32.dll")),
    ("libstdc++-6.dll: imports msvcrx.dll", replace(LIBRARY, b"\0msvcrt.dll\0", b"\0msvcrx.dll\0")),
    ("imports nothing of the runtime", both(*(text(name, "KERNEL32.dll\0") for name in RUNTIME_LIBRARIES))),
    ("lacks functions that others import", copy(LIBRARY, f"{ASSEMBLY}/libgcc_s_dw2-1.dll")),
    ("no link with the debug file", text(".gnu_debuglink", ".gnu_debuglinx")),
    ("the debug file is not Launcher.debug", text("Launcher.debug", "Launchet.debug")),
    ("the debug file is not Launcher.debug", lambda folder: (folder / DEBUG_FILE).open("ab").write(b"more")),
    ("Launcher.debug has no debug information", text(".debug_info", ".debug_inft", DEBUG_FILE)),
    ("manifests [2]", resource_id("RT_MANIFEST", 2)),
    ("another execution level", text('"asInvoker"', '"asInvokex"')),
    ("another execution level", text('uiAccess="false"', 'uiAccess="true" ')),
    ("supported systems differ by", text("8e0f7a12", "8e0f7a13")),
    ("does not ask for the assembly", text('name="Brenvault.Runtime"', 'name="Brenvault.Runtimx"')),
    ("the assembly beside it is not", text('"1.0.0.0"', '"1.0.0.1"', ASSEMBLY_MANIFEST)),
    ("names other files", text("libstdc++-6", "libstdc++-7", ASSEMBLY_MANIFEST)),
    ("another name or version", text('name="Brenvault.Launcher"', 'name="Brenvault.Launchex"')),
    ("a manifest of an unknown kind", text('manifestVersion="1.0"', 'manifestVersion="2.0"')),
    ("icon groups [102]", resource_id("RT_GROUP_ICON", 102)),
    ("its icon is not Launcher.ico", replace(PROGRAM, ICON_IMAGE, bytes(1024), 40)),
    ("its icon is not Launcher.ico", resource_id("RT_ICON", 99)),
    ("images that no group has", replace(PROGRAM, ICON_DIRECTORY, b"\x07", 4)),
    ("icon images are", replace(PROGRAM, ICON_DIRECTORY_ENTRY, b"\x31")),
    ("file version is 1.0.0.9", version(12, 9)),
    ("product version is 1.0.0.9", version(20, 9)),
    ("not that of a released 32-bit program", version(28, 1)),
    ("resource's texts are", replace(PROGRAM, wide("The Brenvault Launcher"), wide("The Brenvault Launchex"))),
    ("resource's texts are", replace(PROGRAM, wide("040904b0"), wide("040704b0"))),
    ("texts cannot be found", replace(PROGRAM, bytes.fromhex("0904b004"), bytes.fromhex("0704"))),
]


def complaints(folder):
    command = [sys.executable, CHECKER, folder, folder / DEBUG_FILE, VERSION]
    run = subprocess.run(command, capture_output=True, text=True, check=False, timeout=60)
    return run.stdout if run.returncode == 1 else f"exit code {run.returncode}: {run.stderr}"


def main():
    unseen = []
    for expected, damage in DAMAGES:
        with tempfile.TemporaryDirectory() as parent:
            folder = Path(parent) / "tree"
            shutil.copytree(TREE, folder)
            shutil.copyfile(DEBUG, folder / DEBUG_FILE)
            damage(folder)
            found = complaints(folder)
        if expected not in found:
            unseen.append(f"Damage not seen: {expected}; found: {found}")
    print("\n".join(unseen) if unseen else f"Each of {len(DAMAGES)} damages to the install tree is seen")
    return 1 if unseen else 0


sys.exit(main())
