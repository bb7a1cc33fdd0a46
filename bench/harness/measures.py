"""The measures: each is one load with its figures and the targets for this server."""

import time
from dataclasses import dataclass
from typing import Callable

from harness import network
from harness.fixtures import GIB, KIB, MIB, Fixtures
from harness.load import Load
from harness.peers import Start
from harness.processes import ServerProcess

US = 1e6
MS = 1e3
IDLE_CLIENTS = 1000
STALLED_CLIENTS = 500
# Seconds until the processes of ended sessions are gone and accounted for.
SETTLE = 0.1


@dataclass(frozen=True)
class Column:
    """One figure. This server is to reach `target`, a ratio to the best peer, or `limit`, an
    absolute value."""

    key: str
    title: str
    higher_is_better: bool = False
    target: float | None = None
    limit: float | None = None
    digits: int = 1


@dataclass(frozen=True)
class Running:
    """A server being measured, and what its measures need."""

    process: ServerProcess
    start: Start
    port: int
    load: Load
    fixtures: Fixtures
    seconds: float

    def url(self, path: str) -> str:
        return f"http://127.0.0.1:{self.port}/{path}"

    def ftp(self) -> dict:
        return {"port": self.port, "user": self.start.user, "password": self.start.password}


@dataclass(frozen=True)
class Measure:
    """`once` runs one round with one server. A fresh measure restarts the server for each round, a
    pinned one gives the server and the driver a processor each."""

    name: str
    title: str
    protocol: str
    columns: list[Column]
    once: Callable[[Running], dict[str, float]]
    pinned: bool = False
    fresh: bool = False


def _with_cpu(running: Running, load: Callable[[], dict]) -> tuple[dict, float]:
    """Returns the load's figures and the CPU time that the server spent on it."""
    before = running.process.cpu_seconds()
    figures = load()
    time.sleep(SETTLE)
    return figures, running.process.cpu_seconds() - before


def _drive(running: Running, mode: str, **options: object) -> tuple[dict, float]:
    return _with_cpu(running, lambda: running.load.run(mode, seconds=running.seconds, **options))


def _request(running: Running, path: str, clients: int, **options: int) -> tuple[dict, float]:
    return _with_cpu(running, lambda: running.load.requests(running.url(path), clients,
                                                            running.seconds, **options))


def _per_second(figures: dict, cpu: float) -> dict[str, float]:
    return {"rate": figures["units"] / figures["seconds"], "cpu": cpu / figures["units"] * US}


def _small(running: Running) -> dict[str, float]:
    return _per_second(*_request(running, running.fixtures.file(KIB), 32, body=KIB))


def _ranges(running: Running) -> dict[str, float]:
    return _per_second(*_request(running, running.fixtures.file(GIB), 32, body=64 * KIB, file=GIB))


def _throughput(figures: dict, cpu: float) -> dict[str, float]:
    gibibytes = figures["bytes"] / GIB
    return {"rate": gibibytes / figures["seconds"], "cpu": cpu / gibibytes}


def _http_large(running: Running) -> dict[str, float]:
    path = "/" + running.fixtures.file(GIB)
    return _throughput(*_drive(running, "http-downloads", port=running.port, clients=8, path=path,
                               body=GIB))


def _cold(readers: int) -> Measure:
    def once(running: Running) -> dict[str, float]:
        path = "/" + running.fixtures.cold_file(GIB)
        return _throughput(*_with_cpu(running, lambda: running.load.run(
            "http-downloads", port=running.port, clients=readers, units=1, seconds=100, path=path,
            body=GIB)))

    columns = [_rate("GiB/s", 1.0, 2), _cpu("CPU s/GiB", 1.0, 3)]
    return Measure(f"cold-{readers}", f"1 GiB file that is not in memory, to its end, "
                   f"{readers} at a time", "http", columns, once)


def _ftp_large(running: Running) -> dict[str, float]:
    return _throughput(*_drive(running, "ftp-downloads", **running.ftp(), clients=8,
                               path=running.fixtures.file(GIB), body=GIB))


def _sessions(running: Running) -> dict[str, float]:
    return _per_second(*_drive(running, "ftp-sessions", **running.ftp(), clients=16,
                               path=running.fixtures.file(KIB), body=KIB))


def _per_unit(figures: dict, cpu: float) -> dict[str, float]:
    return {"time": figures["p50"] * MS, "cpu": cpu / figures["units"] * MS}


def _http_idle(running: Running) -> dict[str, float]:
    path = running.fixtures.file(KIB)
    _latency(running, path)
    return _memory(running, "http-idle", port=running.port, path="/" + path, clients=IDLE_CLIENTS)


