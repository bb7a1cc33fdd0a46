"""The machine's network: isolation, free ports, and the kernel's memory for sockets."""

import os
import re
import socket
import subprocess
import sys
import time
from pathlib import Path

ISOLATED = "QUORVEL_BENCH_ISOLATED"
CONGESTION_CONTROL = Path("/proc/sys/net/ipv4/tcp_congestion_control")
TIME_WAIT = "06"
# So many local ports in TIME_WAIT do not yet slow down a bind to port 0.
HARMLESS = 4000
TIME_WAIT_SECONDS = 60


def is_isolated() -> bool:
    return ISOLATED in os.environ


def isolate() -> None:
    """Starts the program again in namespaces of its own: away from other programs' ports and
    connections, and nothing that it starts outlives it. Without the privilege, it goes on as it
    is."""
    command = ["unshare", "--net", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if is_isolated():
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        # BBR paces each connection, and on loopback its timers would be most of what is measured.
        CONGESTION_CONTROL.write_text("reno", encoding="ascii")
    elif subprocess.run([*command, "true"], check=False).returncode == 0:
        os.environ[ISOLATED] = "yes"
        os.execvp(command[0], [*command, sys.executable, *sys.argv])


def free_port(start: int = 20000) -> int:
    """Returns a port below the ephemeral range."""
    for port in range(start, _ephemeral_ports().start):
        with socket.socket() as probe:
            try:
                probe.bind(("127.0.0.1", port))
                return port
            except OSError:
                continue
    raise RuntimeError("no free port")


def wait_until_listening(port: int, has_ended, seconds: float = 20.0) -> bool:
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline and not has_ended():
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return True
        time.sleep(0.02)
    return False


def wait_for_ports() -> None:
    """Waits until earlier measures' ports have left TIME_WAIT: among 24,000 of them a bind to port
    0, which each FTP transfer needs, takes milliseconds."""
    deadline = time.monotonic() + TIME_WAIT_SECONDS + 5
    while _ports_in_time_wait() > HARMLESS and time.monotonic() < deadline:
        time.sleep(1)


def server_socket_memory(port: int) -> int:
    """Returns the bytes of kernel memory in the server's sockets (skmem in ss(8))."""
    listed = subprocess.run(
        ["ss", "-tmnH", "state", "established", f"( sport = :{port} )"],
        capture_output=True, text=True, check=True).stdout
    queues = re.findall(r"skmem:\(r(\d+),.*?,f(\d+),w(\d+)", listed)
    return sum(int(number) for queue in queues for number in queue)


def _ephemeral_ports() -> range:
    first, last = Path("/proc/sys/net/ipv4/ip_local_port_range").read_text("ascii").split()
    return range(int(first), int(last) + 1)


def _ports_in_time_wait() -> int:
    ephemeral = _ephemeral_ports()
    ports = set()
    for table in (Path("/proc/net/tcp"), Path("/proc/net/tcp6")):
        for line in table.read_text("ascii").splitlines()[1:] if table.exists() else []:
            _, local, _, state, *_ = line.split()
            port = int(local.rpartition(":")[2], 16)
            if state == TIME_WAIT and port in ephemeral:
                ports.add(port)
    return len(ports)
