"""Folders that change while they are read, and names and files made to confuse."""

import html
import os
import re
import shutil
import subprocess
import threading
import time
import unittest
import urllib.parse

from hostile import HostileTest, main, scaled

IS_ROOT = os.geteuid() == 0
ODD_NAMES = [
    b"new\nline", b"carriage\rreturn", b'quote"', b"quote'", b"<script>alert(1)<script>", b"a&b",
    b"\xff\xfe not UTF-8", b"x" * 255, b"\xc3\xa4" * 127, b"100%41", b"a?b#c", b"back\\slash",
    b"%", b" ", b"-la", b"~", b"javascript:alert(1)", b"\x01\x7f",
]


def links(page):
    """The links of an index page, as bytes on disk."""
    found = re.findall(rb'<a class="\w+" href="([^"]*)">', page)
    return [urllib.parse.unquote_to_bytes(html.unescape(link.decode())) for link in found]


class ChangingFolder:
    """Entries appear, vanish, shrink and turn into other kinds while two clients list and load."""

    def turn(self, stop):
        """One name after the other goes through every kind of entry."""
        number = 0
        while not stop.is_set():
            path = self.folder / "changing" / f"entry{number % 5}"
            path.write_bytes(b"x" * 200_000)
            os.truncate(path, 10)
            path.unlink()
            path.symlink_to("/etc/passwd")
            path.unlink()
            path.mkdir()
            path.rmdir()
            path.symlink_to("../kept.txt")
            path.unlink()
            number += 1

    def test_changing_entries(self):
        stop = threading.Event()
        changer = threading.Thread(target=self.turn, args=(stop,))
        changer.start()
        self.addCleanup(changer.join)
        self.addCleanup(stop.set)
        visits = 0
        with self.attack("entries that change while they are read"):
            end = time.monotonic() + scaled(2, 20)
            while time.monotonic() < end:
                self.visit(visits)
                visits += 1
            self.measure()
            stop.set()
        self.assertGreater(visits, 20)


class Http(ChangingFolder, HostileTest):
    @classmethod
    def fill(cls, folder):
        (folder / "kept.txt").write_bytes(b"kept")
        (folder / "changing").mkdir()
        (folder / "odd").mkdir()
        for name in ODD_NAMES:
            with open(os.fsencode(folder / "odd") + b"/" + name, "wb") as file:
                file.write(b"content of " + name)
        (folder / "many").mkdir()
        for number in range(scaled(5000, 100_000)):
            (folder / "many" / f"file {number}.txt").touch()
        (folder / "loop").symlink_to("loop")
        (folder / "here").symlink_to(".")
        cls.make_deep(folder / "deep")

    @staticmethod
    def make_deep(folder):
        """25 folders in each other, their names 250 characters long."""
        folder.mkdir()
        at = os.open(folder, os.O_PATH)
        for _ in range(25):
            os.mkdir("d" * 250, dir_fd=at)
            below = os.open("d" * 250, os.O_PATH, dir_fd=at)
            os.close(at)
            at = below
        os.close(at)

    @classmethod
    def tearDownClass(cls):
        subprocess.run(["rm", "-rf", str(cls.folder / "deep")], check=True)

    def visit(self, number):
        answer = self.get(b"/changing/" + (b"" if number % 2 else b"entry%d" % (number % 5)))
        head, _, body = answer.partition(b"\r\n\r\n")
        self.assertRegex(head, rb"^HTTP/1.1 (200|301|404|500) ")
        self.assertNotIn(b"root:", body)

    def test_odd_names_are_links_to_themselves(self):
        page = self.get(b"/odd/").partition(b"\r\n\r\n")[2]
        self.assertNotIn(b"<script", page)
        self.assertEqual(sorted(links(page)), sorted(ODD_NAMES))
        for name in ODD_NAMES:
            answer = self.get(b"/odd/" + urllib.parse.quote_from_bytes(name).encode())
            if name.startswith(b"\xff"):
                # A request path is text; these bytes cannot be asked for.
                self.assertTrue(answer.startswith(b"HTTP/1.1 404 "))
            else:
                self.assertTrue(answer.endswith(b"content of " + name), answer)

    def test_many_entries(self):
        with self.attack(f"a folder of {scaled(5000, 100_000)} entries"):
            start = time.monotonic()
            page = self.get(b"/many/")
            self.measure()
            self.assertLess(time.monotonic() - start, 10)
            self.assertEqual(page.count(b"<li>"), scaled(5001, 100_001))

    def test_loops_and_long_paths(self):
        with self.attack("loops of links, paths up to 6,000 bytes"):
            self.assertEqual(self.status(b"/loop"), 404)
            self.assertEqual(self.status(b"/here" * 30 + b"/"), 200)
            self.assertEqual(self.status(b"/here" * 100 + b"/"), 404)
            deep = b"/" + b"d" * 250
            self.assertEqual(self.status(b"/deep" + deep * 15 + b"/"), 200)
            self.assertEqual(self.status(b"/deep" + deep * 25 + b"/"), 404)
            self.assertEqual(self.status(b"/" + b"x" * 300), 404)
            self.assertEqual(self.status(b"/" * 100_000), 200)


