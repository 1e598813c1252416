"""check-executable.py TREE DEBUG VERSION: reads the files of an install tree and tells all that is wrong with them.

TREE is the folder as it is shipped, DEBUG the split debug file, VERSION the one that the build has, such as 1.0.0.0.
"""

import binascii
import struct
import sys
import xml.etree.ElementTree as xml
from pathlib import Path

import pefile

LARGEST_PROGRAM = 256 * 1024
ASSEMBLY = "Brenvault.Runtime"
RUNTIME_LIBRARIES = {"libgcc_s_dw2-1.dll", "libstdc++-6.dll"}
TREE = {"Launcher.exe", ASSEMBLY, f"{ASSEMBLY}/{ASSEMBLY}.manifest"} | {f"{ASSEMBLY}/{name}" for name in RUNTIME_LIBRARIES}
# All but the runtime's are on the platform's list of known libraries: they come from its own folder, whatever lies beside
# the program. An import that is not would be taken from there.
PROGRAM_IMPORTS = {"ADVAPI32.dll", "KERNEL32.dll", "msvcrt.dll", "SHLWAPI.dll", "USER32.dll"} | RUNTIME_LIBRARIES
RUNTIME_IMPORTS = {"KERNEL32.dll", "msvcrt.dll"} | RUNTIME_LIBRARIES

# Executable, line numbers and symbols stripped, 32 bits; not: relocations stripped.
PROGRAM_FILE_FLAGS = 0x0002 | 0x0004 | 0x0008 | 0x0100
LIBRARY_FILE_FLAGS = PROGRAM_FILE_FLAGS | 0x0200 | 0x2000  # debug information apart, a library
# ASLR and DEP; not: free of exception handlers (0x0400), without a manifest (0x0200).
LOADER_FLAGS = 0x0040 | 0x0100
WRITABLE_CODE = 0x80000000 | 0x20000000

ICON = Path(__file__).parents[1] / "GameLauncher" / "Resources" / "Launcher.ico"
ICON_GROUP = 101
ICON_IMAGES = sorted((size, bits) for size in (16, 32, 48, 64) for bits in (8, 32))

MANIFEST_NAMES = {
    "asm": "urn:schemas-microsoft-com:asm.v1",
    "trust": "urn:schemas-microsoft-com:asm.v3",
    "compatibility": "urn:schemas-microsoft-com:compatibility.v1",
}
SUPPORTED_SYSTEMS = {
    "{e2011457-1546-43c5-a5fe-008deee3d3f0}",  # Windows Vista
    "{35138b9a-5d96-4fbd-8e2d-a2440225f93a}",  # Windows 7
    "{4a2f28e3-53b9-4441-ba9c-d69d4a4a6e38}",  # Windows 8
    "{1f676c76-80e1-4239-95bb-83d0f6d0da78}",  # Windows 8.1
    "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}",  # Windows 10 and 11
}

VERSION_LANGUAGE = b"040904b0"  # US English, UTF-16
VERSION_TEXTS = {
    "CompanyName": "Brenvault",
    "FileDescription": "The Brenvault Launcher",
    "InternalName": "Brenvault Launcher",
    "OriginalFilename": "Launcher.exe",
    "ProductName": "Brenvault",
}


def resources(pe, kind):
    """The resources of a kind: their ids and contents, in the file's order."""
    root = getattr(pe, "DIRECTORY_ENTRY_RESOURCE", None)
    for entry in root.entries if root else []:
        if entry.id == pefile.RESOURCE_TYPE[kind]:
            for resource in entry.directory.entries:
                place = resource.directory.entries[0].data.struct
                yield resource.id, pe.get_data(place.OffsetToData, place.Size)


def sections(pe):
    """The sections by name. A long name stands in the string table behind the symbols."""
    strings = pe.FILE_HEADER.PointerToSymbolTable + 18 * pe.FILE_HEADER.NumberOfSymbols
    found = {}
    for section in pe.sections:
        name = section.Name.rstrip(b"\0")
        if name.startswith(b"/"):
            name = pe.__data__[strings + int(name[1:]) :].split(b"\0", 1)[0]
        found[name.decode()] = section
    return found


def imports(pe):
    """The libraries that it needs at its start, and what it takes from each."""
    return {
        entry.dll.decode(): {function.name for function in entry.imports}
        for entry in getattr(pe, "DIRECTORY_ENTRY_IMPORT", [])
    }


def exports(pe):
    return {symbol.name for symbol in pe.DIRECTORY_ENTRY_EXPORT.symbols}


def tree_faults(tree):
    found = {path.relative_to(tree).as_posix() for path in tree.rglob("*")}
    yield from (f"{name} is missing" for name in sorted(TREE - found))
    yield from (f"{name} does not belong to the tree" for name in sorted(found - TREE))


