"""An X server of its own with a window manager, in which the program runs as its users see it."""

import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

from served import eventually

SERVER = os.environ.get("QUORVEL_SERVER", "build/asan/bin/quorvel-server")
HERE = pathlib.Path(__file__).parent
TITLE = "Quorvel Server"


def fetch(url):
    command = ["curl", "-sS", "--max-time", "5", url]
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout


class Desktop:
    """What it starts ends by what it hands to `cleanup`. The session bus is not there yet."""

    def __init__(self, cleanup, size="1024x768", **environment):
        self.cleanup = cleanup
        home = tempfile.TemporaryDirectory(prefix="quorvel-desktop-", ignore_cleanup_errors=True)
        cleanup(home.cleanup)
        self.home = pathlib.Path(home.name)
        self.settings = self.home / "quorvel-server/settings.json"
        self.environment = {
            **os.environ,
            **dict.fromkeys(["HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"], home.name),
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={home.name}/bus",
            "QT_QPA_PLATFORM": "xcb",
            "LSAN_OPTIONS": f"suppressions={HERE}/leaks.supp:print_suppressions=0",
            "LC_ALL": "C.UTF-8",
            "NO_AT_BRIDGE": "1",
            **environment,
        }
        for name in ("WAYLAND_DISPLAY", "XAUTHORITY", "QT_SCALE_FACTOR_ROUNDING_POLICY"):
            self.environment.pop(name, None)
        self.start_screen(size)

    def start_screen(self, size):
        reader, writer = os.pipe()
        # Without -r a key that a busy machine releases late would be pressed again and again.
        command = ["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{size}x24", "-r"]
        self.start(*command, "-noreset", "-nolisten", "tcp", pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as display:
            self.environment["DISPLAY"] = ":" + display.readline().strip()
        # The first key makes another keyboard the current one; a window manager that is told so
        # lets go of its shortcuts for a moment.
        self.keys("Shift_L")
        # What is mapped before it runs its command may stay unseen.
        runs = self.home / "openbox-runs"
        self.start("openbox", "--sm-disable", "--startup", f"touch {runs}")
        eventually(runs.exists)

    def start(self, *command, **options):
        with open(self.home / (pathlib.Path(command[0]).name + ".log"), "ab") as log:
            process = subprocess.Popen(
                command, env=self.environment, stdout=log, stderr=log, **options
            )
        self.cleanup(self.end, process)
        return process

    @staticmethod
    def end(process, how=signal.SIGTERM):
        process.send_signal(how)
        process.wait(timeout=20)

    def store(self, **settings):
        self.settings.parent.mkdir(mode=0o700)
        named = {"server." + key: value for key, value in settings.items()}
        self.settings.write_text(json.dumps(named))

    def start_server(self):
        return self.start(SERVER)

    def start_tray(self):
        place = "--edge top --align right --widthtype request --height 28".split()
        return self.start("trayer", *place, "--SetDockType", "true", "--expand", "true")

    def run(self, *command, check=False):
        """What the command writes."""
        return subprocess.run(
            command, env=self.environment, capture_output=True, timeout=30, text=True, check=check
        ).stdout

    def shown(self, name=TITLE):
        """Numbers of the windows of this title: those of the window manager, and the others."""
        tree = self.run("xwininfo", "-root", "-tree")
        named = re.findall(r'^ *(0x[0-9a-f]+) "(.*)": \(', tree, re.MULTILINE)
        numbers = {int(number, 16) for number, title in named if title == name}
        found = {n for n in numbers if "IsViewable" in self.run("xwininfo", "-id", str(n))}
        listed = re.findall("0x[0-9a-f]+", self.run("xprop", "-root", "_NET_CLIENT_LIST"))
        managed = {int(number, 16) for number in listed}
        return found & managed, found - managed

    def windows(self, name=TITLE):
        return [str(window) for window in self.shown(name)[0]]

    def icons_and_menus(self):
        return self.shown()[1]

    def window(self, name=TITLE):
        """The window, once it shows and has the focus."""
        window = eventually(lambda: self.windows(name))[0]
        eventually(lambda: self.run("xdotool", "getwindowfocus").strip() == window)
        return window

    def gone(self, name=TITLE):
        eventually(lambda: not self.windows(name))

    def keys(self, *names):
        self.run("xdotool", "key", "--clearmodifiers", "--delay", "15", *names, check=True)

    def type(self, text):
        self.run("xdotool", "type", "--delay", "15", text, check=True)


class OnADesktop(unittest.TestCase):
    """A desktop for each test, and a folder on it to share."""

    environment = {}

    def setUp(self):
        self.desktop = Desktop(self.addCleanup, **self.environment)
        self.folder = self.desktop.home / "Videos & more"
        self.folder.mkdir()
        (self.folder / "film.mp4").write_bytes(b"moving")

    def stored(self, name):
        return json.loads(self.desktop.settings.read_text()).get("server." + name)

    def assert_serves(self, url):
        eventually(lambda: "film.mp4" in fetch(url))

    def assert_ended(self, program):
        log = self.desktop.home / "quorvel-server.log"
        self.assertEqual(program.wait(timeout=20), 0, log.read_text(errors="replace"))

    def start_again(self):
        self.assert_ended(self.desktop.start_server())
        return self.desktop.window()
