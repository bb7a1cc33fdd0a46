"""A program in a terminal of its own, used as by a person at the keyboard."""

import os
import pty
import re
import select
import signal
import time

from served import PATIENCE

INTERRUPT = b"\x03"  # Ctrl-C


class Terminal:
    """Runs the command until the end of a with block."""

    def __init__(self, *command):
        self._process, self._keyboard = pty.fork()
        if self._process == 0:
            os.execvp(command[0], command)
        self._shown = b""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.kill(self._process, signal.SIGKILL)
        os.waitpid(self._process, 0)
        os.close(self._keyboard)

    def type(self, keys):
        os.write(self._keyboard, keys)

    def wait_for(self, pattern):
        """Waits until the pattern is shown, after what the last call has found."""
        deadline = time.monotonic() + PATIENCE
        while not (found := re.search(pattern, self._shown)):
            left = max(0, deadline - time.monotonic())
            assert select.select([self._keyboard], [], [], left)[0], self._shown
            self._shown += os.read(self._keyboard, 65536)
        self._shown = self._shown[found.end():]
