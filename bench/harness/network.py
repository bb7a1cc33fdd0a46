"""The machine's network: isolation, free ports, and the kernel's memory for sockets."""

import ctypes
import re
import socket
import subprocess
import time
from pathlib import Path

CLONE_NEWNET = 0x40000000  # unshare(2)
CONGESTION_CONTROL = Path("/proc/sys/net/ipv4/tcp_congestion_control")
TIME_WAIT = "06"
# So many local ports in TIME_WAIT do not yet slow down a bind to port 0.
HARMLESS = 4000
TIME_WAIT_SECONDS = 60


def isolate() -> None:
    """Moves this process and its children to a network namespace of their own, away from other
    programs' ports and connections. Without the privilege, the machine's network is used."""
    if ctypes.CDLL(None).unshare(CLONE_NEWNET) == 0:
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        # BBR paces each connection, and on loopback its timers would be most of what is measured.
        CONGESTION_CONTROL.write_text("reno", encoding="ascii")


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
