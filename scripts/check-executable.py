"""check-executable.py TREE DEBUG VERSION: reads the files of an install tree and tells all that is wrong with them.

TREE is the folder as it is shipped, DEBUG the split debug file, VERSION the one that the build has, such as 1.0.0.0.
"""

import binascii
import struct
import sys
import xml.etree.ElementTree as xml
from pathlib import Path

import pefile

LARGEST_PROGRAM = 96 * 1024
ASSEMBLY = "Brenvault.Runtime"
RUNTIME_LIBRARIES = {"libgcc_s_dw2-1.dll", "libstdc++-6.dll"}
TREE = {"Launcher.exe", f"{ASSEMBLY}/{ASSEMBLY}.manifest"} | {f"{ASSEMBLY}/{name}" for name in RUNTIME_LIBRARIES}
PROGRAM_IMPORTS = {"KERNEL32.dll", "msvcrt.dll", "SHLWAPI.dll", "USER32.dll"} | RUNTIME_LIBRARIES
RUNTIME_IMPORTS = {"KERNEL32.dll", "msvcrt.dll"} | RUNTIME_LIBRARIES

DLL_FLAGS = [("ASLR", 0x0040, True), ("DEP", 0x0100, True), ("no-SEH", 0x0400, False)]
RELOCATIONS_STRIPPED = 0x0001

ICON_GROUP = 101
ICON_IMAGES = {(size, bits) for size in (16, 32, 48, 64) for bits in (8, 32)}

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
    return {entry.dll.decode() for entry in getattr(pe, "DIRECTORY_ENTRY_IMPORT", [])}


def tree_faults(tree):
    found = {path.relative_to(tree).as_posix() for path in tree.rglob("*") if not path.is_dir()}
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


def image_faults(pe, allowed_imports):
    """What programs and libraries have in common."""
    if pe.FILE_HEADER.Machine != pefile.MACHINE_TYPE["IMAGE_FILE_MACHINE_I386"]:
        yield "not built for i386"
    if pe.FILE_HEADER.NumberOfSymbols or any(name.startswith(".debug") for name in sections(pe)):
        yield "not stripped"
    if pe.FILE_HEADER.Characteristics & RELOCATIONS_STRIPPED or not hasattr(pe, "DIRECTORY_ENTRY_BASERELOC"):
        yield "no relocations"
    for name, flag, wanted in DLL_FLAGS:
        if bool(pe.OPTIONAL_HEADER.DllCharacteristics & flag) != wanted:
            yield f"{name} is {'off' if wanted else 'on'}"
    yield from layout_faults(pe)
    yield from (f"imports {name}" for name in sorted(imports(pe) - allowed_imports))


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
    return dict(element.attrib) if element is not None else None


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
    own = identity(assembly.find("asm:assemblyIdentity", MANIFEST_NAMES))
    wanted = manifest.findall(".//asm:dependentAssembly/asm:assemblyIdentity", MANIFEST_NAMES)
    expected = {"type": "win32", "name": ASSEMBLY, "version": version, "processorArchitecture": "x86"}
    if own != expected or [identity(element) for element in wanted] != [expected]:
        yield f"the manifest does not ask for the assembly {ASSEMBLY} {version} that is there"
    if {file.get("name") for file in assembly.findall("asm:file", MANIFEST_NAMES)} != RUNTIME_LIBRARIES:
        yield "the assembly's manifest names other files than it has"


def icon_image_faults(size, bits, data):
    """An image is a header, a palette, the pixels and a mask of one bit a pixel in rows of whole 32-bit words."""
    palette_end = 40 + (1024 if bits == 8 else 0)
    pixels_end = palette_end + size * size * bits // 8
    mask_size = (size + 31) // 32 * 4 * size
    header = struct.unpack_from("<IiiHHI", data)
    if header != (40, size, 2 * size, 1, bits, 0) or len(data) != pixels_end + mask_size:
        yield f"icon image {size}x{size}, {bits} bits: damaged"
        return
    if bits == 8:
        used = set(data[palette_end:pixels_end])
        colours = {data[40 + 4 * index : 43 + 4 * index] for index in used}
        if len(colours) < size:
            yield f"icon image {size}x{size}, 8 bits: only {len(colours)} colours"
    else:
        alpha = set(data[palette_end + 3 : pixels_end : 4])
        if 255 not in alpha or not alpha - {0, 255}:
            yield f"icon image {size}x{size}, 32 bits: no soft edges in its alpha"