def layout_faults(pe):
    """The platform refuses a gap between two sections, which tools that add one can leave; Wine does not."""

    def aligned(size):
        return -(-size // pe.OPTIONAL_HEADER.SectionAlignment) * pe.OPTIONAL_HEADER.SectionAlignment

    end = aligned(pe.OPTIONAL_HEADER.SizeOfHeaders)
    for name, section in sections(pe).items():
        if section.VirtualAddress != end:
            yield f"a gap before the section {name}"
        end = aligned(section.VirtualAddress + section.Misc_VirtualSize)
    if end != pe.OPTIONAL_HEADER.SizeOfImage:
        yield "the sections do not end with the image"


def image_faults(pe, file_flags, allowed_imports):
    """What programs and libraries have in common."""
    header = pe.FILE_HEADER
    if header.Machine != pefile.MACHINE_TYPE["IMAGE_FILE_MACHINE_I386"]:
        yield "not built for i386"
    if header.Characteristics != file_flags:
        yield f"its kind is {header.Characteristics:#06x}, not {file_flags:#06x}"
    if pe.OPTIONAL_HEADER.DllCharacteristics != LOADER_FLAGS:
        yield f"its loader flags are {pe.OPTIONAL_HEADER.DllCharacteristics:#06x}, not {LOADER_FLAGS:#06x}"
    if not any(block.entries for block in getattr(pe, "DIRECTORY_ENTRY_BASERELOC", [])):
        yield "no relocations"
    if header.NumberOfSymbols or any(name.startswith(".debug") for name in sections(pe)):
        yield "not stripped"
    if any(section.Characteristics & WRITABLE_CODE == WRITABLE_CODE for section in pe.sections):
        yield "code that can be written to"
    yield from layout_faults(pe)
    if not imports(pe) or hasattr(pe, "DIRECTORY_ENTRY_DELAY_IMPORT"):
        yield "no imports at its start, or some later"
    yield from (f"imports {name}" for name in sorted(set(imports(pe)) - allowed_imports))


def debug_link_faults(pe, debug):
    if ".gnu_debuglink" not in sections(pe):
        yield "no link with the debug file"
        return
    link = sections(pe)[".gnu_debuglink"].get_data()
    name = link[: link.index(b"\0")]
    checksum = struct.unpack_from("<I", link, (len(name) + 4) & ~3)[0]
    if name.decode() != debug.name or checksum != binascii.crc32(debug.read_bytes()):
        yield f"the debug file is not {debug.name}"
    if ".debug_info" not in sections(pefile.PE(debug, fast_load=True)):
        yield f"{debug.name} has no debug information"


def identity(element):
    return element.attrib if element is not None else None


def manifest_faults(pe, assembly_manifest, version):
    texts = dict(resources(pe, "RT_MANIFEST"))
    if list(texts) != [1]:
        yield f"manifests {list(texts)}, not the program's one"
        return
    manifest = xml.fromstring(texts[1])
    level = manifest.find(".//trust:requestedExecutionLevel", MANIFEST_NAMES)
    if level is None or level.attrib != {"level": "asInvoker", "uiAccess": "false"}:
        yield "another execution level than asInvoker without uiAccess"
    systems = {system.get("Id") for system in manifest.findall(".//compatibility:supportedOS", MANIFEST_NAMES)}
    if systems != SUPPORTED_SYSTEMS:
        yield f"supported systems differ by {sorted(systems ^ SUPPORTED_SYSTEMS)}"

    assembly = xml.fromstring(assembly_manifest)
    own_path, wanted_path = "asm:assemblyIdentity", "asm:dependency/asm:dependentAssembly/asm:assemblyIdentity"
    runtime = {"type": "win32", "name": ASSEMBLY, "version": version, "processorArchitecture": "x86"}
    if [identity(element) for element in manifest.findall(wanted_path, MANIFEST_NAMES)] != [runtime]:
        yield f"does not ask for the assembly {ASSEMBLY} {version}"
    if identity(assembly.find(own_path, MANIFEST_NAMES)) != runtime:
        yield f"the assembly beside it is not {ASSEMBLY} {version}"
    if identity(manifest.find(own_path, MANIFEST_NAMES)) != runtime | {"name": "Brenvault.Launcher"}:
        yield "the manifest has another name or version"
    if {root.get("manifestVersion") for root in (manifest, assembly)} != {"1.0"}:
        yield "a manifest of an unknown kind"
    if {file.get("name") for file in assembly.findall("asm:file", MANIFEST_NAMES)} != RUNTIME_LIBRARIES:
        yield "the assembly's manifest names other files than it has"


def icon_file():
    """The images of the icon file: what a group says of each, and the image."""
    data = ICON.read_bytes()
    for index in range(struct.unpack_from("<H", data, 4)[0]):
        description, place = struct.unpack_from("<12sI", data, 6 + 16 * index)
        size = struct.unpack_from("<I", description, 8)[0]
        yield description, data[place : place + size]


def icon_faults(pe):
    """A group is the directory of an icon file with resource ids in place of the images' places."""
    images, groups = dict(resources(pe, "RT_ICON")), dict(resources(pe, "RT_GROUP_ICON"))
    if list(groups) != [ICON_GROUP]:
        yield f"icon groups {list(groups)}, not {ICON_GROUP} alone"
        return
    group = groups[ICON_GROUP]
    entries = [struct.unpack_from("<12sH", group, 6 + 14 * i) for i in range(struct.unpack_from("<H", group, 4)[0])]
    if [(description, images.get(image)) for description, image in entries] != list(icon_file()):
        yield "its icon is not Launcher.ico"
    if len(images) != len(entries):
        yield "icon images that no group has"
    sizes = [struct.unpack("<BBBBHH4x", description) for description, _ in entries]
    if sorted((size[0], size[5]) for size in sizes) != ICON_IMAGES or any(size[0] != size[1] for size in sizes):
        yield f"icon images are {sizes}"


def version_faults(pe, version):
    fixed = pe.VS_FIXEDFILEINFO[0]
    for name in ("File", "Product"):
        high, low = getattr(fixed, f"{name}VersionMS"), getattr(fixed, f"{name}VersionLS")
        numbers = f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"
        if numbers != version:
            yield f"the version resource's {name.lower()} version is {numbers}, not {version}"
    if (fixed.FileFlags, fixed.FileOS, fixed.FileType) != (0, 0x40004, 1):
        yield "the version resource is not that of a released 32-bit program"

    blocks = {block.Key: block for block in pe.FileInfo[0]}
    texts = [
        (table.LangID, {key.decode(): value.decode() for key, value in table.entries.items()})
        for table in blocks[b"StringFileInfo"].StringTable
    ]
    expected = VERSION_TEXTS | {"FileVersion": version, "ProductVersion": version}
    if texts != [(VERSION_LANGUAGE, expected)]:
        yield f"the version resource's texts are {texts}"
    # A reader finds the texts through this pair of language and code page.
    if [variable.entry for variable in blocks[b"VarFileInfo"].Var] != [{b"Translation": "0x0409 0x04b0"}]:
        yield "the version resource's texts cannot be found"


def program_faults(pe, assembly_manifest, debug, version):
    if len(pe.__data__) > LARGEST_PROGRAM:
        yield f"{len(pe.__data__)} bytes, more than {LARGEST_PROGRAM}"
    if pe.OPTIONAL_HEADER.Subsystem != pefile.SUBSYSTEM_TYPE["IMAGE_SUBSYSTEM_WINDOWS_GUI"]:
        yield "no GUI program"
    if pe.FILE_HEADER.TimeDateStamp != 0:
        yield "it has a link time"
    yield from image_faults(pe, PROGRAM_FILE_FLAGS, PROGRAM_IMPORTS)
    yield from debug_link_faults(pe, debug)
    yield from manifest_faults(pe, assembly_manifest, version)
    yield from icon_faults(pe)
    yield from version_faults(pe, version)


def runtime_faults(program, libraries):
    """The libraries of the assembly by name, and whether they and the program fit together."""
    if not set(imports(program)) & RUNTIME_LIBRARIES:
        yield "Launcher.exe: imports nothing of the runtime assembly"
    for name, library in libraries.items():
        yield from (f"{name}: {fault}" for fault in image_faults(library, LIBRARY_FILE_FLAGS, RUNTIME_IMPORTS))
        for user in (program, *libraries.values()):
            if not imports(user).get(name, set()) <= exports(library):
                yield f"{name}: lacks functions that others import"


def faults(tree, debug, version):
    missing = list(tree_faults(tree))
    if missing:
        yield from missing
        return
    program = pefile.PE(tree / "Launcher.exe")
    assembly_manifest = (tree / ASSEMBLY / f"{ASSEMBLY}.manifest").read_bytes()
    yield from (f"Launcher.exe: {fault}" for fault in program_faults(program, assembly_manifest, debug, version))
    yield from runtime_faults(program, {name: pefile.PE(tree / ASSEMBLY / name) for name in RUNTIME_LIBRARIES})


def main():
    tree, debug, version = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
    found = list(faults(tree, debug, version))
    if found:
        print("\n".join(found))
        return 1
    program = tree / "Launcher.exe"
    imported = ", ".join(sorted(imports(pefile.PE(program))))
    print(f"Launcher.exe {version}: {program.stat().st_size} of {LARGEST_PROGRAM} bytes, imports {imported}")
    return 0


sys.exit(main())
