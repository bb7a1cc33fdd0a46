"""A disk that does not answer keeps only those waiting who ask for what is on it."""

import concurrent.futures
import contextlib
import os
import signal
import socket
import sys
import unittest

from hostile import Client, HostileTest
from served import PATIENCE, eventually
from slow_disk import FOLDER, SlowDisk, content, enter_own_namespace

MIB = 1 << 20
CACHED = content("cached", 0, 8 * MIB)  # more than the kernel holds for one who does not read
DOWNLOADS = 40
ONE_DISK = 16  # threads that one disk may hold, and so the requests that reach it at once
FOREVER = 1 << 30  # seconds


class HttpClient(Client):
    """One request and its answer."""

    def begin(self, verb, path, more=""):
        self.send(f"{verb} /{path} HTTP/1.1\r\n{more}\r\n".encode())

    def started(self):
        head = self.until(b"\r\n\r\n")
        assert head[9:12] in (b"200", b"206"), head

    def received(self):
        return self.rest()


class FtpClient(Client):
    """A session with a data connection, for one transfer."""

    def __init__(self, port):
        super().__init__(port)
        self.until(b"ready.\r\n")
        self.ask(b"USER anyone")
        self.channel = self.data()

    def begin(self, verb, path, more=""):
        self.send(f"{more}{verb} {path}\r\n".encode())

    def started(self):
        self.until(b"150 ")
        self.until(b"\r\n")

    def received(self):
        text = self.channel.rest()
        self.until(b"\r\n")
        return text

    def close(self):
        self.channel.close()
        super().close()


class SlowFolder(HostileTest):
    """A folder with two disks mounted in it. They answer when the test says so."""

    launcher = ("setpriv", "--pdeathsig", "KILL")
    kind, verb, list_verb, folder_end = HttpClient, "GET", "GET", "/"
    part = "Range: bytes={}-\r\n"
    tree = {}

    @classmethod
    def fill(cls, folder):
        (folder / "cached").write_bytes(CACHED)
        (folder / "small").write_bytes(b"small")
        (folder / "folder").mkdir()
        (folder / "folder" / "entry").touch()
        cls.slow = cls.mount(folder / "slow", cls.tree)
        cls.other = cls.mount(folder / "other", {"uncached": MIB})

    @classmethod
    def mount(cls, folder, tree):
        folder.mkdir()
        disk = SlowDisk(folder, tree)
        cls.addClassCleanup(disk.close)
        return disk

    def connected(self, count):
        clients = []
        for _ in range(count):
            clients.append(self.kind(self.port))
            self.addCleanup(clients[-1].close)
        return clients

    def finish(self, client):
        client.started()
        return client.received()

    def assert_stops(self):
        self.server.send_signal(signal.SIGTERM)
        self.assertEqual(self.server.wait(PATIENCE), 0)
        socket.create_server(("", self.port)).close()

    def fetch(self, path, verb=None, more="", client=None):
        (client,) = [client] if client else self.connected(1)
        client.begin(verb or self.verb, path, more)
        return self.finish(client)

    def downloads(self):
        """Downloads that have begun, and of which most is still to come."""
        clients = self.connected(DOWNLOADS)
        for client in clients:
            client.begin(self.verb, "cached")
            client.started()
        return clients

    def assert_same(self, received, expected):
        self.assertEqual(len(received), len(expected))
        self.assertTrue(received == expected, "wrong bytes")  # without their text


