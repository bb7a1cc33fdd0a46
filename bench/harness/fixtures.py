"""The folder that all servers share, filled on demand and deleted at the end."""

import os
import shutil
from pathlib import Path

KIB = 1024
MIB = 1024 * KIB
GIB = 1024 * MIB

# Realistic dates: a few files a minute, up to weeks.
FIRST_DATE = 1_700_000_000
DATE_STEP = 17


class Fixtures:
    """A context manager; it first removes what a killed run left."""

    def __init__(self, folder: Path):
        self.folder = folder

    def __enter__(self) -> "Fixtures":
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        # Some servers switch to an unprivileged account.
        self.folder.chmod(0o755)
        return self

    def __exit__(self, *_: object) -> None:
        shutil.rmtree(self.folder, ignore_errors=True)

    def file(self, size: int) -> str:
        """Returns the name of a file of that many bytes, which is in the page cache."""
        name = f"file-{size}.bin"
        path = self.folder / name
        if not path.exists():
            with path.open("wb") as file:
                file.truncate(size)
        with path.open("rb", buffering=0) as file:
            while file.read(MIB):
                pass
        return name

    def directory(self, entries: int) -> str:
        """Returns the name of a folder with so many entries; every 20th is a folder itself."""
        name = f"folder-{entries}"
        path = self.folder / name
        if not path.exists():
            path.mkdir()
            for number in range(entries):
                _make_entry(path, number)
        return name


def _make_entry(folder: Path, number: int) -> None:
    if number % 20:
        entry = folder / f"IMG_{number:06}.jpg"
        entry.touch()
    else:
        entry = folder / f"Album {number}"
        entry.mkdir()
    date = FIRST_DATE + number * DATE_STEP
    os.utime(entry, (date, date))
