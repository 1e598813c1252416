"""check-packages.py DIST VERSION: reads the archives that scripts/package made in DIST, and the list of what is in them, and
tells all that is wrong with them: what is in one and not in the other, and what the form SPDX 2.3 forbids."""

import hashlib
import json
import re
import sys
import zipfile
from pathlib import Path

ARCHIVES = {
    "brenvault-launcher-{}.zip": {"Launcher.exe", "Brenvault.Runtime/Brenvault.Runtime.manifest"},
    "brenvault-launcher-{}-debug.zip": {"Launcher.debug"},
    "plinth-{}-windows.zip": {
        "include/Platform/Win32.h",
        "include/Plinth/Text/CString.h",
        "lib/cmake/Plinth/PlinthConfig.cmake",
        "lib/libPlinth.a",
    },
}
FORM = {
    "spdxVersion": r"SPDX-2\.3",
    "dataLicense": r"CC0-1\.0",
    "SPDXID": r"SPDXRef-DOCUMENT",
    "name": r".+",
    "documentNamespace": r"[a-z]+:[^#]+",
}
DATE = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ"
ID = r"SPDXRef-[A-Za-z0-9.-]+"


def checksum(element, algorithm):
    return next((c["checksumValue"] for c in element["checksums"] if c["algorithm"] == algorithm), None)


def form_faults(document):
    for field, form in FORM.items():
        if not re.fullmatch(form, document.get(field, "")):
            yield f"{field} is {document.get(field)}"
    if not re.fullmatch(DATE, document["creationInfo"]["created"]) or not document["creationInfo"]["creators"]:
        yield "when it was made, or by what, is not told"
    elements = document["packages"] + document["files"]
    ids = [element["SPDXID"] for element in elements] + [document["SPDXID"]]
    yield from (f"{name} is no identifier" for name in ids if not re.fullmatch(ID, name))
    if len(ids) != len(set(ids)):
        yield "two elements have the same identifier"
    for relation in document["relationships"]:
        if not {relation["spdxElementId"], relation["relatedSpdxElement"]} <= set(ids):
            yield f"a relationship of something that is not there: {relation}"
    for element in elements:
        if "licenseConcluded" not in element or "copyrightText" not in element:
            yield f"{element['SPDXID']} has no licence or copyright"


def contained(document, package):
    """The files of a package."""
    ids = {
        relation["relatedSpdxElement"]
        for relation in document["relationships"]
        if relation["spdxElementId"] == package["SPDXID"] and relation["relationshipType"] == "CONTAINS"
    }
    return [file for file in document["files"] if file["SPDXID"] in ids]


def archive_faults(archive, expected, document):
    package = next((p for p in document["packages"] if p.get("packageFileName") == archive.name), None)
    if package is None:
        yield "is not in the list"
        return
    if checksum(package, "SHA256") != hashlib.sha256(archive.read_bytes()).hexdigest():
        yield "is another one than the list has"
    files = contained(document, package)
    listed = {file["fileName"]: checksum(file, "SHA256") for file in files}
    with zipfile.ZipFile(archive) as packed:
        found = {f"./{name}": hashlib.sha256(packed.read(name)).hexdigest() for name in packed.namelist()}
    yield from (f"{name} differs from the list" for name, _ in sorted(set(found.items()) ^ set(listed.items())))
    yield from (f"{name} is missing" for name in sorted(expected) if f"./{name}" not in found)
    code = hashlib.sha1("".join(sorted(checksum(file, "SHA1") for file in files)).encode()).hexdigest()
    if package["packageVerificationCode"]["packageVerificationCodeValue"] != code:
        yield "has another verification code"


def main():
    folder, version = Path(sys.argv[1]), sys.argv[2]
    document = json.loads((folder / f"brenvault-launcher-{version}.spdx.json").read_text(encoding="utf-8"))
    faults = [f"The list: {fault}" for fault in form_faults(document)]
    for name, expected in ARCHIVES.items():
        archive = folder / name.format(version)
        faults += [f"{archive.name}: {fault}" for fault in archive_faults(archive, expected, document)]
    files = len(document["files"])
    print("\n".join(faults) if faults else f"Archives: {len(ARCHIVES)}, and the list has each of their {files} files")
    return 1 if faults else 0


sys.exit(main())
