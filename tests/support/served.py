"""Shared by the tests of whole programs: a folder, and the program that serves it."""

import contextlib
import os
import pathlib
import random
import shutil
import signal
import socket
import subprocess
import tempfile
import time
import unittest

PATIENCE = 60  # seconds; bounds every wait, and only a test that fails waits so long
SERVE = os.environ.get("QUORVEL_SERVE", "build/asan/bin/quorvel-serve")


def need(command):
    """Skips the test where the system has no such program."""
    if not shutil.which(command):
        raise unittest.SkipTest(f"needs {command}")


def free_port():
    """From below the ephemeral range: no client is given it before the server binds to it."""
    while True:
        with socket.socket() as probe, contextlib.suppress(OSError):
            probe.bind(("0.0.0.0", random.randrange(10_000, 30_000)))
            return probe.getsockname()[1]


def eventually(condition):
    """Polls for the condition's first true value and returns it; fails if there is none."""
    deadline = time.monotonic() + PATIENCE
    while not (answer := condition()):
        assert time.monotonic() < deadline, "waited in vain"
        time.sleep(0.03)
    return answer


class ServedFolder(unittest.TestCase):
    """One running server for each test class; `fill` creates what it shares."""

    protocol = "http"
    login = ()
    environment = {}
    launcher = ()  # precedes the server's command, and must end by executing it

    @classmethod
    def fill(cls, folder):
        raise NotImplementedError

    @classmethod
    def setUpClass(cls):
        cls.scratch = pathlib.Path(tempfile.mkdtemp(prefix="quorvel-wire-"))
        cls.addClassCleanup(shutil.rmtree, cls.scratch, ignore_errors=True)
        cls.folder = cls.scratch / "shared"
        cls.folder.mkdir()
        cls.fill(cls.folder)
        cls.port = free_port()
        command = [*cls.launcher, SERVE, "--type", cls.protocol, "--folder", str(cls.folder)]
        command += ["--port", str(cls.port)]
        if cls.login:
            command += ["--user", cls.login[0], "--pass", cls.login[1]]
        cls.server = subprocess.Popen(
            command, stdout=subprocess.PIPE, text=True, env={**os.environ, **cls.environment}
        )
        cls.addClassCleanup(cls.stop_server)
        first_line = cls.server.stdout.readline()
        assert first_line.endswith("server is running.\n"), first_line

    @classmethod
    def stop_server(cls):
        with contextlib.suppress(ProcessLookupError):
            cls.server.send_signal(signal.SIGTERM)
        status = cls.server.wait(timeout=PATIENCE)
        cls.server.stdout.close()
        assert status == 0, f"the server ended with {status}"

    @property
    def url(self):
        return f"{self.protocol}://127.0.0.1:{self.port}/"

    def run_client(self, *command, limit=120, status=0):
        need(command[0])
        done = subprocess.run(command, capture_output=True, timeout=limit, check=False)
        self.assertEqual(done.returncode, status, done.stderr.decode(errors="replace"))
        return done.stdout
