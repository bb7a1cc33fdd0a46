"""Runs a measure with all its servers in rounds (A B C, B C A, ...), so that other load on the
machine affects all of them alike."""

import os
import sys
from collections.abc import Callable
from contextlib import ExitStack
from dataclasses import dataclass
from pathlib import Path

from harness import network
from harness.fixtures import Fixtures
from harness.load import Load, LoadError
from harness.measures import Measure, Running
from harness.peers import PEERS_FOLDER, Place, Server
from harness.processes import ServerProcess

Figures = dict[str, list[dict[str, float]]]
WARM_UP_SECONDS = 0.3
FRESH_ROUNDS = 2


@dataclass(frozen=True)
class Effort:
    """How long to measure, and whether at top priority on the machine."""

    rounds: int
    seconds: float
    ahead: bool = False


class Stage:
    """Runs measures with the servers and the driver."""

    def __init__(self, folder: Path, driver: Path, fixtures: Fixtures, effort: Effort):
        self._folder = folder
        self._peers = folder / PEERS_FOLDER
        self._load = Load(driver, effort.ahead)
        self._fixtures = fixtures
        self._effort = effort
        self._failed: set[str] = set()

    def measure(self, measure: Measure, servers: list[Server]) -> Figures:
        """Returns each server's figures by round; a server that fails is left out."""
        if measure.protocol == "ftp":
            network.wait_for_ports()
        runner = _FreshRunner if measure.fresh else _StandingRunner
        figures: Figures = {}
        with ExitStack() as stack:
            standing = {server.name: stack.enter_context(runner(self, measure, server))
                        for server in servers}
            # Memory hardly varies between rounds.
            rounds = min(self._effort.rounds, FRESH_ROUNDS) if measure.fresh else self._effort.rounds
            for number in range(rounds):
                for server in _rotated(servers, number):
                    self._round(measure, server, standing[server.name], figures)
        return figures

    def _round(self, measure: Measure, server: Server, runner: "_StandingRunner",
               figures: Figures) -> None:
        if (key := f"{measure.name} {server.name}") in self._failed:
            return
        try:
            figures.setdefault(server.name, []).append(runner.once(self._effort.seconds))
        except (LoadError, OSError, RuntimeError) as error:
            print(f"{key} left out: {error}", file=sys.stderr)
            self._failed.add(key)
            figures.pop(server.name, None)

    def start(self, measure: Measure,
              server: Server) -> tuple[ServerProcess, Callable[[float], Running]]:
        """Returns the server once it listens, and what makes a `Running` for so many seconds."""
        place = Place(self._fixtures.folder, network.free_port(),
                      self._folder / "work" / server.name)
        start = server.prepare(self._peers, place)
        processors = sorted(os.sched_getaffinity(0))
        pinned = measure.pinned and len(processors) > 1
        process = ServerProcess(start.command, place.work / "log", environment=start.environment,
                                cpus={processors[0]} if pinned else None)
        if self._effort.ahead:
            process.put_ahead()
        load = self._load.pinned({processors[1]}) if pinned else self._load
        if not network.wait_until_listening(place.port, process.has_ended):
            process.stop()
            raise RuntimeError(f"{server.name} does not start: {process.log()}")
        return process, lambda seconds: Running(process, start, place.port, load,
                                                self._fixtures, seconds)


class _StandingRunner:
    """Starts the server in its first round and keeps it running."""

    def __init__(self, stage: Stage, measure: Measure, server: Server):
        self._stage = stage
        self._measure = measure
        self._server = server
        self._process: ServerProcess | None = None

    def __enter__(self) -> "_StandingRunner":
        return self

    def __exit__(self, *_: object) -> None:
        if self._process:
            self._process.stop()

    def once(self, seconds: float) -> dict[str, float]:
        if not self._process:
            self._process, self._running = self._stage.start(self._measure, self._server)
            self._measure.once(self._running(WARM_UP_SECONDS))
        return self._measure.once(self._running(seconds))


class _FreshRunner(_StandingRunner):
    """Restarts the server for each round."""

    def once(self, seconds: float) -> dict[str, float]:
        process, running = self._stage.start(self._measure, self._server)
        with process:
            return self._measure.once(running(seconds))


def _rotated(servers: list[Server], by: int) -> list[Server]:
    by %= len(servers)
    return servers[by:] + servers[:by]
