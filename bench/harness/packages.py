"""Debian packages unpacked into a folder instead of installed.

The FTP daemons' packages conflict with each other, and a benchmark should not install five servers
on anybody's machine.
"""

import shutil
import subprocess
from pathlib import Path


class PackageError(Exception):
    """A package could not be fetched; the message is for the user."""


def unpacked(name: str, into: Path) -> Path:
    """Returns the folder with the files of the package and of what it needs and this machine
    lacks. They are downloaded once."""
    complete = into / ".complete"
    if not complete.exists():
        archives = into / "archives"
        (archives / "partial").mkdir(parents=True, exist_ok=True)
        _run("apt-get", "install", "--download-only", "--reinstall", "--yes",
             "--no-install-recommends", "-o", f"Dir::Cache::archives={archives}", name)
        for archive in archives.glob("*.deb"):
            _run("dpkg-deb", "--extract", str(archive), str(into))
        shutil.rmtree(archives)
        complete.touch()
    return into


def library_path(root: Path) -> str:
    """Returns LD_LIBRARY_PATH for the programs unpacked there."""
    folders = {library.parent for library in root.rglob("*.so*") if "lib" in library.parts}
    return ":".join(sorted(map(str, folders)))


def _run(*command: str) -> None:
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode:
        raise PackageError(f"{' '.join(command)} failed; perhaps apt-get update helps.\n{done.stderr}")
