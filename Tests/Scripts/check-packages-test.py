"""check-packages-test.py DIST VERSION: damages good archives and their list in one way after the other and expects that
scripts/check-packages.py names each damage."""

import json
import shutil
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path

DIST, VERSION = Path(sys.argv[1]), sys.argv[2]
CHECKER = Path(__file__).parents[2] / "scripts" / "check-packages.py"
LIST = f"brenvault-launcher-{VERSION}.spdx.json"
LAUNCHER, LIBRARY = f"brenvault-launcher-{VERSION}.zip", f"plinth-{VERSION}-windows.zip"


def listed(change):
    """Damage to the list."""

    def damage(folder):
        document = json.loads((folder / LIST).read_text(encoding="utf-8"))
        change(document)
        (folder / LIST).write_text(json.dumps(document), encoding="utf-8")

    return damage


def added(archive, name):
    def damage(folder):
        with zipfile.ZipFile(folder / archive, "a") as packed:
            packed.writestr(name, "more")

    return damage


def last_package(field, value):
    return listed(lambda document: document["packages"][-1].__setitem__(field, value))


DAMAGES = [
    (f"{LIBRARY}: ./include/Plinth/More.h differs", added(LIBRARY, "include/Plinth/More.h")),
    (f"{LAUNCHER}: is another one", added(LAUNCHER, "More.txt")),
    (f"{LIBRARY}: lib/libPlinth.a is missing", lambda folder: shutil.copy(folder / LAUNCHER, folder / LIBRARY)),
    (f"{LIBRARY}: is not in the list", last_package("packageFileName", "another.zip")),
    ("differs from the list", listed(lambda document: document["files"].pop())),
    ("a relationship of something", listed(lambda document: document["files"].pop())),
    ("has another verification code", listed(lambda document: document["relationships"].pop())),
    ("the same identifier", listed(lambda document: document["files"].append(document["files"][0]))),
    ("is no identifier", last_package("SPDXID", "plinth")),
    ("has no licence", listed(lambda document: document["files"][0].pop("licenseConcluded"))),
    ("spdxVersion is SPDX-2.2", listed(lambda document: document.update(spdxVersion="SPDX-2.2"))),
    ("when it was made", listed(lambda document: document["creationInfo"].update(created="today"))),
]


def complaints(folder):
    run = subprocess.run(
        [sys.executable, CHECKER, folder, VERSION], capture_output=True, text=True, check=False, timeout=60
    )
    return run.stdout if run.returncode == 1 else f"exit code {run.returncode}: {run.stderr}"


def main():
    unseen = []
    for expected, damage in DAMAGES:
        with tempfile.TemporaryDirectory() as folder:
            for name in DIST.glob(f"*-{VERSION}*"):
                shutil.copy(name, folder)
            damage(Path(folder))
            found = complaints(folder)
        if expected not in found:
            unseen.append(f"Damage not seen: {expected}; found: {found}")
    print("\n".join(unseen) if unseen else f"Each of {len(DAMAGES)} damages to the archives is seen")
    return 1 if unseen else 0


sys.exit(main())
