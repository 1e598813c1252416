"""zip-folder.py FOLDER ARCHIVE.zip SECONDS: packs a folder's files so that the same files give the same archive: in the
order of their names, all dated SECONDS after 1970 (UTC), without what a file system adds, such as owners.
"""

import sys
import time
import zipfile
from pathlib import Path

BEGIN_OF_ZIP_TIME = (1980, 1, 1, 0, 0, 0)

folder, archive, seconds = Path(sys.argv[1]), Path(sys.argv[2]), int(sys.argv[3])
date = max(time.gmtime(seconds)[:6], BEGIN_OF_ZIP_TIME)
unfinished = archive.with_suffix(".unfinished")
with zipfile.ZipFile(unfinished, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as packed:
    for path in sorted(path for path in folder.rglob("*") if path.is_file()):
        entry = zipfile.ZipInfo(path.relative_to(folder).as_posix(), date)
        entry.compress_type = zipfile.ZIP_DEFLATED
        entry.create_system = 0  # no permissions of a Unix system
        packed.writestr(entry, path.read_bytes())
unfinished.replace(archive)
