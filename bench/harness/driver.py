"""The load driver, a separate program: each run is one load and prints its figures as JSON."""

import json
import os
import subprocess
from pathlib import Path

from harness.processes import put_ahead


class LoadError(Exception):
    """The server did not answer as expected."""


class Driver:
    """Runs loads, pinned to the given processors if there are any."""

    def __init__(self, program: Path, ahead: bool, cpus: set[int] | None = None):
        self._program = program
        self._ahead = ahead
        self._cpus = cpus

    def pinned(self, cpus: set[int]) -> "Driver":
        return Driver(self._program, self._ahead, cpus)

    def run(self, mode: str, **options: object) -> dict:
        with self.held(mode, **options) as figures:
            return figures

    def held(self, mode: str, **options: object) -> "_Load":
        """A context manager that keeps the clients connected; its value is their initial figures."""
        words = [f"{name}={value}" for name, value in options.items()]
        return _Load([str(self._program), mode, *words], self._cpus, self._ahead)


class _Load:
    def __init__(self, command: list[str], cpus: set[int] | None, ahead: bool):
        pin = (lambda: os.sched_setaffinity(0, cpus)) if cpus else None
        self._name = " ".join(command[1:])
        self._process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            text=True, start_new_session=True, preexec_fn=pin)
        if ahead:
            put_ahead(self._process.pid)

    def __enter__(self) -> dict:
        try:
            return self._figures()
        except BaseException:
            self.__exit__()
            raise

    def __exit__(self, *_: object) -> None:
        if self._process.poll() is None:
            self._process.kill()
        self._process.communicate()

    def _figures(self) -> dict:
        line = self._process.stdout.readline()
        if not line:
            raise LoadError(f"{self._name}: {self._process.stderr.read().strip()}")
        figures = json.loads(line)
        nothing = figures["units"] == 0 and figures["bytes"] == 0
        if nothing or figures["failures"] * 1000 > figures["units"]:
            raise LoadError(f"{self._name}: {figures['failures']} failures: {figures['failure']}")
        return figures
