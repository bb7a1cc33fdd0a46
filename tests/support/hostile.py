"""Shared by the tests of bad clients and bad disks: a server that is monitored, and its clients."""

import contextlib
import html
import os
import pathlib
import re
import socket
import struct
import time
import urllib.parse

from served import PATIENCE, ServedFolder, eventually

TICKS = os.sysconf("SC_CLK_TCK")
# Share of a processor. A thread that spins gets more, unless the machine is very busy; then it
# may go unnoticed, but an idle server is never taken for one that spins.
SPINNING = 0.1


class Usage:
    """The CPU time that a process has used, and the memory and descriptors it holds."""

    def __init__(self, pid):
        fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        self.seconds = (int(fields[11]) + int(fields[12])) / TICKS
        status = pathlib.Path(f"/proc/{pid}/status").read_text()
        self.kib = int(status.partition("VmRSS:")[2].split()[0])
        self.descriptors = len(os.listdir(f"/proc/{pid}/fd"))


class Client:
    """A blocking socket with a buffer; every wait is bounded."""

    def __init__(self, port, receive_buffer=None):
        self.socket = socket.socket()
        if receive_buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.settimeout(PATIENCE)
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
        numbers = [int(digits) for digits in re.findall(rb"\d+", self.ask(command))]
        return Client(numbers[1] if len(numbers) == 2 else numbers[5] * 256 + numbers[6])

    def transfer(self, command):
        """Returns what a command transfers, or its reply if it transfers nothing."""
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
    # Freed memory counts as used for as long as the sanitizer keeps it.
    environment = {"ASAN_OPTIONS": "quarantine_size_mb=1"}

    def usage(self):
        return Usage(self.server.pid)

    def client(self, receive_buffer=None):
        client = Client(self.port, receive_buffer)
        self.addCleanup(client.close)
        return client

    def session(self):
        client = self.client()
        client.until(b"ready.\r\n")
        client.ask(b"USER anyone")
        return client

    def get(self, path):
        """Returns the status and the body, over HTTP."""
        with contextlib.closing(self.client()) as client:
            client.send(f"GET /{urllib.parse.quote_from_bytes(path)} HTTP/1.1\r\n\r\n".encode())
            head, _, body = client.rest().partition(b"\r\n\r\n")
            return int(head.split()[1]), body

    def ask(self, command):
        """Returns what a command transfers, or its reply, over FTP."""
        with contextlib.closing(self.session()) as client:
            return client.transfer(command)

    def read(self, path):
        if self.protocol == "http":
            return self.get(path)[1]
        return self.ask(b"RETR " + path)

    def names(self, path):
        """Returns the names in a folder, as the texts that clients see."""
        if self.protocol == "ftp":
            return self.ask(b"NLST " + path).split(b"\r\n")[:-1]
        links = re.findall(rb'<a class="\w+" href="([^"]*)">', self.get(path + b"/")[1])
        return [urllib.parse.unquote_to_bytes(html.unescape(link.decode())) for link in links]

    def enters(self, path):
        if self.protocol == "http":
            return self.get(path + b"/")[0] == 200
        return self.ask(b"CWD " + path).startswith(b"250")

    def serve_fresh_client(self):
        """After descriptors have run out, clients that have just left may still hold what is needed
        to open the folder; then the first answer is a 500."""
        eventually(lambda: self.enters(b"."))

    def is_idle(self):
        before = self.usage().seconds
        time.sleep(0.5)
        return self.usage().seconds - before < 0.5 * SPINNING

    @contextlib.contextmanager
    def attack(self, what, limit_kib=None, hinders=False):
        """Wraps one attack. Under it the server becomes idle, serves a fresh client, unless the
        attack hinders that, and stays within the memory limit; after it no descriptor is left."""
        self.serve_fresh_client()
        eventually(self.is_idle)
        before = self.usage()
        yield
        eventually(self.is_idle)
        if not hinders:
            self.serve_fresh_client()
        added_kib = self.usage().kib - before.kib
        self.doCleanups()
        self.serve_fresh_client()
        eventually(lambda: self.usage().descriptors <= before.descriptors)
        # ThreadSanitizer's own memory hides the server's.
        if limit_kib and "libtsan" not in pathlib.Path(f"/proc/{self.server.pid}/maps").read_text():
            self.assertLess(added_kib, limit_kib, what)
