"""Stock clients against both servers: curl, aria2c, wget, lftp, tnftp and a browser."""

import html
import os
import random
import re
import unittest

from served import ServedFolder, need
from terminal import INTERRUPT, Terminal

GIB = 1 << 30
ODD_NAMES = [
    "with space", "amp & ersand", "100%", "#hash", "quote'single", 'quote"double', "umlaut äöü",
    "emoji 🎞", "semi;colon", "[brackets]", "back\\slash", "dollar$", "star*", "question?", "a<b>",
]


class Clients(ServedFolder):
    login = ("bob", "p@ss word")
    environment = {"TZ": "Europe/Berlin"}
    content = random.Random(4).randbytes(30_000_001)

    @classmethod
    def fill(cls, folder):
        (folder / "film.mkv").write_bytes(cls.content)
        (folder / "short").write_bytes(cls.content[:200_000])
        os.utime(folder / "film.mkv", (1_710_000_000, 1_710_000_000))
        with open(folder / "large.mkv", "wb") as large:
            for place in (0, 3 * GIB, 5 * GIB - 4):
                large.seek(place)
                large.write(b"MARK")
        for name in ODD_NAMES:
            (folder / "tree" / name).mkdir(parents=True)
            for other in ODD_NAMES:
                (folder / "tree" / name / f"{other}.txt").write_text(f"{other} in {name}")

    def curl(self, path, *options, status=0):
        login = ":".join(self.login)
        return self.run_client("curl", "-sS", "-u", login, *options, self.url + path, status=status)

    def assert_resumes(self, get):
        target = self.scratch / "film.mkv"
        target.write_bytes(self.content[:123_456])
        get(target)
        self.assertTrue(target.read_bytes() == self.content)

    def test_curl_resumes(self):
        self.assert_resumes(lambda target: self.curl("film.mkv", "-C", "-", "-o", str(target)))

    def test_curl_reads_around_4_gib(self):
        for wanted in ("0-3", f"{3 * GIB}-{3 * GIB + 3}", "-4", f"{5 * GIB - 4}-"):
            self.assertEqual(self.curl("large.mkv", "-r", wanted), b"MARK", wanted)


class Http(Clients):
    def test_curl_logs_in_and_reads_what_a_refused_upload_is_told(self):
        self.run_client("curl", "-fsS", self.url, status=22)
        upload = ["-w", "%{http_code}", "-H", "Expect:", "--data-binary", "@/proc/self/exe"]
        self.assertEqual(self.curl("film.mkv", *upload), b"Method Not Allowed405")

    def test_aria2c_resumes_with_four_connections(self):
        options = ["-q", "--no-conf", "-c", "-x4", "-s4", "-k1M", "--file-allocation=none"]
        user, password = self.login
        options += [f"--http-user={user}", f"--http-passwd={password}"]
        self.assert_resumes(lambda target: self.run_client(
            "aria2c", *options, "-d", str(target.parent), self.url + "film.mkv"
        ))

    def browse(self, path):
        """Returns the page as the browser has parsed it."""
        options = ["--headless", "--disable-gpu", f"--user-data-dir={self.scratch}/chromium"]
        if os.geteuid() == 0:
            options.append("--no-sandbox")
        url = self.url.replace("//", "//bob:p%40ss%20word@") + path
        return html.unescape(self.run_client("chromium", *options, "--dump-dom", url).decode())

    def test_a_browser_shows_the_pages_and_the_files(self):
        page = self.browse("tree/")
        self.assertIn("<title>Index of /tree/</title>", page)
        folders = {text: link for link, text in re.findall('href="(.*?)">(.*?)/</a>', page)}
        self.assertEqual(set(folders), {"..", *ODD_NAMES})
        for name in ("100%", "question?", "emoji 🎞"):
            shown = self.browse(f"tree/{folders[name]}%23hash.txt")
            self.assertIn(f"#hash in {name}", shown)