class HttpStalls(SlowFolder):
    # What is asked for, which request for it the disk holds, how often it is asked for; whether the
    # kernel knows the names already and, unless they are held, the attributes.
    stalls = (
        *(("GET", "read", count, False) for count in (1, 4, 16, 40)),
        *(("GET", kind, 4, False) for kind in ("lookup", "getattr", "readlink", "open")),
        *(("GET", kind, 4, False) for kind in ("opendir", "readdir", "flush")),
        *(("HEAD", kind, 4, False) for kind in ("lookup", "getattr", "readdir", "flush")),
        *(("GET", kind, 40, True) for kind in ("getattr", "open", "opendir")),
    )
    others = (("GET", "small", b"small"), ("HEAD", "small", b""), ("GET", "folder/", b'"entry"'))

    @classmethod
    def fill(cls, folder):
        # Items of its own for each case, so that none is known from another.
        cls.tree = {"target": 5000, "inner": {"file": MIB}}
        for case, (_, kind, count, _) in enumerate(cls.stalls):
            for name in (f"{case}-{number}" for number in range(count)):
                # What is not read must fit into the network, for its file to be closed.
                size = 10_000 if name[-1] == "1" or kind == "flush" else 300_000
                made_of = "target" if kind == "readlink" else size
                cls.tree[name] = {f"in-{name}": 1} if "dir" in kind else made_of
        super().fill(folder)

    def test_stalls(self):
        for case, (verb, kind, count, is_known) in enumerate(self.stalls):
            with self.subTest(verb=verb, held=kind, count=count, is_known=is_known):
                self.slow.entry_timeout = FOREVER if is_known else 0
                self.slow.attribute_timeout = FOREVER if is_known and kind != "getattr" else 0
                try:
                    self.stall(verb, kind, [f"{case}-{number}" for number in range(count)])
                finally:
                    self.doCleanups()

    def stall(self, verb, kind, names):
        paths = [f"slow/{name}{self.folder_end if 'dir' in kind else ''}" for name in names]
        if self.slow.entry_timeout:
            for path in paths:
                self.fetch(path, verb)
        downloads = self.downloads()
        connected, waiting = self.connected(len(self.others)), self.connected(len(names))
        with self.slow.holding(kind):
            for client, path in zip(waiting, paths):
                client.begin(verb, path)
            self.slow.wait_held(min(len(names), ONE_DISK))
            self.assert_others_served(connected)
            for client in downloads:
                self.assert_same(client.received(), CACHED)
        for client, name in zip(waiting, names):
            self.assert_answer(self.finish(client), verb, name)

    def assert_others_served(self, connected):
        for client, (verb, path, expected) in zip(connected, self.others):
            self.assertIn(expected, self.fetch(path, verb, client=client))
            self.assertIn(expected, self.fetch(path, verb))
        self.assert_same(self.fetch("other/uncached"), self.other["uncached"].content())

    def assert_answer(self, received, verb, name):
        node = self.slow["target" if self.slow[name].made_of == "target" else name]
        if node.type == FOLDER and verb != "HEAD":
            return self.assertIn(b"in-" + name.encode(), received)
        self.assert_same(received, b"" if verb == "HEAD" else node.content())


