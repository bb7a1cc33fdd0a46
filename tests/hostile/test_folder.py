"""Folders that change while they are read, and names and files made to confuse."""

import os
import subprocess
import threading
import time
import unittest

from hostile import HostileTest
from served import eventually

NEEDS_ROOT = unittest.skipUnless(os.geteuid() == 0, "needs root to mount, or to be somebody else")
ODD_NAMES = [
    b"new\nline", b"carriage\rreturn", b'quote"', b"quote'", b"<script>alert(1)<script>", b"a&b",
    b"\xff\xfe not UTF-8", b"x" * 255, b"\xc3\xa4" * 127, b"100%41", b"a?b#c", b"back\\slash",
    b"%", b" ", b"-la", b"~", b"javascript:alert(1)", b"\x01\x7f",
]


class Http(HostileTest):
    @classmethod
    def fill(cls, folder):
        (folder / "kept.txt").write_bytes(b"kept")
        (folder / "changing").mkdir()
        (folder / "odd").mkdir()
        for name in ODD_NAMES:
            with open(os.fsencode(folder / "odd") + b"/" + name, "wb") as file:
                file.write(b"content of " + name)

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

    def test_entries_that_change_while_they_are_read(self):
        stop = threading.Event()
        changer = threading.Thread(target=self.turn, args=(stop,))
        changer.start()
        self.addCleanup(changer.join)
        self.addCleanup(stop.set)
        with self.attack("entries that change while they are read"):
            end = time.monotonic() + 2
            number = 0
            while time.monotonic() < end or number < 20:
                self.names(b"changing")
                self.assertNotIn(b"root:", self.read(b"changing/entry%d" % (number % 5)))
                number += 1
            stop.set()

    def test_odd_names_lead_to_their_files(self):
        self.assertEqual(sorted(self.names(b"odd")), sorted(ODD_NAMES))
        for name in ODD_NAMES:
            # What is asked for is text, over FTP in one line.
            if name[0] != 0xFF and (self.protocol == "http" or b"\n" not in name):
                self.assertEqual(self.read(b"odd/" + name), b"content of " + name)


class Ftp(Http):
    protocol = "ftp"


@NEEDS_ROOT
class UnreadableFolder(HostileTest):
    """An ordinary user shares what is partly not theirs."""

    launcher = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")

    @classmethod
    def fill(cls, folder):
        cls.scratch.chmod(0o755)
        (folder / "closed").mkdir(mode=0o000)
        (folder / "file").touch(mode=0o000)

    def test_what_is_closed_stays_closed(self):
        answers = [self.get(path)[0] for path in (b"file", b"closed/", b"closed/file")]
        self.assertEqual(answers, [500, 200, 404])  # a closed folder is as an empty one


class MountedFolder(HostileTest):
    """A file system of its own, mounted where only the server sees it."""

    mount = ""

    @classmethod
    def fill(cls, folder):
        script = cls.mount.format(folder=folder) + ' && exec "$@"'
        cls.launcher = ("unshare", "--mount", "sh", "-c", script, "-")


@NEEDS_ROOT
class PulledStick(MountedFolder):
    mount = "mount -t tmpfs tmpfs {folder} && touch {folder}/file"

    def test_unmount_while_serving(self):
        self.client()
        self.assertEqual(self.names(b"."), [b"file"])
        enter = ["nsenter", "-m", "-t", str(self.server.pid)]
        subprocess.run([*enter, "umount", str(self.folder)], check=True)  # would fail as busy
        self.assertNotIn(b"file", self.names(b"."))


class PulledStickOverFtp(PulledStick):
    protocol = "ftp"


@NEEDS_ROOT
class FolderWithErrors(MountedFolder):
    """Files that cannot be read, or have nothing to give yet: /proc has both."""

    protocol = "ftp"
    mount = "mount -t proc proc {folder}"

    def test_reading_goes_on(self):
        self.assertEqual(self.read(b"self/mem"), b"")
        self.assertIn(b"Name:", self.read(b"self/status"))
        self.assertTrue(self.read(b"self/root/etc/passwd").startswith(b"550"))
        self.assertIn(b"self", self.names(b"."))
        self.read(b"kmsg")  # ends, although more may come one day
        eventually(self.is_idle)


if __name__ == "__main__":
    unittest.main()
