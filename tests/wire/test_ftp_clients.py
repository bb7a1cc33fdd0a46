"""People's programs against the FTP server: curl, lftp, Python's ftplib."""

import ftplib
import io
import os
import random
import re
import unittest

from served import ServedFolder

ODD_NAMES = [
    "with space", "amp & ersand", "100%", "#hash", "quote'single", 'quote"double', "umlaut äöü",
    "emoji 🎞", "semi;colon", "[brackets]", "back\\slash", "dollar$", "star*", "question?",
]


def fill_tree(folder, count):
    """Files in nested folders with odd names, their content telling their place."""
    chooser = random.Random(3)
    for number in range(count):
        parent = folder.joinpath(*chooser.choices(ODD_NAMES, k=chooser.randrange(4)))
        parent.mkdir(parents=True, exist_ok=True)
        name = f"{number} {chooser.choice(ODD_NAMES)}.dat"
        (parent / name).write_bytes(name.encode() * chooser.randrange(200))


class Clients(ServedFolder):
    protocol = "ftp"
    login = ("bob", "p@ss")
    environment = {"TZ": "Europe/Berlin"}
    content = random.Random(4).randbytes(700_001)

    @classmethod
    def fill(cls, folder):
        fill_tree(folder / "tree", 500)
        (folder / "film.mkv").write_bytes(cls.content)
        (folder / ".hidden").write_text("hidden")
        os.utime(folder / "film.mkv", (1_710_000_000, 1_710_000_000))

    def curl(self, path, *options, status=0):
        login = ":".join(self.login)
        return self.run_client("curl", "-sS", "-u", login, *options, self.url + path, status=status)

    def lftp(self, commands):
        script = (
            "set net:max-retries 1; set net:timeout 10; set ftp:charset UTF-8; "
            f"open -u {','.join(self.login)} 127.0.0.1:{self.port}; {commands}"
        )
        self.run_client("lftp", "--norc", "-c", script, limit=240)

    def test_resuming(self):
        target = self.scratch / "film.mkv"
        for resume in (
            lambda: self.curl("film.mkv", "-C", "-", "-o", str(target)),
            lambda: self.lftp(f"get -c film.mkv -o {target}"),
        ):
            target.write_bytes(self.content[:123_456])
            resume()
            self.assertEqual(target.read_bytes(), self.content)

    def test_curl(self):
        self.assertEqual(self.curl("", "-l"), b"film.mkv\ntree\n")
        self.assertIn(b"700001 Mar 09 17:00 film.mkv", self.curl(""))
        self.assertEqual(self.curl("film.mkv", "-r", "700000-"), self.content[700_000:])
        self.curl("no-such-file", status=78)
        self.curl("upload.txt", "-T", __file__, status=25)
        self.assertFalse((self.folder / "upload.txt").exists())
        self.run_client("curl", "-sS", "-u", "bob:wrong", self.url, status=67)

    def test_lftp_mirrors_a_tree(self):
        target = self.scratch / "mirror"
        self.lftp(f"mirror --parallel=4 tree {target}")
        self.run_client("diff", "-r", str(self.folder / "tree"), str(target))

    def test_ftplib_walks_a_tree_in_both_passive_modes(self):
        for use_epsv in (True, False):
            with ftplib.FTP() as ftp:
                ftp.connect("127.0.0.1", self.port, timeout=20)
                ftp.login(*self.login)
                ftp.use_epsv = use_epsv
                self.assertEqual(self.walk(ftp, "/tree", self.folder / "tree"), 500)
                self.assertEqual(ftp.quit(), "221 Goodbye.")

    def walk(self, ftp, virtual, real):
        """The number of files; each comes through a listing."""
        lines = []
        ftp.cwd(virtual)
        ftp.dir(lines.append)
        files = 0
        for line in lines:
            match = re.fullmatch(r"([d-])\S+ 1 owner group +(\d+) \w{3} \d\d \d\d:\d\d (.*)", line)
            kind, size, name = match.groups()
            if kind == "d":
                files += self.walk(ftp, f"{virtual}/{name}", real / name)
                continue
            received = io.BytesIO()
            ftp.retrbinary(f"RETR {virtual}/{name}", received.write)
            self.assertEqual(received.getvalue(), (real / name).read_bytes())
            self.assertEqual(int(size), len(received.getvalue()))
            files += 1
        return files


if __name__ == "__main__":
    unittest.main()
