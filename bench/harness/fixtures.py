"""The folder that all servers share, filled on demand and deleted at the end."""

import ctypes
import mmap
import os
import shutil
from pathlib import Path
from typing import BinaryIO

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
        _read(path)
        return name

    def cold_file(self, size: int) -> str:
        """Returns the name of a file of that many bytes, which is on the disk alone."""
        name = f"cold-{size}.bin"
        path = self.folder / name
        if not path.exists():
            noise = os.urandom(MIB)
            with path.open("wb") as file:
                for _ in range(0, size, MIB):
                    file.write(noise)
                os.fsync(file.fileno())
        # In a virtual machine the first use of memory costs much more than the next; so each load
        # is given the memory that was used just before.
        _read(path)
        with path.open("rb") as file:
            os.posix_fadvise(file.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)
            # A little may remain: the network frees what it has sent only with its next packets.
            if (share := _share_in_memory(file)) > 0.01:
                raise OSError(f"{share:.0%} of {path} stays in memory; is it on a disk?")
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


def _read(path: Path) -> None:
    with path.open("rb", buffering=0) as file:
        while file.read(MIB):
            pass


def _share_in_memory(file: BinaryIO) -> float:
    # Private, because ctypes tells the address of a writable mapping only.
    with mmap.mmap(file.fileno(), 0, flags=mmap.MAP_PRIVATE) as mapping:
        start = ctypes.c_char.from_buffer(mapping)
        pages = (ctypes.c_ubyte * (-(-len(mapping) // mmap.PAGESIZE)))()
        failed = ctypes.CDLL(None, use_errno=True).mincore(
            ctypes.byref(start), ctypes.c_size_t(len(mapping)), pages)
        del start
    if failed:
        raise OSError(ctypes.get_errno(), "mincore")
    return sum(page & 1 for page in pages) / len(pages)


def _make_entry(folder: Path, number: int) -> None:
    if number % 20:
        entry = folder / f"IMG_{number:06}.jpg"
        entry.touch()
    else:
        entry = folder / f"Album {number}"
        entry.mkdir()
    date = FIRST_DATE + number * DATE_STEP
    os.utime(entry, (date, date))
