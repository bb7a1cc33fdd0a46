"""People's programs against the HTTP server: curl, aria2c, a browser, a player's way of reading."""

import contextlib
import json
import os
import random
import subprocess
import unittest
import urllib.request

from served import ServedFolder, eventually, free_port

GIB = 1 << 30
ODD_NAME = "Photos & Videos #1 100% 🎞"


def write_large(path, size):
    """Every megabyte starts with its number, so that a piece in the wrong place shows."""
    block = random.Random(1).randbytes((1 << 20) - 8)
    with open(path, "wb") as file:
        for number in range(size >> 20):
            file.write(number.to_bytes(8, "big") + block)


class Downloads(ServedFolder):
    @classmethod
    def fill(cls, folder):
        write_large(folder / "large.bin", GIB)
        with open(folder / "film.mkv", "wb") as film:
            film.truncate(5 * GIB)
            for offset in (0, 3 * GIB, 5 * GIB - 4):
                film.seek(offset)
                film.write(b"MARK")

    def test_curl_resumes_and_aria2_loads_with_four_connections(self):
        target = self.scratch / "resumed.bin"
        with open(self.folder / "large.bin", "rb") as source:
            target.write_bytes(source.read(300_000_001))
        self.run_client("curl", "-fsS", "-C", "-", "-o", str(target), self.url + "large.bin")
        self.run_client(
            "aria2c", "-q", "--no-conf", "-x4", "-s4", "-k1M", "--file-allocation=none",
            "-d", str(self.scratch), "-o", "split.bin", self.url + "large.bin",
        )
        for name in ("resumed.bin", "split.bin"):
            self.run_client("cmp", str(self.folder / "large.bin"), str(self.scratch / name))

    def test_a_player_reads_from_the_middle_and_the_end(self):
        size = 5 * GIB
        for wanted, first, last in (
            ("0-3", 0, 3),
            (f"{3 * GIB}-{3 * GIB + 3}", 3 * GIB, 3 * GIB + 3),
            ("-4", size - 4, size - 1),
            (f"{size - 4}-", size - 4, size - 1),
        ):
            request = urllib.request.Request(self.url + "film.mkv")
            request.add_header("Range", "bytes=" + wanted)
            with urllib.request.urlopen(request, timeout=20) as answer:
                self.assertEqual(answer.headers["Content-Range"], f"bytes {first}-{last}/{size}")
                self.assertEqual(answer.read(), b"MARK")


class Login(ServedFolder):
    login = ("bob", "p@ss wörd")

    @classmethod
    def fill(cls, folder):
        (folder / "note.txt").write_text("secret\n")

    def test_curl_logs_in_and_reads_what_a_refused_upload_is_told(self):
        note = self.url + "note.txt"
        curl = ["curl", "-sS", "-u", ":".join(self.login)]
        self.run_client("curl", "-fsS", note, status=22)
        self.assertEqual(self.run_client(*curl, note), b"secret\n")
        upload = ["-w", "%{http_code}", "-H", "Expect:", "--data-binary", "@/proc/self/exe"]
        self.assertEqual(self.run_client(*curl, *upload, note), b"Method Not Allowed405")


class Browser(ServedFolder):
    content = random.Random(2).randbytes(300_000)

    @classmethod
    def fill(cls, folder):
        (folder / ODD_NAME).mkdir()
        (folder / ODD_NAME / "100% <true> \"film\" 🎬.bin").write_bytes(cls.content)
        (folder / "a<b>.txt").write_text("plain\n")

    def setUp(self):
        self.driver_port = free_port()
        driver = subprocess.Popen(
            ["chromedriver", f"--port={self.driver_port}"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        )
        self.addCleanup(driver.wait)
        self.addCleanup(driver.terminate)
        arguments = [
            "--headless", "--disable-gpu", "--no-first-run", "--disable-background-networking",
            "--disable-component-update", "--disable-sync", f"--user-data-dir={self.scratch}/chromium",
        ]
        if os.geteuid() == 0:
            arguments.append("--no-sandbox")
        capabilities = {"alwaysMatch": {"goog:chromeOptions": {"args": arguments}}}
        self.session = "/session"
        answer = eventually(lambda: self.begin({"capabilities": capabilities}), limit=60)
        self.session = "/session/" + answer["sessionId"]
        self.addCleanup(self.command, "", method="DELETE")

    def begin(self, body):
        with contextlib.suppress(OSError):  # until the driver listens
            return self.command("", body)

    def command(self, path, body=None, method=None):
        """One call of the WebDriver protocol."""
        url = f"http://127.0.0.1:{self.driver_port}{self.session}{path}"
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(url, data, method=method)
        with urllib.request.urlopen(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def script(self, text):
        return self.command("/execute/sync", {"script": text, "args": []})

    def title(self):
        return self.script("return document.title")

    def test_shows_the_page_follows_a_link_and_gets_the_file(self):
        self.command("/url", {"url": self.url})
        self.assertEqual(self.title(), "Index of /")
        texts = self.script("return [...document.links].map(a => a.textContent)")
        self.assertEqual(texts, ["a<b>.txt", ODD_NAME + "/"])
        self.script("document.links[1].click()")
        eventually(lambda: self.title() == f"Index of /{ODD_NAME}/")
        digest = self.script(
            "return fetch(document.links[1].href).then(r => r.arrayBuffer())"
            ".then(b => Array.from(new Uint8Array(b)))"
        )
        self.assertEqual(bytes(digest), self.content)
        self.script("document.links[0].click()")
        eventually(lambda: self.title() == "Index of /")


if __name__ == "__main__":
    unittest.main()