class Ftp(ChangingFolder, HostileTest):
    protocol = "ftp"

    @classmethod
    def fill(cls, folder):
        Http.fill.__func__(cls, folder)

    make_deep = Http.make_deep
    tearDownClass = classmethod(Http.tearDownClass.__func__)

    def visit(self, number):
        client = self.session()
        command = b"LIST changing" if number % 2 else b"RETR changing/entry%d" % (number % 5)
        self.assertNotIn(b"root:", client.transfer(command))
        client.close()

    def test_odd_names(self):
        client = self.session()
        names = client.transfer(b"NLST odd")
        # As on disk, so that a line end in a name shows as one.
        self.assertEqual(sorted(names.replace(b"new\nline", b"N").split(b"\r\n")[:-1]),
                         sorted(name.replace(b"new\nline", b"N") for name in ODD_NAMES))
        for name in ODD_NAMES:
            if b"\n" not in name and not name.startswith(b"\xff"):
                self.assertEqual(client.transfer(b"RETR odd/" + name), b"content of " + name)

    def test_many_entries(self):
        with self.attack(f"a folder of {scaled(5000, 100_000)} entries"):
            listing = self.session().transfer(b"LIST many")
            self.measure()
            self.assertEqual(listing.count(b"\r\n"), scaled(5000, 100_000))

    def test_loops_and_long_paths(self):
        client = self.session()
        with self.attack("loops of links, paths up to 6,000 bytes"):
            self.assertTrue(client.ask(b"SIZE loop").startswith(b"550"))
            self.assertTrue(client.ask(b"CWD " + b"here/" * 30).startswith(b"250"))
            self.assertTrue(client.ask(b"CWD " + b"here/" * 100).startswith(b"550"))
            deep = b"/" + b"d" * 250
            self.assertTrue(client.ask(b"CWD /deep" + deep * 15).startswith(b"250"))
            for _ in range(20):  # step by step, beyond what a path may be
                reply = client.ask(b"CWD " + b"d" * 250)
            self.assertTrue(reply.startswith(b"550"))


@unittest.skipUnless(IS_ROOT, "needs root to serve as somebody else")
class UnreadableFolder(HostileTest):
    """An ordinary user shares what is partly not theirs."""

    launcher = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")

    @classmethod
    def fill(cls, folder):
        cls.scratch.chmod(0o755)
        (folder / "closed").mkdir(mode=0o000)
        (folder / "file").touch(mode=0o000)

    def test_what_is_closed_stays_closed(self):
        self.assertEqual(self.status(b"/file"), 500)
        self.assertEqual(self.status(b"/closed/"), 200)  # as empty
        self.assertEqual(self.status(b"/closed/file"), 404)


class VanishingFolder(HostileTest):
    @classmethod
    def fill(cls, folder):
        (folder / "old").touch()

    def test_deleted_and_replaced(self):
        self.assertEqual(self.status(b"/old"), 200)
        shutil.rmtree(self.folder)
        self.assertEqual(self.status(b"/"), 404)
        self.folder.mkdir()
        (self.folder / "new").write_bytes(b"new")
        self.assertNotEqual(self.status(b"/"), 404)
        self.assert_idle()


@unittest.skipUnless(IS_ROOT, "needs root to mount")
class MountedFolder(HostileTest):
    """A stick that is pulled: a file system of its own, mounted where only the server sees it."""

    mount = "mount -t tmpfs tmpfs {folder} && touch {folder}/file"

    @classmethod
    def fill(cls, folder):
        script = cls.mount.format(folder=folder) + ' && exec "$@"'
        cls.launcher = ("unshare", "--mount", "sh", "-c", script, "-")

    def enter(self, *command):
        return subprocess.run(["nsenter", "-m", "-t", str(self.pid), *command], check=True)

    def test_unmount_while_serving(self):
        self.assertEqual(self.status(b"/file"), 200)
        idle = self.client()
        self.assertEqual(self.status(b"/"), 200)
        self.enter("umount", str(self.folder))  # would fail as busy
        self.assertEqual(self.status(b"/file"), 404)
        idle.close()


class MountedFolderFtp(MountedFolder):
    protocol = "ftp"

    def test_unmount_while_serving(self):
        client = self.session()
        self.assertEqual(client.transfer(b"NLST"), b"file\r\n")
        self.enter("umount", str(self.folder))
        self.assertTrue(client.ask(b"SIZE file").startswith(b"550"))


@unittest.skipUnless(IS_ROOT, "needs root to mount")
class FolderWithErrors(MountedFolder):
    """Files that cannot be read, or have nothing to give yet: /proc has both."""

    protocol = "ftp"
    mount = "mount -t proc proc {folder}"

    def test_unmount_while_serving(self):
        client = self.session()
        self.assertEqual(client.transfer(b"RETR self/mem"), b"")
        self.assertIn(b"Name:", client.transfer(b"RETR self/status"))
        self.assertTrue(client.ask(b"RETR self/root/etc/passwd").startswith(b"550"))
        self.assertIn(b" self\r\n", client.transfer(b"LIST"))
        client.transfer(b"RETR kmsg")  # ends, although more may come one day
        self.assert_idle()


if __name__ == "__main__":
    main()
