"""spdx-list.py VERSION SECONDS LIST.spdx.json LAUNCHER.zip DEBUG.zip LIBRARY.zip: writes what is in the archives as a list
of the form SPDX 2.3: each file with its checksums, where it comes from, and the packages of others that went into it. It
is dated SECONDS after 1970 (UTC); the same archives of the same compiler give the same list."""

import hashlib
import json
import subprocess
import sys
import time
import uuid
import zipfile
from pathlib import Path

RUNTIME = "gcc-mingw-w64-i686-win32-runtime"
START_CODE = "mingw-w64-i686-dev"
RUNTIME_LICENCE = "GPL-3.0-or-later WITH GCC-exception-3.1"
START_CODE_LICENCE = "ZPL-2.1"
UNKNOWN = "NOASSERTION"

LIST = "SPDXRef-DOCUMENT"


def of_others(name, licence, summary):
    """A package of the compiler's, of which parts are in the archives."""
    query = ["dpkg-query", "-W", "-f", "${Version}", name]
    return {
        "SPDXID": f"SPDXRef-{name}",
        "name": name,
        "versionInfo": subprocess.run(query, capture_output=True, text=True, check=True).stdout,
        "supplier": "Organization: Debian",
        "downloadLocation": UNKNOWN,
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": UNKNOWN,
        "summary": summary,
    }


def files_of(archive, package):
    """The files of an archive; the package's name makes their ids its own."""
    with zipfile.ZipFile(archive) as packed:
        contents = {name: packed.read(name) for name in packed.namelist()}
    for number, (name, data) in enumerate(contents.items(), 1):
        licence = RUNTIME_LICENCE if name.endswith(".dll") else UNKNOWN
        yield {
            "SPDXID": f"SPDXRef-{package}-file-{number}",
            "fileName": f"./{name}",
            "checksums": [
                {"algorithm": "SHA1", "checksumValue": hashlib.sha1(data).hexdigest()},
                {"algorithm": "SHA256", "checksumValue": hashlib.sha256(data).hexdigest()},
            ],
            "licenseConcluded": licence,
            "licenseInfoInFiles": [UNKNOWN],
            "copyrightText": UNKNOWN,
        }


def verification_code(files):
    """The standard's checksum of a package: that of its files' SHA-1 checksums, in their order."""
    checksums = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return hashlib.sha1("".join(checksums).encode()).hexdigest()


def archive_package(name, version, archive, files, purpose):
    return {
        "SPDXID": f"SPDXRef-{name}",
        "name": name,
        "versionInfo": version,
        "packageFileName": archive.name,
        "checksums": [{"algorithm": "SHA256", "checksumValue": hashlib.sha256(archive.read_bytes()).hexdigest()}],
        "downloadLocation": UNKNOWN,
        "filesAnalyzed": True,
        "packageVerificationCode": {"packageVerificationCodeValue": verification_code(files)},
        "primaryPackagePurpose": purpose,
        "licenseConcluded": UNKNOWN,
        "licenseDeclared": UNKNOWN,
        "licenseInfoFromFiles": [UNKNOWN],
        "copyrightText": UNKNOWN,
    }


def relationship(subject, kind, other):
    return {"spdxElementId": subject, "relationshipType": kind, "relatedSpdxElement": other}


def main():
    version, seconds, target = sys.argv[1], int(sys.argv[2]), Path(sys.argv[3])
    launcher, debug, library = (Path(name) for name in sys.argv[4:])
    archives = [
        ("brenvault-launcher", launcher, "APPLICATION"),
        ("brenvault-launcher-debug", debug, "FILE"),
        ("plinth", library, "LIBRARY"),
    ]
    packages = [
        of_others(RUNTIME, RUNTIME_LICENCE, "The compiler's runtime libraries, stripped: Brenvault.Runtime."),
        of_others(START_CODE, START_CODE_LICENCE, "The start code and the import libraries that a program is linked with."),
    ]
    runtime, start_code = (package["SPDXID"] for package in packages)
    files, relationships = [], []
    for name, archive, purpose in archives:
        own = list(files_of(archive, name))
        package = archive_package(name, version, archive, own, purpose)
        packages.append(package)
        files += own
        relationships.append(relationship(LIST, "DESCRIBES", package["SPDXID"]))
        relationships += [relationship(package["SPDXID"], "CONTAINS", file["SPDXID"]) for file in own]
        for file in own:
            if file["fileName"].endswith(".dll"):
                relationships.append(relationship(file["SPDXID"], "GENERATED_FROM", runtime))
            elif file["fileName"].endswith(".exe"):
                relationships.append(relationship(file["SPDXID"], "STATIC_LINK", start_code))
                relationships.append(relationship(file["SPDXID"], "DYNAMIC_LINK", runtime))

    of_all = hashlib.sha256(json.dumps([packages, files]).encode()).hexdigest()
    document = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": LIST,
        "name": f"brenvault-launcher-{version}",
        "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, of_all)}",
        "creationInfo": {
            "created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds)),
            "creators": [f"Tool: brenvault-package-{version}"],
        },
        "packages": packages,
        "files": files,
        "relationships": relationships,
    }
    target.write_text(json.dumps(document, indent=2) + "\n", encoding="utf-8")


main()