class FtpStalls(HttpStalls):
    protocol, kind, verb, folder_end = "ftp", FtpClient, "RETR", ""
    stalls = (
        *(("RETR", "read", count, False) for count in (1, 4, 40)),
        *(("RETR", kind, 4, False) for kind in ("lookup", "getattr", "readlink")),
        *(("RETR", "open", count, False) for count in (1, 4)),
        ("RETR", "flush", 4, False),
        *(("LIST", kind, 4, False) for kind in ("opendir", "readdir")),
        *(("RETR", kind, 40, True) for kind in ("getattr", "open")),
        ("NLST", "opendir", 40, True),
    )
    others = (("RETR", "small", b"small"), ("LIST", "folder", b" entry\r\n"))
    # The lines of one client, and how each reply begins.
    script = (
        ("CWD slow/inner", "250 Directory changed to /slow/inner"), ("PWD", '257 "/slow/inner"'),
        ("SIZE file", f"213 {MIB}"), ("RETR none", "550"), ("NOOP", "200"), ("RETR file", None),
        ("CDUP", "250 Directory changed to /slow"), ("PWD", '257 "/slow"'), ("SYST", "215"),
    )

    def assert_others_served(self, connected):
        for client in connected:
            self.assertEqual(client.ask(b"NOOP"), b"200 OK\r\n")
        super().assert_others_served(connected)

    def test_lines_keep_their_order(self):
        for kind in ("lookup", "getattr", "open", "read"):
            with self.subTest(held=kind):
                (client,) = self.connected(1)
                with self.slow.holding(kind):
                    client.send("".join(f"{line}\r\n" for line, _ in self.script).encode())
                    self.slow.wait_held(1)
                self.assert_same(client.channel.rest(), self.slow["file"].content())
                replies = [client.until(b"\r\n").decode() for _ in range(len(self.script) + 1)]
                # A transfer begins and ends when its data connection does.
                others = [reply for reply in replies if reply[:3] not in ("150", "226")]
                starts = [start for _, start in self.script if start]
                for reply, start in zip(others, starts, strict=True):
                    self.assertTrue(reply.startswith(start), replies)

    def test_lines_in_segments_keep_their_order(self):
        client, other = self.connected(2)

        def deliver(lines):
            client.send(lines)
            for _ in range(10):  # by the last answer all parts have been received
                other.ask(b"NOOP")

        with self.slow.holding("lookup"):
            deliver(b"CWD slow/inner\r\n")
            self.slow.wait_held(1)
            deliver(b"FEAT\r\n" * 5000)
            deliver(b"FEAT\r\n" * 5000)
        # Until the replies fill the network, so that the server waits for their reader.
        eventually(lambda: len(client.socket.recv(1 << 16, socket.MSG_PEEK)) > 1 << 15)
        with self.slow.holding("lookup"):
            deliver(b"NOOP\r\nSIZE file\r\nPWD\r\nSYST\r\n")
            self.assertEqual(client.until(b"200 OK\r\n").count(b"211 End\r\n"), 10_000)
            self.slow.wait_held(1)
            other.ask(b"NOOP")
        replies = [client.until(b"\r\n")[:4] for _ in range(3)]
        self.assertEqual(replies, [b"213 ", b"257 ", b"215 "])

    def test_a_new_port_cuts_a_transfer_whose_read_is_stuck(self):
        for command in (b"PASV", b"EPSV"):
            (client,) = self.connected(1)
            with self.subTest(command=command), self.slow.holding("read"):
                client.begin("RETR", "slow/inner/file")
                client.started()
                self.slow.wait_held(1)
                self.assertEqual(client.ask(command), b"426 Transfer failed.\r\n")
                client.channel.close()
                client.channel = client.data(b"")  # an empty line, which has no reply of its own
                client.begin("RETR", "cached")
                client.started()
            # The stuck thread goes on while the new connection is in use.
            self.assert_same(client.channel.rest(), CACHED)
            self.assertEqual(client.until(b"\r\n"), b"226 Transfer complete.\r\n")

    def only_listens(self, besides=0):
        """Whether the server holds one socket and no other, besides those of stuck threads."""
        count, links = 0, f"/proc/{self.server.pid}/fd"
        for number in os.listdir(links):
            with contextlib.suppress(FileNotFoundError):
                count += os.readlink(f"{links}/{number}").startswith("socket:")
        return count == 1 + besides

    def test_clients_that_leave_while_their_lines_wait(self):
        for kind, line in (("lookup", "CWD slow/inner"), ("open", "RETR slow/inner/file"),
                           ("read", "RETR slow/inner/file"), ("readdir", "LIST slow/inner")):
            for leave in (Client.close, Client.reset):
                eventually(self.only_listens)
                (client,) = self.connected(1)
                with self.subTest(held=kind, leave=leave.__name__), self.slow.holding(kind):
                    client.send(f"{line}\r\n".encode() + b"NOOP\r\n" * 5000)
                    self.slow.wait_held(1)
                    client.channel.close()
                    leave(client)
                    # The thread that is stuck in a read was to send what it reads.
                    eventually(lambda: self.only_listens(besides=kind == "read"))


class HttpStop(SlowFolder):
    tree = {f"file{number}": MIB for number in range(40)}
    # The check for leaks would stop every thread, and those that the disk holds cannot be stopped.
    environment = {"ASAN_OPTIONS": "detect_leaks=0"}

    def test_stop_while_the_disk_is_stuck(self):
        self.downloads()
        waiting = self.connected(len(self.tree))
        with self.slow.holding("read"):
            for name, client in zip(self.tree, waiting):
                client.begin(self.verb, f"slow/{name}")
            self.slow.wait_held(ONE_DISK)
            self.assert_stops()


class FtpStop(HttpStop):
    protocol, kind, verb = "ftp", FtpClient, "RETR"


class HttpCovered(SlowFolder):
    environment = HttpStop.environment
    refusal = b"HTTP/1.1 400"

    def test_stop_while_a_stuck_disk_covers_the_folder(self):
        self.assertEqual(self.fetch("small"), b"small")
        connected, waiting = self.connected(1), self.connected(1)
        cover = SlowDisk(self.folder, {"small": 5})
        self.addCleanup(cover.close)
        with cover.holding("getattr"):
            waiting[0].begin(self.list_verb, "")
            cover.wait_held(1)
            for client in connected + self.connected(1):
                client.send(b"?\r\n\r\n")
                self.assertTrue(client.until(b"\r\n").startswith(self.refusal))
            self.assert_stops()


class FtpCovered(HttpCovered):
    protocol, kind, list_verb, verb, refusal = "ftp", FtpClient, "LIST", "RETR", b"50"


