"""People's programs against the FTP server: curl, lftp, Python's ftplib."""

import ftplib
import hashlib
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
        parent = folder
        for _ in range(chooser.randrange(4)):
            parent = parent / chooser.choice(ODD_NAMES)
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
        (folder / "empty").mkdir()
        (folder / ".hidden").write_text("hidden")
        os.utime(folder / "film.mkv", (1_710_000_000, 1_710_000_000))

    def curl(self, path, *options, status=0):
        login = ":".join(self.login)
        return self.run_client("curl", "-sS", "-u", login, *options, self.url + path, status=status)

    def lftp(self, commands):
        user, password = self.login
        script = f"set net:max-retries 1; set net:timeout 10; set ftp:charset UTF-8; open -u {user},{password} 127.0.0.1:{self.port}; {commands}"
        return self.run_client("lftp", "--norc", "-c", script, limit=240)

    def test_curl_lists_gets_and_resumes(self):
        self.assertEqual(self.curl("", "-l"), b"empty\r\nfilm.mkv\r\ntree\r\n".replace(b"\r\n", b"\n"))
        self.assertIn(b"700001 Mar 09 17:00 film.mkv", self.curl(""))
        self.assertEqual(self.curl("film.mkv"), self.content)
        self.assertEqual(self.curl("film.mkv", "-r", "700000-"), self.content[700_000:])
        target = self.scratch / "film.mkv"
        target.write_bytes(self.content[:123_456])
        self.curl("film.mkv", "-C", "-", "-o", str(target))
        self.assertEqual(target.read_bytes(), self.content)
        self.curl("no-such-file", status=78)
        self.run_client("curl", "-sS", "-u", "bob:wrong", self.url, status=67)

    def test_curl_writes_nothing(self):
        self.curl("upload.txt", "-T", __file__, status=25)
        self.assertFalse((self.folder / "upload.txt").exists())

    def test_lftp_mirrors_a_tree(self):
        target = self.scratch / "mirror"
        self.lftp(f"mirror --parallel=4 tree {target}")
        self.run_client("diff", "-r", str(self.folder / "tree"), str(target))

    def test_lftp_resumes(self):
        target = self.scratch / "lftp.mkv"
        target.write_bytes(self.content[:300_000])
        self.lftp(f"get -c film.mkv -o {target}")
        self.assertEqual(target.read_bytes(), self.content)

    def test_ftplib_reads_in_every_way(self):
        with ftplib.FTP() as ftp:
            ftp.connect("127.0.0.1", self.port, timeout=20)
            self.assertEqual(ftp.getwelcome(), "220 Quorvel FTP ready.")
            with self.assertRaises(ftplib.error_perm):
                ftp.login("bob", "wrong")
            ftp.login(*self.login)
            self.assertEqual(ftp.pwd(), "/")
            self.assertEqual(ftp.nlst(), ["empty", "film.mkv", "tree"])
            lines = []
            ftp.dir(lines.append)
            self.assertEqual(len(lines), 3)
            self.assertEqual(ftp.size("film.mkv"), len(self.content))
            self.assertEqual(ftp.sendcmd("MDTM film.mkv"), "213 20240309160000")
            for passive in ("EPSV", "PASV"):
                ftp.use_epsv = passive == "EPSV"
                received = io.BytesIO()
                ftp.retrbinary("RETR film.mkv", received.write, rest=5)
                self.assertEqual(received.getvalue(), self.content[5:])
            names = []
            ftp.cwd("empty")
            ftp.retrlines("NLST", names.append)
            self.assertEqual(names, [])
            ftp.cwd("..")
            self.assertEqual(ftp.pwd(), "/")
            with self.assertRaises(ftplib.error_perm):
                ftp.storbinary("STOR x", io.BytesIO(b"x"))
            with self.assertRaises(ftplib.error_perm):
                ftp.delete("film.mkv")
            self.assertEqual(ftp.quit(), "221 Goodbye.")

    def test_tree_is_served_whole(self):
        """Every name comes through a listing and leads to its file."""
        with ftplib.FTP() as ftp:
            ftp.encoding = "utf-8"
            ftp.connect("127.0.0.1", self.port, timeout=20)
            ftp.login(*self.login)
            self.assertEqual(self.walk(ftp, "/tree", self.folder / "tree"), 500)

    def walk(self, ftp, virtual, real):
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
            received = hashlib.sha256()
            ftp.retrbinary(f"RETR {virtual}/{name}", received.update)
            self.assertEqual(int(size), (real / name).stat().st_size)
            self.assertEqual(received.digest(), hashlib.sha256((real / name).read_bytes()).digest())
            files += 1
        return files


if __name__ == "__main__":
    unittest.main()
