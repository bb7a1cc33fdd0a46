"""Mixed clients at once: they list, download, resume, give up half way and vanish, while every
answer stays right and nothing is kept. For hours with a large number of visits:

    VISITS=1000000 QUORVEL_SERVE=PROGRAM PYTHONPATH=tests/support python3 tests/hostile/test_soak.py
"""

import concurrent.futures
import contextlib
import os
import random
import unittest

from hostile import Client, HostileTest

VISITS = int(os.environ.get("VISITS", "300"))
WARM_UP = 200
# The allocator keeps freed memory, and how much it has had to give at once is chance.
GROWTH_KIB = 8 * 1024
SIZES = {"small.txt": 100, "middle.bin": 100_000, "large.bin": 3_000_000}
CONTENT = {name: random.Random(name).randbytes(size) for name, size in SIZES.items()}
LARGE = CONTENT["large.bin"]


def get(client, path, headers=""):
    client.send(f"GET /{path} HTTP/1.1\r\nHost: a\r\n{headers}\r\n".encode())
    return client.rest().partition(b"\r\n\r\n")[2]


def http_file(client, chooser):
    name = chooser.choice(list(SIZES))
    return get(client, name) == CONTENT[name]


def http_range(client, chooser):
    first = chooser.randrange(len(LARGE))
    return get(client, "large.bin", f"Range: bytes={first}-\r\n") == LARGE[first:]


def http_index(client, _):
    return get(client, "many/").count(b"<li>") == 501


def http_missing(client, _):
    return get(client, "%2e%2e/nothing") == b"Forbidden"


def http_given_up(client, chooser):
    client.send(b"GET /large.bin HTTP/1.1\r\n\r\n"[: chooser.choice([0, 9, 27, 27, 27])])
    take_some(client, chooser)
    chooser.choice([client.reset, client.close])()
    return True


def take_some(client, chooser):
    client.socket.settimeout(0.02)
    with contextlib.suppress(TimeoutError, ConnectionError):
        client.socket.recv(chooser.randrange(1, len(LARGE)))


def log_in(client):
    client.until(b"ready.\r\n")
    return client.ask(b"USER a") == b"230 Login successful.\r\n"


def ftp_files(client, chooser):
    first = chooser.randrange(len(LARGE))
    right = log_in(client) and client.ask(b"REST %d" % first).startswith(b"350")
    right = right and client.transfer(b"RETR large.bin") == LARGE[first:]
    return right and client.transfer(b"RETR small.txt") == CONTENT["small.txt"]


def ftp_list(client, _):
    right = log_in(client) and client.ask(b"CWD many") == b"250 Directory changed to /many\r\n"
    return right and client.transfer(b"LIST").count(b"\r\n") == 500


def ftp_facts(client, _):
    right = log_in(client) and client.ask(b"SIZE large.bin") == b"213 %d\r\n" % len(LARGE)
    return right and client.ask(b"QUIT") == b"221 Goodbye.\r\n" and client.rest() == b""


def ftp_given_up(client, chooser):
    log_in(client)
    with contextlib.closing(client.data(chooser.choice([b"PASV", b"EPSV"]))) as data:
        client.send(chooser.choice([b"RETR large.bin\r\n", b"LIST many\r\n", b"PASV\r\n", b""]))
        take_some(data, chooser)
        for end in chooser.sample([client, data], 2):
            chooser.choice([end.reset, end.close])()
    return True


class Http(HostileTest):
    kinds = http_file, http_range, http_index, http_missing, http_given_up

    @classmethod
    def fill(cls, folder):
        for name, data in CONTENT.items():
            (folder / name).write_bytes(data)
        (folder / "many").mkdir()
        for number in range(500):
            (folder / "many" / f"file {number}").touch()

    def test_mixed_visits(self):
        self.visit(WARM_UP)
        with self.attack("mixed visits", GROWTH_KIB):
            self.visit(VISITS)

    def visit(self, count):
        def one(number):
            chooser = random.Random(number)
            kind = chooser.choice(self.kinds)
            with contextlib.closing(Client(self.port)) as client:
                self.assertTrue(kind(client, chooser), f"visit {number}: {kind.__name__}")

        with concurrent.futures.ThreadPoolExecutor(6) as threads:
            list(threads.map(one, range(count)))


class Ftp(Http):
    protocol = "ftp"
    kinds = ftp_files, ftp_list, ftp_facts, ftp_given_up


if __name__ == "__main__":
    unittest.main()
