"""An X server of its own with a window manager, in which the program runs as its users see it."""

import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from served import eventually

SERVER = os.environ.get("QUORVEL_SERVER", "build/asan/bin/quorvel-server")
HERE = pathlib.Path(__file__).parent
TITLE = "Quorvel Server"


def fetch(url):
    return subprocess.run(
        ["curl", "-sS", "--max-time", "5", url], capture_output=True, text=True, check=False
    ).stdout


class Desktop:
    """To be used in a with statement. Everything that was started in it ends with it."""

    def __init__(self, size="1024x768", environment=()):
        self.size = size
        self.cleanup = contextlib.ExitStack()
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="quorvel-desktop-"))
        self.cleanup.callback(shutil.rmtree, self.home, ignore_errors=True)
        (self.home / "runtime").mkdir(mode=0o700)
        self.environment = {
            **os.environ,
            "HOME": str(self.home),
            "XDG_CONFIG_HOME": str(self.home / "config"),
            "XDG_RUNTIME_DIR": str(self.home / "runtime"),
            "QT_QPA_PLATFORM": "xcb",
            "LSAN_OPTIONS": f"suppressions={HERE}/leaks.supp:print_suppressions=0",
            "LC_ALL": "C.UTF-8",
            "NO_AT_BRIDGE": "1",
            "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent",
            **dict(environment),
        }
        for name in ("WAYLAND_DISPLAY", "XAUTHORITY", "QT_SCALE_FACTOR_ROUNDING_POLICY"):
            self.environment.pop(name, None)

    def __enter__(self):
        with contextlib.ExitStack() as unless_ready:
            unless_ready.callback(self.cleanup.close)
            self.start_screen()
            unless_ready.pop_all()
        return self

    def start_screen(self):
        reader, writer = os.pipe()
        command = ["Xvfb", "-displayfd", str(writer), "-screen", "0", f"{self.size}x24"]
        self.start(*command, "-noreset", "-nolisten", "tcp", pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as display:
            self.environment["DISPLAY"] = ":" + display.readline().strip()
        # The first key makes another keyboard the current one; a window manager that is told so
        # lets go of its shortcuts for a moment.
        self.keys("Shift_L")
        self.start("openbox", "--sm-disable")
        eventually(lambda: "window id" in self.output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))

    def __exit__(self, *_):
        self.cleanup.close()

    def start(self, *command, **options):
        log = open(self.home / (pathlib.Path(command[0]).name + ".log"), "ab")
        self.cleanup.callback(log.close)
        process = subprocess.Popen(
            command, env=self.environment, stdout=log, stderr=log, **options
        )
        self.cleanup.callback(self.end, process)
        return process

    @staticmethod
    def end(process, how=signal.SIGTERM):
        if process.poll() is None:
            process.send_signal(how)
        return process.wait(timeout=20)

    def store(self, **settings):
        folder = self.home / "config/quorvel-server"
        folder.mkdir(parents=True, mode=0o700)
        named = {"server." + key: value for key, value in settings.items()}
        (folder / "settings.json").write_text(json.dumps(named))

    def start_server(self):
        return self.start(SERVER)

    def server_log(self):
        return (self.home / "quorvel-server.log").read_text(errors="replace")

    def start_bus(self):
        """A session bus, for what is started from now on; its address."""
        address = f"unix:path={self.home}/runtime/bus"
        self.start("dbus-daemon", "--session", "--nofork", "--address", address)
        eventually((self.home / "runtime/bus").exists)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        return address

    def start_tray(self):
        place = "--edge top --align right --widthtype request --height 28".split()
        return self.start("trayer", *place, "--SetDockType", "true", "--expand", "true")

    def run(self, *command, **options):
        return subprocess.run(
            command, env=self.environment, capture_output=True, text=True, timeout=30, **options
        )

    def output(self, *command):
        return self.run(*command).stdout

    def shown(self, name):
        tree = self.output("xwininfo", "-root", "-tree")
        named = re.findall(r'^ *(0x[0-9a-f]+) "(.*)": \(', tree, re.MULTILINE)
        return {int(window, 16) for window, title in named if title == name and self.viewable(window)}

    def viewable(self, window):
        return "IsViewable" in self.output("xwininfo", "-id", window)

    def managed(self):
        listed = self.output("xprop", "-root", "_NET_CLIENT_LIST")
        return {int(window, 16) for window in re.findall("0x[0-9a-f]+", listed)}

    def windows(self, name=TITLE):
        """Windows of this title that the window manager shows."""
        return [str(window) for window in self.shown(name) & self.managed()]

    def icons_and_menus(self):
        """Windows of the program that the window manager has nothing to do with."""
        return self.shown(TITLE) - self.managed()

    def window(self, name=TITLE):
        """The window, once it shows and has the focus."""
        window = eventually(lambda: self.windows(name))[0]
        eventually(lambda: self.output("xdotool", "getwindowfocus").strip() == window)
        return window

    def gone(self, name=TITLE):
        eventually(lambda: not self.windows(name))

    def keys(self, *names):
        self.run("xdotool", "key", "--clearmodifiers", "--delay", "15", *names, check=True)

    def type(self, text):
        self.run("xdotool", "type", "--delay", "15", text, check=True)

    def click(self, x, y, button=1):
        self.run("xdotool", "mousemove", str(x), str(y), "click", str(button), check=True)

    def clipboard(self):
        return self.output("xclip", "-selection", "clipboard", "-out")

    def pixels(self, area):
        """What is on the screen there ("WxH+X+Y"), for comparing."""
        command = ["import", "-window", "root", "-crop", area, "rgb:-"]
        return subprocess.run(command, env=self.environment, capture_output=True, check=True).stdout


class OnADesktop(unittest.TestCase):
    """A desktop for each test, and a folder on it to share."""

    environment = {}

    def setUp(self):
        self.desktop = self.enterContext(Desktop(environment=self.environment))
        self.folder = self.desktop.home / "Videos & more"
        self.folder.mkdir()
        (self.folder / "film.mp4").write_bytes(b"moving")

    def stored(self):
        return json.loads((self.desktop.home / "config/quorvel-server/settings.json").read_text())

    def assert_ended(self, program):
        self.assertEqual(program.wait(timeout=20), 0, self.desktop.server_log())

    def start_again(self):
        self.assert_ended(self.desktop.start_server())
        return self.desktop.window()
