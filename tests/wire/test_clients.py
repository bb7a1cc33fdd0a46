"""Stock clients against both servers: curl, aria2c, lftp and a browser."""

import html
import os
import random
import re
import unittest

from served import ServedFolder

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
            f"open -u '{','.join(self.login)}' 127.0.0.1:{self.port}; {commands}"
        )
        self.run_client("lftp", "--norc", "-c", script, limit=240)

    def test_curl(self):
        self.assertEqual(self.curl("", "-l"), b"film.mkv\nlarge.mkv\ntree\n")
        self.assertIn(b"30000001 Mar 09 17:00 film.mkv", self.curl(""))
        self.assertEqual(self.curl("film.mkv", "-r", "30000000-"), self.content[30_000_000:])
        self.curl("no-such-file", status=78)
        self.curl("upload.txt", "-T", __file__, status=25)
        self.assertFalse((self.folder / "upload.txt").exists())
        self.run_client("curl", "-sS", "-u", "bob:wrong", self.url, status=67)

    def test_lftp_resumes_and_mirrors_a_tree(self):
        self.assert_resumes(lambda target: self.lftp(f"get -c film.mkv -o {target}"))
        target = self.scratch / "mirror"
        self.lftp(f"mirror --parallel=4 tree {target}")
        self.run_client("diff", "-r", str(self.folder / "tree"), str(target))


if __name__ == "__main__":
    del Clients  # not a test by itself
    unittest.main()
