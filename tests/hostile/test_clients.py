"""Clients that hold, flood, vanish or talk nonsense, against both servers."""

import random
import threading
import unittest

from hostile import Client, HostileTest, Usage, main, scaled

MIB = 1 << 20


class Clients(HostileTest):
    @classmethod
    def fill(cls, folder):
        (folder / "small.txt").write_bytes(b"small")
        with (folder / "large.bin").open("wb") as file:
            file.truncate(1 << 30)

    def open_many(self, count, sent=b"", **options):
        clients = [self.client(**options) for _ in range(count)]
        for client in clients:
            client.send(sent)
        return clients

    def storm(self, count, visit, threads=8):
        """`visit` runs `count` times, on several threads; none of them may fail."""
        failures = []

        def work(number):
            chooser = random.Random(number)
            try:
                for _ in range(count // threads):
                    visit(chooser)
            except Exception as error:  # pylint: disable=broad-except
                failures.append(error)

        workers = [threading.Thread(target=work, args=(number,)) for number in range(threads)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        self.assertEqual(failures, [])

    def connect_and_close(self, chooser):
        client = Client(self.port)
        client.reset() if chooser.random() < 0.5 else client.close()

    def send_noise(self, chooser):
        client = Client(self.port)
        try:
            client.send(chooser.randbytes(chooser.randrange(1, 20_000)))
            if chooser.random() < 0.5:
                client.send(b"\r\n\r\n" + chooser.randbytes(100) + b"\n")
        except ConnectionError:
            pass
        client.reset() if chooser.random() < 0.5 else client.close()


class Http(Clients):
    def test_half_heads_cost_little_and_are_bounded(self):
        count = scaled(1000, 4000)
        with self.attack(f"{count} half heads"):
            self.open_many(count, b"GET /small.txt HTTP/1.1\r\nHost: a\r\n")
            self.assert_idle()
            self.measure()
        with self.attack("100 heads of 500 KiB without an end"):
            self.open_many(100, b"GET / HTTP/1.1\r\n" + b"a: b\r\n" * 85_000)
            self.assert_idle()
            self.assert_memory(100 * 2 * 1024)

    def test_a_head_beyond_the_limit_is_dropped(self):
        client = self.client()
        with self.assertRaises(ConnectionError):
            for _ in range(100):
                client.send(b"x" * MIB)

    def test_clients_that_never_read(self):
        count = scaled(100, 500)
        with self.attack(f"{count} downloads of 1 GiB that nobody reads"):
            self.open_many(count, b"GET /large.bin HTTP/1.1\r\n\r\n", receive_buffer=4096)
            self.serve_fresh_client()
            self.assert_idle()
            self.assert_memory(count * 64)

    def test_resets_at_every_step(self):
        def visit(chooser):
            client = Client(self.port)
            request = b"GET /large.bin HTTP/1.1\r\n\r\n"
            client.send(request[: chooser.randrange(len(request) + 1)])
            for _ in range(chooser.randrange(3)):
                client.socket.settimeout(0.02)
                try:
                    client.socket.recv(chooser.randrange(1, MIB))
                except TimeoutError:
                    pass
            client.reset()

        count = scaled(400, 4000)
        with self.attack(f"{count} requests, each reset somewhere"):
            self.storm(count, visit)

    def test_storm_of_connections(self):
        count = scaled(3000, 20_000)
        with self.attack(f"{count} connections opened and closed"):
            self.storm(count, self.connect_and_close)

    def test_random_bytes(self):
        count = scaled(400, 4000)
        with self.attack(f"{count} times random bytes"):
            self.storm(count, self.send_noise)


class Ftp(Clients):
    protocol = "ftp"

    def test_half_lines_cost_little_and_are_bounded(self):
        count = scaled(1000, 4000)
        with self.attack(f"{count} half lines of 4,000 bytes"):
            self.open_many(count, b"RETR " + b"x" * 4000)
            self.assert_idle()
            self.assert_memory(count * 32)
        with self.attack("16 MiB without a line end"):
            client = self.session()
            client.send(b"x" * 16 * MIB)
            # What is left of the line may be nothing, or an unknown command.
            client.send(b"\nNOOP\r\n")
            self.assertRegex(client.until(b"200 OK\r\n"), rb"^(502 [^\n]*\n)?200 OK\r\n$")

    def test_clients_that_never_read(self):
        def talk():
            client = self.client(receive_buffer=4096)
            client.socket.settimeout(0.3)
            try:
                client.send(b"FEAT\r\n" * MIB)
            except TimeoutError:
                pass

        count = scaled(20, 100)
        with self.attack(f"{count} clients that send FEAT and never read"):
            workers = [threading.Thread(target=talk) for _ in range(count)]
            for worker in workers:
                worker.start()
            for worker in workers:
                worker.join()
            self.serve_fresh_client()
            self.assert_idle()
            self.assert_memory(count * 512)
        with self.attack(f"{count} downloads of 1 GiB that nobody reads"):
            for _ in range(count):
                client = self.session()
                self.addCleanup(client.data().close)
                client.ask(b"RETR large.bin")
            self.serve_fresh_client()
            self.assert_idle()
            self.assert_memory(count * 128)

    def test_flood_of_passive(self):
        def flood(_):
            client = Client(self.port)
            client.send(b"USER a\r\n")
            for _ in range(10):
                client.send(b"PASV\r\n" * 500 + b"NOOP\r\n")
                client.until(b"200 OK\r\n")
                self.most = max(self.most, Usage(self.pid).descriptors)
            client.close()

        clients = scaled(4, 20)
        with self.attack(f"{clients} clients that send PASV 5,000 times"):
            self.most = 0
            self.storm(clients, flood, threads=clients)
            self.assertLess(self.most, 20 + 4 * clients)

    def test_data_connections_that_are_never_used(self):
        count = scaled(200, 1000)
        with self.attack(f"{count} sessions with a data connection that is never used"):
            for _ in range(count):
                client = self.session()
                self.addCleanup(client.data().close)
            self.assert_idle()
            self.measure()
        with self.attack(f"{count} sessions with a listing that nobody fetches"):
            for _ in range(count):
                self.session().send(b"EPSV\r\nRETR large.bin\r\n")
            self.assert_idle()
            self.measure()

    def test_resets_at_every_step(self):
        script = [b"USER a\r\n", b"EPSV\r\n", b"LIST\r\n", b"RE", b"TR large.bin\r\n", b"QUIT\r\n"]

        def visit(chooser):
            client = Client(self.port)
            if chooser.random() < 0.5:
                client.send(b"".join(script[: chooser.randrange(len(script) + 1)]))
                return client.reset()
            client.ask(b"USER a")
            client.until(b"230 Login successful.\r\n")
            data = client.data(chooser.choice([b"PASV", b"EPSV"]))
            if chooser.random() < 0.5:
                client.send(b"RETR large.bin\r\n")
                data.socket.recv(chooser.randrange(1, MIB))
            for end in chooser.sample([client, data], 2):
                end.reset()

        count = scaled(400, 4000)
        with self.attack(f"{count} sessions, each reset somewhere"):
            self.storm(count, visit)

    def test_storm_of_connections(self):
        count = scaled(3000, 20_000)
        with self.attack(f"{count} connections opened and closed"):
            self.storm(count, self.connect_and_close)

    def test_random_bytes(self):
        count = scaled(400, 4000)
        with self.attack(f"{count} times random bytes"):
            self.storm(count, self.send_noise)


class WithoutDescriptors(Clients):
    """64 descriptors, and more clients than that."""

    launcher = ("sh", "-c", 'ulimit -n 64; exec "$@"', "-")

    def test_200_clients(self):
        with self.attack("200 connections with 64 descriptors"):
            self.open_many(200)
            self.measure()
            self.assert_idle()


class FtpWithoutDescriptors(WithoutDescriptors):
    protocol = "ftp"

    def test_flood_of_passive(self):
        with self.attack("5,000 times PASV with 64 descriptors"):
            client = self.session()
            for _ in range(10):
                client.send(b"PASV\r\n" * 500 + b"NOOP\r\n")
                client.until(b"200 OK\r\n")


if __name__ == "__main__":
    main()
