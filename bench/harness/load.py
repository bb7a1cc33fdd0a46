"""The programs that generate load; each run is one load and prints its figures as JSON."""

import json
import os
import subprocess
from pathlib import Path

from harness.processes import put_ahead

REQUESTS = Path(__file__).with_name("requests.lua")


class LoadError(Exception):
    """The server did not answer as expected."""


class Load:
    """Runs loads, pinned to the given processors if there are any."""

    def __init__(self, driver: Path, ahead: bool, cpus: set[int] | None = None):
        self._driver = driver
        self._ahead = ahead
        self._cpus = cpus

    def pinned(self, cpus: set[int]) -> "Load":
        return Load(self._driver, self._ahead, cpus)

    def requests(self, url: str, clients: int, seconds: float, *, body: int | None = None,
                 file: int | None = None) -> dict:
        """GETs with a connection each, by wrk; with `file`, of so many bytes at random offsets in
        a file of that size."""
        whole = max(1, round(seconds))  # wrk takes no others
        command = ["wrk", "--threads=1", f"--connections={clients}", f"--duration={whole}",
                   "--timeout=20", "--header=Connection: close", f"--script={REQUESTS}", url]
        if file:
            command += ["--", str(file), str(body)]
        with _Running(command, self._cpus, self._ahead) as figures:
            if body and not body * figures["units"] <= figures["bytes"] < (body + 1024) * (
                    figures["units"] + clients):
                raise LoadError(f"{url}: {figures['bytes']} bytes in {figures['units']} answers")
            return figures

    def run(self, mode: str, **options: object) -> dict:
        with self.held(mode, **options) as figures:
            return figures

    def held(self, mode: str, **options: object) -> "_Running":
        """A context manager that keeps the clients connected; its value is their initial figures."""
        words = [f"{name}={value}" for name, value in options.items()]
        return _Running([str(self._driver), mode, *words], self._cpus, self._ahead)


class _Running:
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
        for line in self._process.stdout:
            if line.startswith("{"):
                break
        else:
            raise LoadError(f"{self._name}: {self._process.stderr.read().strip()}")
        figures = json.loads(line)
        nothing = figures["units"] == 0 and figures["bytes"] == 0
        if nothing or figures["failures"] * 1000 > figures["units"]:
            raise LoadError(f"{self._name}: {figures['failures']} failures: {figures['failure']}")
        return figures