class HttpAnswers(SlowFolder):
    sizes = {"huge": 100 * MIB + 7, "odd": 700_001, "chunk": 262_144, "little": 16_384, "none": 0}
    tree = {**sizes, "broken": {f"entry{number}": 1 for number in range(100)},
            "failing": MIB, "failing-little": 10_000, "shrinking": MIB, "replaced": MIB}
    refusal = b"Not Found"
    held_lists = 0

    @classmethod
    def fill(cls, folder):
        super().fill(folder)
        cls.outside = cls.mount(cls.scratch / "outside", {"file": 10, "inner": {"deep": 1}})
        (folder / "links").mkdir()
        for number, target in enumerate(("", "/file", "/inner", "/inner/deep")):
            (folder / "links" / f"absolute{number}").symlink_to(f"{cls.scratch}/outside{target}")
            (folder / "links" / f"relative{number}").symlink_to(f"../../outside{target}")
        (folder / "links" / "inside").symlink_to(folder / "small")

    def tearDown(self):
        self.slow.largest_read = None

    def test_links_that_lead_out_do_not_touch_what_is_there(self):
        links = {os.fsencode(name) for name in os.listdir(self.folder / "links")}
        with self.outside.holding("any"):
            self.assertEqual(set(self.names(b"links")), links)
            for link in links - {b"inside"}:
                self.assertEqual(self.read(b"links/" + link), self.refusal)
                self.assertEqual(self.read(b"links/" + link + b"/file"), self.refusal)
            self.assertEqual(self.read(b"links/inside"), b"small")
        self.assertEqual(set(self.outside.seen), {"init"})

    def test_list_around_a_stuck_disk(self):
        connected, waiting = self.connected(1), self.connected(20)
        with self.slow.holding("any"):
            for client in waiting:
                client.begin(self.list_verb, "")
            self.slow.wait_for(lambda: len(self.slow.held) >= self.held_lists)
            for client in connected + self.connected(1):
                listed = self.fetch(f"folder{self.folder_end}", self.list_verb, client=client)
                self.assertIn(b"entry", listed)
        for client in waiting:
            self.assertIn(b"cached", self.finish(client))

    def test_parallel_mirror(self):
        self.assertLessEqual({name.encode() for name in self.sizes}, set(self.names(b"slow")))
        for self.slow.largest_read in (None, 3000):
            with concurrent.futures.ThreadPoolExecutor(8) as threads:
                bodies = threads.map(self.read, [b"slow/" + name.encode() for name in self.sizes])
            for name, body in zip(self.sizes, bodies):
                with self.subTest(name=name, largest_read=self.slow.largest_read):
                    self.assert_same(body, self.slow[name].content())

    def test_parts(self):
        for first in (0, 1, 262_144, 700_000):
            body = self.fetch("slow/odd", more=self.part.format(first))
            self.assert_same(body, self.slow["odd"].content()[first:])

    def test_reads_that_fail(self):
        for name, self.slow.largest_read in (("failing", None), ("failing", 3000),
                                             ("failing-little", None)):
            file = self.slow[name]
            file.fails_at = file.made_of // 2
            received = self.fetch(f"slow/{name}")
            self.assertLessEqual(len(received), file.fails_at)
            self.assert_same(received, file.content()[: len(received)])
            self.assertEqual(self.fetch("small"), b"small")

    def test_files_that_change_while_they_are_read(self):
        for name, size, seed in (("shrinking", 100_000, "shrinking"), ("replaced", MIB, "new")):
            before, (client,) = self.slow[name].content(), self.connected(1)
            with self.slow.holding("read"):
                client.begin(self.verb, f"slow/{name}")
                self.slow.wait_held(1)
                if seed == "new":
                    self.slow.add(name, size, seed)
                self.slow[name].made_of = size
            self.assert_same(self.finish(client), before[:size])
            self.assert_same(self.fetch(f"slow/{name}"), content(seed, 0, size))

    def test_folders_that_cannot_be_read_to_their_end(self):
        for self.slow["broken"].fails_at in (0, 50):
            self.assertTrue(self.enters(b"slow/broken"))
            self.assertEqual(self.names(b"slow/broken"), [])


class FtpAnswers(HttpAnswers):
    protocol, kind, verb, part = "ftp", FtpClient, "RETR", "REST {}\r\n"
    list_verb, folder_end = "LIST", ""
    refusal = b"550 File not found.\r\n"
    held_lists = ONE_DISK

    def names(self, path):
        names = super().names(path)
        lines = self.ask(b"LIST " + path).split(b"\r\n")[:-1]
        self.assertEqual([line.split()[-1] for line in lines], names)
        return names


if __name__ == "__main__":
    if reason := enter_own_namespace():
        print("skipped:", reason)
        sys.exit(77)
    unittest.main()