class Ftp(Clients):
    protocol = "ftp"

    def lftp(self, commands):
        script = (
            "set net:max-retries 1; set net:timeout 60; set ftp:charset UTF-8; "
            "set ftp:sync-mode off; "  # commands are sent without waiting for replies
            f"open -u '{','.join(self.login)}' 127.0.0.1:{self.port}; {commands}"
        )
        self.run_client("lftp", "--norc", "-c", script, limit=240)

    def test_curl(self):
        self.assertEqual(self.curl("", "-l"), b"film.mkv\nlarge.mkv\nshort\ntree\n")
        self.assertIn(b"30000001 Mar 09 17:00 film.mkv", self.curl(""))
        self.assertEqual(self.curl("film.mkv", "-r", "30000000-"), self.content[30_000_000:])
        self.curl("no-such-file", status=78)
        self.curl("upload.txt", "-T", __file__, status=25)
        self.assertFalse((self.folder / "upload.txt").exists())
        self.run_client("curl", "-sS", "-u", "bob:wrong", self.url, status=67)

    def test_lftp_resumes_and_mirrors_a_tree(self):
        self.assert_resumes(lambda target: self.lftp(f"get -c film.mkv -o {target}"))
        (self.scratch / "film.mkv").unlink()
        self.lftp(f"pget -n 4 film.mkv -o {self.scratch}/film.mkv")
        self.assertTrue((self.scratch / "film.mkv").read_bytes() == self.content)
        target = self.scratch / "mirror"
        self.lftp(f"mirror --parallel=4 tree {target}")
        self.run_client("diff", "-r", str(self.folder / "tree"), str(target))

    def test_tnftp_goes_on_after_an_interrupted_download(self):
        # It waits for the end of the transfer, whose data it may no longer read: the kernel has to
        # hold all of that, while a pipe that nobody reads keeps the download from its end.
        pipe = self.scratch / "pipe"
        os.mkfifo(pipe)
        self.addCleanup(os.close, os.open(pipe, os.O_RDWR))
        need("tnftp")
        with Terminal("tnftp", "-n", "127.0.0.1", str(self.port)) as tnftp:
            for command, reply in (
                (b"", b""), (b'user bob "p@ss word"\n', b"230"),
                (b"get short " + bytes(pipe) + b"\n", b"150"), (INTERRUPT, b"200 OK"),
                (b"size film.mkv\n", b"30000001"), (b"quit\n", b"221"),
            ):
                tnftp.type(command)
                tnftp.wait_for(reply)
                if reply not in (b"150", b"221"):
                    tnftp.wait_for(b"ftp> ")


class OldNames(ServedFolder):
    """Names that are not UTF-8, as old archives of music and photos have them."""

    @classmethod
    def fill(cls, folder):
        place = random.Random(12)
        outer, inner = "Musik \xfc".encode("latin-1"), "写真".encode("shift-jis")
        deepest = os.path.join(bytes(folder), outer, inner)
        os.makedirs(deepest)
        for i in range(200):
            name = place.choice((
                f"Grün {i} ß".encode("latin-1"), f"日本{i}".encode("shift-jis"),
                b"%d " % i + bytes(b for b in place.randbytes(12) if b > 32 and b != ord("/")),
            ))
            parent = place.choice((bytes(folder), os.path.dirname(deepest), deepest))
            with open(os.path.join(parent, name), "wb") as file:
                file.write(b"content %d" % i)

    def assert_whole(self, copy):
        contents = sorted(file.read_bytes() for file in copy.rglob("*") if file.is_file()
                          and not file.name.startswith("index.html"))
        self.assertEqual(contents, sorted(b"content %d" % i for i in range(200)))

    def mirror(self):
        copy = self.scratch / "lftp"
        script = f"set net:max-retries 1; set ftp:charset UTF-8; open {self.url}; mirror . {copy}"
        self.run_client("lftp", "--norc", "-c", script)
        self.assert_whole(copy)


class OldNamesOverHttp(OldNames):
    def test_wget_and_lftp_mirror_all_of_it(self):
        copy = self.scratch / "wget"
        self.run_client("wget", "-q", "-r", "-np", "-nH", "-P", str(copy), self.url)
        self.assert_whole(copy)
        self.mirror()


class OldNamesOverFtp(OldNames):
    protocol = "ftp"

    def test_lftp_mirrors_all_of_it(self):
        self.mirror()


if __name__ == "__main__":
    del OldNames  # not a test by itself
    del Clients  # not a test by itself
    unittest.main()
