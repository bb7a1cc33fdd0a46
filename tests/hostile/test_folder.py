"""Folders that change while they are read, odd names, and files that cannot be read."""

import itertools
import os
import subprocess
import threading
import unittest

from hostile import HostileTest
from served import eventually

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
        """Turns one entry after the other into every kind of file."""
        for number in itertools.count():
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
            if stop.is_set():
                return

    def test_entries_that_change_while_they_are_read(self):
        stop = threading.Event()
        changer = threading.Thread(target=self.turn, args=(stop,))
        changer.start()
        self.addCleanup(changer.join)
        self.addCleanup(stop.set)
        with self.attack("entries that change while they are read"):
            for number in range(300):
                self.names(b"changing")
                self.assertNotIn(b"root:", self.read(b"changing/entry%d" % (number % 5)))
            stop.set()

    def test_odd_names_lead_to_their_files(self):
        texts = {name.decode(errors="replace").encode(): name for name in ODD_NAMES}
        self.assertEqual(sorted(self.names(b"odd")), sorted(texts))
        for text, name in texts.items():
            # An FTP command is one line.
            if self.protocol == "http" or b"\n" not in name:
                self.assertEqual(self.read(b"odd/" + text), b"content of " + name)


class Ftp(Http):
    protocol = "ftp"


@unittest.skipUnless(os.geteuid() == 0, "needs root to mount and to switch users")
class MountedFolder(HostileTest):
    """A separate file system, mounted in the server's namespace only."""

    mount = ""
    user = ()

    @classmethod
    def fill(cls, folder):
        cls.scratch.chmod(0o755)
        script = cls.mount.format(folder=folder) + ' && exec "$@"'
        cls.launcher = ("unshare", "--mount", "sh", "-c", script, "-", *cls.user)


class PulledStick(MountedFolder):
    """A USB stick that its user may read only in part is shared, then pulled out."""

    mount = (
        "mount -t tmpfs tmpfs {folder} && install -m 0 /dev/null {folder}/file && "
        "mkdir {folder}/dir && touch {folder}/dir/file && chmod 0 {folder}/dir"
    )
    user = ("setpriv", "--reuid=65534", "--regid=65534", "--clear-groups")
    refusals = (b"Cannot open file", b"Not Found")

    def test_closed_entries_and_an_unmount(self):
        self.client()
        self.assertIn(b"file", self.names(b"."))
        self.assertEqual((self.read(b"file"), self.read(b"dir/file")), self.refusals)
        self.assertTrue(self.enters(b"dir"))
        self.assertEqual(self.names(b"dir"), [])
        enter = ["nsenter", "-m", "-r", "-t", str(self.server.pid)]
        subprocess.run([*enter, "umount", str(self.folder)], check=True)  # fails if it is in use
        self.assertNotIn(b"file", self.names(b"."))


class PulledStickOverFtp(PulledStick):
    protocol = "ftp"
    refusals = (b"550 File not found.\r\n",) * 2


class FolderWithErrors(MountedFolder):
    """Files that cannot be read, or have nothing to read yet: /proc has both."""

    protocol = "ftp"
    mount = "mount -t proc proc {folder}"

    def test_reading_goes_on(self):
        self.assertEqual(self.read(b"self/mem"), b"")
        self.assertIn(b"Name:", self.read(b"self/status"))
        self.assertTrue(self.read(b"self/root/etc/passwd").startswith(b"550"))
        self.assertIn(b"self", self.names(b"."))
        self.read(b"kmsg")  # ends, although more may follow later
        eventually(self.is_idle)


if __name__ == "__main__":
    unittest.main()