def _ftp_idle(running: Running) -> dict[str, float]:
    running.load.run("ftp-sessions", **running.ftp(), clients=1, units=4, seconds=10,
                       path=running.fixtures.file(KIB))
    return _memory(running, "ftp-idle", **running.ftp(), clients=IDLE_CLIENTS)


def _memory(running: Running, mode: str, **options: object) -> dict[str, float]:
    before = running.process.memory_bytes()
    with running.load.held(mode, **options):
        time.sleep(0.5)
        return {"memory": (running.process.memory_bytes() - before) / IDLE_CLIENTS / KIB}


def _stalled(running: Running) -> dict[str, float]:
    small = running.fixtures.file(KIB)
    large = "/" + running.fixtures.file(64 * MIB)
    unloaded = _latency(running, small)
    before = running.process.memory_bytes()
    with running.load.held("http-stalled", port=running.port, path=large,
                             clients=STALLED_CLIENTS):
        time.sleep(1)
        used = running.process.memory_bytes() - before
        kernel = network.server_socket_memory(running.port)
        loaded = _latency(running, small)
    return {"memory": used / STALLED_CLIENTS / KIB, "kernel": kernel / STALLED_CLIENTS / KIB,
            "slowdown": loaded / unloaded}


def _latency(running: Running, path: str) -> float:
    return running.load.requests(running.url(path), 1, 1)["p50"]


def _rate(title: str, target: float, digits: int = 0) -> Column:
    return Column("rate", title, higher_is_better=True, target=target, digits=digits)


def _cpu(title: str, target: float, digits: int = 1) -> Column:
    return Column("cpu", title, target=target, digits=digits)


def _entries(protocol: str, entries: int, target: float) -> Measure:
    def once(running: Running) -> dict[str, float]:
        folder = running.fixtures.directory(entries)
        if protocol == "http":
            load = _request(running, f"{folder}/", 1)
        else:
            load = _drive(running, "ftp-listings", **running.ftp(), clients=1, path=folder)
        return _per_unit(*load)

    name, title = {"http": ("http-index", "index page"), "ftp": ("ftp-list", "LIST")}[protocol]
    columns = [Column("time", "ms", target=target, digits=2), _cpu("CPU ms", target, 2)]
    return Measure(f"{name}-{entries}", f"{title} of {entries:,} entries", protocol, columns, once)


MEASURES = [
    Measure("http-small", "new connection per request, 1 KiB file, 32 clients", "http",
            [_rate("requests/s", 1.0), _cpu("CPU µs", 0.85)], _small),
    Measure("http-ranges", "64 KiB ranges of a 1 GiB file, new connection each, 32 clients",
            "http", [_rate("requests/s", 1.0), _cpu("CPU µs", 0.85)], _ranges),
    Measure("http-large", "1 GiB file, 8 clients, server and driver on a processor each", "http",
            [_rate("GiB/s", 1.2, 2), _cpu("CPU s/GiB", 0.8, 3)], _http_large, pinned=True),
    _cold(1), _cold(8),
    _entries("http", 1_000, 0.6), _entries("http", 10_000, 0.5), _entries("http", 100_000, 0.5),
    Measure("ftp-large", "1 GiB file, 8 sessions, server and driver on a processor each", "ftp",
            [_rate("GiB/s", 1.0, 2), _cpu("CPU s/GiB", 1.0, 3)], _ftp_large, pinned=True),
    Measure("ftp-sessions", "login, EPSV, RETR of 1 KiB, QUIT, 16 at a time", "ftp",
            [_rate("sessions/s", 3.0), _cpu("CPU µs", 0.33)], _sessions),
    _entries("ftp", 1_000, 0.6), _entries("ftp", 10_000, 0.6), _entries("ftp", 100_000, 0.6),
    Measure("http-idle", f"{IDLE_CLIENTS:,} clients that sent half a head", "http",
            [Column("memory", "KiB/client", limit=2.0, digits=2)], _http_idle, fresh=True),
    Measure("ftp-idle", f"{IDLE_CLIENTS:,} clients logged in", "ftp",
            [Column("memory", "KiB/client", limit=2.0, digits=2)], _ftp_idle, fresh=True),
    Measure("http-stalled", f"{STALLED_CLIENTS} downloads of 64 MiB that nobody reads", "http",
            [Column("memory", "KiB/client", limit=3.0, digits=2),
             Column("kernel", "kernel KiB/client", limit=500.0, digits=0),
             Column("slowdown", "fresh p50 / unloaded", limit=1.2, digits=2)],
            _stalled, fresh=True),
]
