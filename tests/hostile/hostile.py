"""What the hostile tests share: a served folder, a process under watch, clients that misbehave."""

import contextlib
import os
import pathlib
import socket
import struct
import sys
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "wire"))
from served import ServedFolder  # noqa: E402  (found through the line above)

FIGURES = "--figures" in sys.argv
TICKS = os.sysconf("SC_CLK_TCK")
# A thread that spins takes all it gets, and even on a machine that is busy that is more.
SPINNING = 0.1


def scaled(small, large):
    """Small for a test, large for the figures of a note."""
    return large if FIGURES else small


class Usage:
    """What a process has used so far, and holds now."""

    def __init__(self, pid):
        fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        self.seconds = (int(fields[11]) + int(fields[12])) / TICKS
        status = pathlib.Path(f"/proc/{pid}/status").read_text()
        self.kib = int(status.partition("VmRSS:")[2].split()[0])
        self.descriptors = len(os.listdir(f"/proc/{pid}/fd"))

    def text(self):
        return f"{self.kib / 1024:.1f} MiB, {self.descriptors} fd"


class Client:
    """A socket; what it receives is kept, and every wait is bounded."""

    def __init__(self, port, receive_buffer=None):
        self.socket = socket.socket()
        if receive_buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.settimeout(20)
        self.socket.connect(("127.0.0.1", port))
        self.buffer = b""

    def send(self, data):
        self.socket.sendall(data)

    def until(self, mark):
        while mark not in self.buffer:
            data = self.socket.recv(65536)
            if not data:
                raise EOFError(self.buffer)
            self.buffer += data
        answer, _, self.buffer = self.buffer.partition(mark)
        return answer + mark

    def rest(self):
        parts = [self.buffer]
        while data := self.socket.recv(65536):
            parts.append(data)
        return b"".join(parts)

    def ask(self, command):
        self.send(command + b"\r\n")
        return self.until(b"\r\n")

    def data(self, command=b"EPSV"):
        """Connects to the port that the command opens."""
        answer = self.ask(command).decode()
        if answer.startswith("229"):
            return Client(int(answer.split("|||")[1].split("|")[0]))
        numbers = answer.partition("(")[2].partition(")")[0].split(",")
        return Client(int(numbers[4]) * 256 + int(numbers[5]))

    def transfer(self, command):
        """The content that a command brings, or its reply where it brings none."""
        with contextlib.closing(self.data()) as data:
            reply = self.ask(command)
            if not reply.startswith(b"150"):
                return reply
            content = data.rest()
            self.until(b"\r\n")
            return content

    def close(self):
        self.socket.close()

    def reset(self):
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.socket.close()


class HostileTest(ServedFolder):
    figures = []

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.pid = cls.server.pid

    def client(self, receive_buffer=None):
        client = Client(self.port, receive_buffer)
        self.addCleanup(client.close)
        return client

    def get(self, path, headers=b""):
        client = self.client()
        client.send(b"GET " + path + b" HTTP/1.1\r\n" + headers + b"\r\n")
        answer = client.rest()
        client.close()
        return answer

    def status(self, path):
        return int(self.get(path).split()[1])

    def session(self):
        client = self.client()
        client.until(b"ready.\r\n")
        client.ask(b"USER anyone")
        return client

    def serve_fresh_client(self):
        """The time that a fresh client takes to be served."""
        start = time.monotonic()
        if self.protocol == "http":
            self.assertEqual(self.status(b"/"), 200)
        else:
            client = self.session()
            self.assertNotRegex(client.transfer(b"NLST"), rb"^\d\d\d ")
            client.close()
        return time.monotonic() - start

    def assert_idle(self):
        """Nothing spins: once what has come is handled, the process takes next to no time."""
        share = 1.0
        for _ in range(20):
            before = Usage(self.pid).seconds
            time.sleep(0.5)
            share = (Usage(self.pid).seconds - before) / 0.5
            if share < SPINNING:
                return
        self.fail(f"never idle, takes {share:.0%} of a processor")

    def assert_memory(self, limit_kib):
        """What the attack has added, now. A sanitizer's own memory would hide it."""
        added = self.measure().kib - self.before.kib
        maps = pathlib.Path(f"/proc/{self.pid}/maps").read_text()
        if "libasan" not in maps and "libtsan" not in maps:
            self.assertLess(added, limit_kib)

    def assert_descriptors(self, count):
        deadline = time.monotonic() + 15
        while Usage(self.pid).descriptors > count and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertLessEqual(Usage(self.pid).descriptors, count)

    @contextlib.contextmanager
    def attack(self, what):
        """Around one attack: its `peak` is taken inside, afterwards a fresh client is served and
        every descriptor is free again."""
        self.serve_fresh_client()
        before = self.before = Usage(self.pid)
        started = time.monotonic()
        self.peak = None
        yield
        self.peak = self.peak or Usage(self.pid)
        duration = time.monotonic() - started
        self.doCleanups()
        served = self.serve_fresh_client()
        self.assertLess(served, 3)
        self.assert_descriptors(before.descriptors)
        after = Usage(self.pid)
        self.figures.append(
            f"| {self.protocol} | {what} | {after.seconds - before.seconds:.2f} s of "
            f"{duration:.1f} s | {before.text()} | {self.peak.text()} | {after.text()} | "
            f"{served * 1000:.0f} ms |"
        )

    def measure(self):
        self.peak = Usage(self.pid)
        return self.peak


def main():
    if FIGURES:
        sys.argv.remove("--figures")
    program = unittest.main(exit=False)
    if FIGURES:
        print("| | sent | CPU | before | during | after | next client |")
        print("|---|---|---|---|---|---|---|")
        print("\n".join(HostileTest.figures))
    sys.exit(not program.result.wasSuccessful())
