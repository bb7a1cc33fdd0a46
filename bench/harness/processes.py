"""Servers as process trees: start, stop, CPU time, memory."""

import os
import re
import signal
import subprocess
import sys
from pathlib import Path

KEEPER = Path(__file__).with_name("keeper.py")
NANOSECONDS = 1e9
TICKS = os.sysconf("SC_CLK_TCK")


class ServerProcess:
    """One server under its keeper; a context manager that stops it."""

    def __init__(self, command: list[str], log: Path, *, cpus: str = "-",
                 environment: dict[str, str] | None = None):
        self._log = log
        with log.open("wb") as output:
            # A session of its own: Ctrl-C is for the benchmark, which then stops the server.
            self._keeper = subprocess.Popen(
                [sys.executable, str(KEEPER), cpus, *command], stdin=subprocess.DEVNULL,
                stdout=output, stderr=subprocess.STDOUT, start_new_session=True,
                env={**os.environ, **(environment or {})})

    def __enter__(self) -> "ServerProcess":
        return self

    def __exit__(self, *_: object) -> None:
        self.stop()

    def put_ahead(self) -> None:
        put_ahead(self._keeper.pid)

    def stop(self) -> None:
        if self._keeper.poll() is None:
            self._keeper.send_signal(signal.SIGTERM)
        self._keeper.wait()

    def has_ended(self) -> bool:
        return self._keeper.poll() is not None

    def log(self) -> str:
        return self._log.read_text(errors="replace")

    def cpu_seconds(self) -> float:
        """Of the whole tree, including ended processes."""
        return _waited_for(self._keeper.pid) + sum(
            own_cpu(pid) + _waited_for(pid) for pid in _descendants(self._keeper.pid))

    def memory_bytes(self) -> int:
        """The proportional set size of the whole tree."""
        return sum(_pss(pid) for pid in _descendants(self._keeper.pid))


def put_ahead(session: int) -> None:
    """Gives the process's session priority over all others on the machine (autogroups in
    sched(7)); a nice value only counts within a session."""
    Path(f"/proc/{session}/autogroup").write_text("-20", encoding="ascii")


def _descendants(root: int) -> list[int]:
    children: dict[int, list[int]] = {}
    for entry in os.listdir("/proc"):
        if entry.isdecimal() and (fields := _stat(int(entry))):
            children.setdefault(int(fields[1]), []).append(int(entry))
    found = list(children.get(root, []))
    for pid in found:
        found += children.get(pid, [])
    return found


def _stat(pid: int) -> list[str]:
    """The fields of /proc/PID/stat from the state on; the name before it may contain anything."""
    try:
        return Path(f"/proc/{pid}/stat").read_text(errors="replace").rpartition(")")[2].split()
    except (FileNotFoundError, ProcessLookupError):
        return []


def _waited_for(pid: int) -> float:
    """CPU time of the ended descendants that were waited for (cutime and cstime)."""
    fields = _stat(pid)
    return (int(fields[13]) + int(fields[14])) / TICKS if fields else 0.0


def own_cpu(pid: int) -> float:
    """With nanosecond resolution: the ticks of /proc/PID/stat are too coarse for short rounds."""
    total = 0
    for thread in Path(f"/proc/{pid}/task").glob("*/schedstat"):
        try:
            total += int(thread.read_text(encoding="ascii").split()[0])
        except (FileNotFoundError, ProcessLookupError):
            continue
    return total / NANOSECONDS


def _pss(pid: int) -> int:
    try:
        rollup = Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    except (FileNotFoundError, ProcessLookupError):
        return 0
    found = re.search(r"^Pss:\s+(\d+) kB", rollup, re.MULTILINE)
    return int(found[1]) * 1024 if found else 0
