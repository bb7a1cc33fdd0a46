"""Debian packages unpacked into a folder instead of installed.

The FTP daemons' packages conflict with each other, and a benchmark should not install five servers
on anybody's machine.
"""

import re
import subprocess
import tempfile
from pathlib import Path


class PackageError(Exception):
    """A package could not be fetched; the message is for the user."""


def unpacked(names: list[str], into: Path) -> Path:
    """Returns the folder with the files of the packages and of the libraries that this machine
    lacks. They are downloaded once."""
    complete = into / ".complete"
    if not complete.exists():
        into.mkdir(parents=True, exist_ok=True)
        for package in _wanted(names):
            _unpack(package, into)
        complete.touch()
    return into


def library_path(root: Path) -> str:
    """Returns LD_LIBRARY_PATH for the programs unpacked there."""
    folders = {library.parent for library in root.rglob("*.so*") if "lib" in library.parts}
    return ":".join(sorted(map(str, folders)))


def _wanted(names: list[str]) -> list[str]:
    """Returns the packages and the missing libraries that apt would install with them."""
    libraries = []
    for name in names:
        plan = _run("apt-get", "--simulate", "--no-install-recommends", "install", name)
        libraries += re.findall(r"^Inst (lib\S+)", plan, re.MULTILINE)
    return list(dict.fromkeys(names + libraries))


def _unpack(package: str, into: Path) -> None:
    with tempfile.TemporaryDirectory(dir=into) as folder:
        # apt drops its privileges for the download, and still has to write to the folder.
        Path(folder).chmod(0o777)
        _run("apt-get", "download", package, cwd=folder)
        for archive in Path(folder).glob("*.deb"):
            _run("dpkg-deb", "--extract", str(archive), str(into))


def _run(*command: str, cwd: str | None = None) -> str:
    done = subprocess.run(command, cwd=cwd, capture_output=True, text=True, check=False)
    if done.returncode == 0:
        return done.stdout
    raise PackageError(f"{' '.join(command)} failed; perhaps apt-get update helps.\n{done.stderr}")
