"""Servers as process trees, each in a control group of its own (cgroups(7), version 2): start, stop,
CPU time, memory."""

import os
import re
import subprocess
import tempfile
import time
from pathlib import Path

PATIENCE = 3.0


def _new_group() -> Path:
    mounts = Path("/proc/mounts").read_text(encoding="utf-8")
    if found := re.search(r"^\S+ (\S+) cgroup2 ", mounts, re.MULTILINE):
        return Path(tempfile.mkdtemp(prefix="quorvel-bench-", dir=found[1]))
    raise RuntimeError("needs control groups of version 2")


class ServerProcess:
    """One running server; a context manager that stops it."""

    def __init__(self, command: list[str], log: Path, *, cpus: set[int] | None = None,
                 environment: dict[str, str] | None = None):
        self._log = log
        self._group = _new_group()

        def enter() -> None:
            (self._group / "cgroup.procs").write_text("0", encoding="ascii")
            if cpus:
                os.sched_setaffinity(0, cpus)

        with log.open("wb") as output:
            # A session of its own: Ctrl-C is for the benchmark, which then stops the server.
            self._process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                start_new_session=True, preexec_fn=enter, env={**os.environ, **(environment or {})})

    def __enter__(self) -> "ServerProcess":
        return self

    def __exit__(self, *_: object) -> None:
        self.stop()

    def put_ahead(self) -> None:
        put_ahead(self._process.pid)

    def stop(self) -> None:
        self._process.terminate()
        deadline = time.monotonic() + PATIENCE
        while self._processes() and time.monotonic() < deadline:
            self._process.poll()
            time.sleep(0.02)
        (self._group / "cgroup.kill").write_text("1", encoding="ascii")
        self._process.wait()
        while self._processes():
            time.sleep(0.02)
        self._group.rmdir()

    def has_ended(self) -> bool:
        return self._process.poll() is not None

    def log(self) -> str:
        return self._log.read_text(errors="replace")

    def cpu_seconds(self) -> float:
        """Of the whole tree, including ended processes."""
        return int(re.search(r"usage_usec (\d+)", self._read("cpu.stat"))[1]) / 1e6

    def memory_bytes(self) -> int:
        """The proportional set size of the whole tree."""
        return sum(_pss(pid) for pid in self._processes())

    def _processes(self) -> list[str]:
        return self._read("cgroup.procs").split()

    def _read(self, name: str) -> str:
        return (self._group / name).read_text(encoding="ascii")


def put_ahead(session: int) -> None:
    """Gives the process's session priority over all others on the machine (autogroups in
    sched(7)); a nice value only counts within a session."""
    Path(f"/proc/{session}/autogroup").write_text("-20", encoding="ascii")


def _pss(pid: str) -> int:
    try:
        rollup = Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii")
    except (FileNotFoundError, ProcessLookupError):
        return 0
    found = re.search(r"^Pss:\s+(\d+) kB", rollup, re.MULTILINE)
    return int(found[1]) * 1024 if found else 0
