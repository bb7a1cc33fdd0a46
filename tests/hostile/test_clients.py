"""Clients that hold, flood, vanish or talk nonsense, against both servers."""

import contextlib
import random
import threading
import unittest

from hostile import SCALE, Client, HostileTest, Usage

MIB = 1 << 20


def together(count, work):
    """`work` runs on that many threads, each with its number; the errors."""
    failures = []

    def guarded(number):
        try:
            work(number)
        except Exception as error:  # pylint: disable=broad-except
            failures.append(error)

    workers = [threading.Thread(target=guarded, args=(number,)) for number in range(count)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    return failures


class Clients(HostileTest):
    @classmethod
    def fill(cls, folder):
        (folder / "small.txt").write_bytes(b"small")
        with (folder / "large.bin").open("wb") as file:
            file.truncate(1 << 30)

    def open_many(self, count, sent=b"", **options):
        for client in [self.client(**options) for _ in range(count)]:
            client.send(sent)

    def storm(self, count, visit):
        def visit_often(number):
            chooser = random.Random(number)
            for _ in range(count // 8):
                visit(chooser)

        self.assertEqual(together(8, visit_often), [])

    def connect_and_close(self, chooser):
        client = Client(self.port)
        chooser.choice([client.reset, client.close])()

    def send_noise(self, chooser):
        client = Client(self.port)
        with contextlib.suppress(ConnectionError):
            client.send(chooser.randbytes(chooser.randrange(1, 20_000)))
            client.send(chooser.choice([b"", b"\r\n\r\n" + chooser.randbytes(100) + b"\n"]))
        chooser.choice([client.reset, client.close])()


class Http(Clients):
    def test_storms(self):
        for count, visit in (
            (3000 * SCALE, self.connect_and_close),
            (400 * SCALE, self.send_noise),
            (400 * SCALE, self.reset_somewhere),
        ):
            with self.attack(f"{count} times {visit.__name__}"):
                self.storm(count, visit)

    def reset_somewhere(self, chooser):
        client = Client(self.port)
        request = b"GET /large.bin HTTP/1.1\r\n\r\n"
        client.send(request[: chooser.randrange(len(request) + 1)])
        client.socket.settimeout(0.02)
        for _ in range(chooser.randrange(3)):
            with contextlib.suppress(TimeoutError):
                client.socket.recv(chooser.randrange(1, MIB))
        client.reset()

    def test_half_heads(self):
        for count, head, limit_kib in (
            (1000 * SCALE, b"Host: a\r\n", 6),
            (100, b"a: b\r\n" * 85_000, 2 * 1024),
        ):
            with self.attack(f"{count} heads of {len(head)} without an end", count * limit_kib):
                self.open_many(count, b"GET /small.txt HTTP/1.1\r\n" + head)

    def test_downloads_that_nobody_reads(self):
        count = 100 * SCALE
        with self.attack(f"{count} downloads of 1 GiB that nobody reads", count * 64):
            self.open_many(count, b"GET /large.bin HTTP/1.1\r\n\r\n", receive_buffer=4096)


class Ftp(Http):
    protocol = "ftp"

    def reset_somewhere(self, chooser):
        client = Client(self.port)
        if chooser.random() < 0.5:
            script = b"USER a\r\nEPSV\r\nLIST\r\nRETR large.bin\r\nQUIT\r\n"
            client.send(script[: chooser.randrange(len(script) + 1)])
            return client.reset()
        client.ask(b"USER a")
        client.until(b"230 Login successful.\r\n")
        data = client.data(chooser.choice([b"PASV", b"EPSV"]))
        if chooser.random() < 0.5:
            client.send(b"RETR large.bin\r\n")
            data.socket.recv(chooser.randrange(1, MIB))
        for end in chooser.sample([client, data], 2):
            end.reset()

    def test_half_heads(self):
        count = 1000 * SCALE
        with self.attack(f"{count} half lines of 4,000 bytes", count * 32):
            self.open_many(count, b"RETR " + b"x" * 4000)
        with self.attack("16 MiB without a line end", 4 * 1024):
            self.session().send(b"x" * 16 * MIB)

    def test_replies_that_nobody_reads(self):
        def talk(_):
            client = self.client(receive_buffer=4096)
            client.socket.settimeout(0.3)
            with contextlib.suppress(TimeoutError):
                client.send(b"FEAT\r\n" * MIB)

        count = 20 * SCALE
        with self.attack(f"{count} clients that send FEAT and never read", count * 512):
            self.assertEqual(together(count, talk), [])

    def test_downloads_that_nobody_reads(self):
        for command in (b"RETR large.bin\r\n", b""):
            count = 100 * SCALE
            with self.attack(f"{count} times a connection for {command}", count * 128):
                for _ in range(count):
                    client = self.session()
                    self.addCleanup(client.data().close)
                    client.send(command)
        with self.attack(f"{count} downloads that nobody comes for", count * 128):
            for _ in range(count):
                self.session().send(b"EPSV\r\nRETR large.bin\r\n")

    def test_flood_of_passive(self):
        most = 0

        def flood(_):
            nonlocal most
            client = self.session()
            for _ in range(10):
                client.send(b"PASV\r\n" * 500 + b"NOOP\r\n")
                client.until(b"200 OK\r\n")
                most = max(most, Usage(self.pid).descriptors)

        count = 4 * SCALE
        with self.attack(f"{count} clients that send PASV 5,000 times"):
            self.assertEqual(together(count, flood), [])
        self.assertLess(most, 20 + 4 * count)


class WithoutDescriptors(Clients):
    """64 descriptors, and more clients than that."""

    launcher = ("sh", "-c", 'ulimit -n 64; exec "$@"', "-")

    def test_200_clients(self):
        with self.attack("200 connections with 64 descriptors", hinders=True):
            self.open_many(200)


class FtpWithoutDescriptors(WithoutDescriptors):
    protocol = "ftp"

    def test_flood_of_passive(self):
        with self.attack("5,000 times PASV with 64 descriptors"):
            client = self.session()
            for _ in range(10):
                client.send(b"PASV\r\n" * 500 + b"NOOP\r\n")
                client.until(b"200 OK\r\n")


if __name__ == "__main__":
    unittest.main()
