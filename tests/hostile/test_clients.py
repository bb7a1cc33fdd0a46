"""Clients that stall, flood, vanish or send nonsense, against both servers."""

import concurrent.futures
import contextlib
import random
import socket
import unittest

from hostile import Client, HostileTest

MIB = 1 << 20


def together(count, work):
    """Runs `work` so many times on a few threads, each time with its own random choices."""
    with concurrent.futures.ThreadPoolExecutor(8) as threads:
        list(threads.map(work, map(random.Random, range(count))))


class Clients(HostileTest):
    @classmethod
    def fill(cls, folder):
        with (folder / "large.bin").open("wb") as file:
            file.truncate(1 << 30)

    def open_many(self, count, sent=b""):
        for client in [self.client(receive_buffer=4096) for _ in range(count)]:
            client.send(sent)


class Http(Clients):
    # How many clients, what each sends before it falls silent, and the KiB that each may cost.
    silent = (
        (1000, b"GET / HTTP/1.1\r\nHost: a\r\n", 8),
        (100, b"GET / HTTP/1.1\r\n" + b"a: b\r\n" * 85_000, 2 * 1024),
        (100, b"GET /large.bin HTTP/1.1\r\n\r\n", 64),
    )

    def test_clients_that_fall_silent(self):
        for count, sent, limit_kib in self.silent:
            with self.attack(f"{count} times {sent[:30]}", count * limit_kib):
                self.open_many(count, sent)

    def test_storms(self):
        for count, visit in ((2000, self.send_noise), (400, self.reset_somewhere)):
            with self.attack(visit.__name__):
                together(count, visit)

    def send_noise(self, chooser):
        client = Client(self.port)
        noise = chooser.randbytes(chooser.randrange(1, 20_000))
        with contextlib.suppress(ConnectionError):
            client.send(chooser.choice([b"", b"", noise, noise + b"\r\n\r\n" + noise + b"\n"]))
        chooser.choice([client.reset, client.close])()

    def reset_somewhere(self, chooser):
        client = Client(self.port)
        request = b"GET /large.bin HTTP/1.1\r\n\r\n"
        client.send(request[: chooser.randrange(len(request) + 1)])
        if chooser.random() < 0.5:  # then the reset is a broken pipe
            client.socket.shutdown(socket.SHUT_WR)
        client.socket.settimeout(0.02)
        for _ in range(chooser.randrange(3)):
            with contextlib.suppress(TimeoutError):
                client.socket.recv(chooser.randrange(1, MIB))
        client.reset()


class Ftp(Http):
    protocol = "ftp"
    silent = (
        (1000, b"RETR " + b"x" * 4000, 32),
        (1, b"x" * 16 * MIB, 4 * 1024),
        (100, b"USER a\r\nEPSV\r\nRETR large.bin\r\n", 128),
    )

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

    def test_data_connections_that_nobody_reads(self):
        for command in (b"RETR large.bin\r\n", b""):
            with self.attack(f"100 times {command}", 100 * 128):
                for _ in range(100):
                    client = self.session()
                    self.addCleanup(client.data().close)
                    client.send(command)

    def test_flood_of_passive(self):
        descriptors = []

        def flood(_):
            client = self.session()
            for _ in range(10):
                client.send(b"PASV\r\n" * 500 + b"NOOP\r\n")
                client.until(b"200 OK\r\n")
                descriptors.append(self.usage().descriptors)

        with self.attack("4 clients that send PASV 5,000 times"):
            together(4, flood)
        self.assertLess(max(descriptors), 20 + 4 * 4)


class WithoutDescriptors(Clients):
    """64 descriptors, and more clients than that."""

    launcher = ("sh", "-c", 'ulimit -n 64; exec "$@"', "-")

    def test_200_clients(self):
        with self.attack("200 connections with 64 descriptors", hinders=True):
            self.open_many(200)


class FtpWithoutDescriptors(WithoutDescriptors):
    protocol = "ftp"


if __name__ == "__main__":
    unittest.main()