def icon_faults(pe):
    images = dict(resources(pe, "RT_ICON"))
    groups = dict(resources(pe, "RT_GROUP_ICON"))
    if list(groups) != [ICON_GROUP]:
        yield f"icon groups {list(groups)}, not {ICON_GROUP} alone"
        return
    group = groups[ICON_GROUP]
    entries = [struct.unpack_from("<BBBBHHIH", group, 6 + 14 * i) for i in range(struct.unpack_from("<H", group, 4)[0])]
    found = sorted((entry[0], entry[5]) for entry in entries if entry[0] == entry[1])
    if found != sorted(ICON_IMAGES) or {entry[7] for entry in entries} != set(images):
        yield f"icon images (size, bits) are {found}"
        return
    for width, _, _, _, _, bits, _, image in entries:
        yield from icon_image_faults(width, bits, images[image])


def version_faults(pe, version):
    fixed = pe.VS_FIXEDFILEINFO[0]
    for name in ("File", "Product"):
        high, low = getattr(fixed, f"{name}VersionMS"), getattr(fixed, f"{name}VersionLS")
        numbers = f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"
        if numbers != version:
            yield f"the version resource's {name.lower()} version is {numbers}, not {version}"
    tables = [table for block in pe.FileInfo[0] if block.Key == b"StringFileInfo" for table in block.StringTable]
    texts = {key.decode(): value.decode() for table in tables for key, value in table.entries.items()}
    expected = VERSION_TEXTS | {"FileVersion": version, "ProductVersion": version}
    if len(tables) != 1 or texts != expected:
        yield f"the version resource's texts are {texts}"


def program_faults(tree, debug, version):
    path = tree / "Launcher.exe"
    if path.stat().st_size > LARGEST_PROGRAM:
        yield f"{path.stat().st_size} bytes, more than {LARGEST_PROGRAM}"
    pe = pefile.PE(path)
    if pe.OPTIONAL_HEADER.Subsystem != pefile.SUBSYSTEM_TYPE["IMAGE_SUBSYSTEM_WINDOWS_GUI"]:
        yield "no GUI program"
    yield from image_faults(pe, PROGRAM_IMPORTS)
    if not imports(pe) & RUNTIME_LIBRARIES:
        yield "imports nothing of the runtime assembly"
    yield from debug_link_faults(pe, debug)
    yield from manifest_faults(pe, (tree / ASSEMBLY / f"{ASSEMBLY}.manifest").read_bytes(), version)
    yield from icon_faults(pe)
    yield from version_faults(pe, version)


def library_faults(path):
    pe = pefile.PE(path, fast_load=True)
    pe.parse_data_directories(
        [pefile.DIRECTORY_ENTRY["IMAGE_DIRECTORY_ENTRY_IMPORT"], pefile.DIRECTORY_ENTRY["IMAGE_DIRECTORY_ENTRY_BASERELOC"]]
    )
    yield from image_faults(pe, RUNTIME_IMPORTS)


def faults(tree, debug, version):
    missing = list(tree_faults(tree))
    if missing:
        yield from missing
        return
    yield from (f"Launcher.exe: {fault}" for fault in program_faults(tree, debug, version))
    for name in sorted(RUNTIME_LIBRARIES):
        yield from (f"{name}: {fault}" for fault in library_faults(tree / ASSEMBLY / name))


def main():
    tree, debug, version = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
    found = list(faults(tree, debug, version))
    if found:
        print("\n".join(found))
        return 1
    pe = pefile.PE(tree / "Launcher.exe")
    size = (tree / "Launcher.exe").stat().st_size
    print(f"Launcher.exe {version}: {size} of {LARGEST_PROGRAM} bytes, imports {', '.join(sorted(imports(pe)))}")
    return 0


sys.exit(main())
