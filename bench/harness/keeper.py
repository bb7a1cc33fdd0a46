"""Supervises one server: `keeper.py CPUS COMMAND...` (CPUS: "0,1" or "-").

Every process that the server orphans becomes a child of the keeper, which waits for it. So the
keeper accounts for the CPU time of ended children, and nothing outlives it. On SIGTERM, and when
the benchmark itself dies, it ends all of them.
"""

import ctypes
import os
import signal
import sys
import time
from pathlib import Path

PR_SET_PDEATHSIG = 1  # prctl(2)
PR_SET_CHILD_SUBREAPER = 36
PATIENCE = 3.0


def children() -> list[int]:
    listed = Path(f"/proc/self/task/{os.getpid()}/children").read_text(encoding="ascii")
    return [int(pid) for pid in listed.split()]


def end_children() -> None:
    deadline = time.monotonic() + PATIENCE
    while remaining := children():
        patient = time.monotonic() < deadline
        for pid in remaining:
            os.kill(pid, signal.SIGTERM if patient else signal.SIGKILL)
        time.sleep(0.02)
        reap(os.WNOHANG)


def reap(flags: int) -> bool:
    """Waits for one child, or with WNOHANG for all that have ended; false if there are none."""
    try:
        while os.waitpid(-1, flags)[0] != 0 and flags:
            pass
    except ChildProcessError:
        return False
    return True


def main(cpus: str, command: list[str]) -> None:
    libc = ctypes.CDLL(None)
    libc.prctl(PR_SET_CHILD_SUBREAPER, 1)
    libc.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)
    if cpus != "-":
        os.sched_setaffinity(0, {int(cpu) for cpu in cpus.split(",")})
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(end_children()))
    server = os.spawnvp(os.P_NOWAIT, command[0], command)
    print(server, flush=True)
    while reap(0):
        pass


main(sys.argv[1], sys.argv[2:])
