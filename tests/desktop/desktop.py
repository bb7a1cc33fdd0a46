"""An X server of its own with a window manager, in which the program runs as its users see it."""

import ctypes
import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import unittest

from served import eventually, need

SERVER = os.environ.get("QUORVEL_SERVER", "build/asan/bin/quorvel-server")
HERE = pathlib.Path(__file__).parent
TITLE = "Quorvel Server"


def fetch(url):
    command = ["curl", "-sS", "--max-time", "5", url]
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout


class Desktop:
    """Registers with `cleanup` the end of all that it starts. Starts no session bus."""

    def __init__(self, cleanup, size="1024x768", manager="openbox", **environment):
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
            # Qt has no frame pointers, and the suppressed functions are some calls away.
            "ASAN_OPTIONS": "fast_unwind_on_malloc=0:malloc_context_size=10",
            "LC_ALL": "C.UTF-8",
            "NO_AT_BRIDGE": "1",
            **environment,
        }
        for name in ("WAYLAND_DISPLAY", "XAUTHORITY", "QT_SCALE_FACTOR_ROUNDING_POLICY"):
            self.environment.pop(name, None)
        self.start_screen(size, manager)

    def start_screen(self, size, manager):
        # -r: a key must not repeat, however late a busy machine releases it.
        screen = ["-screen", "0", f"{size}x24", "-r", "-noreset", "-nolisten", "tcp"]
        self.environment["DISPLAY"] = ":" + self.start_ready("Xvfb", *screen, "-displayfd")
        # The first key switches to another keyboard, at which a running window manager releases its
        # shortcuts for a moment.
        self.keys("Shift_L")
        if manager != "openbox":
            self.start(manager)
            managed = lambda: self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK")
            return eventually(lambda: "0x" in managed())
        # Windows mapped before openbox runs its command may stay unmanaged.
        runs = self.home / "openbox-runs"
        self.start("openbox", "--sm-disable", "--startup", f"touch {runs}")
        eventually(runs.exists)

    def start(self, *command, **options):
        need(command[0])
        with open(self.home / (pathlib.Path(command[0]).name + ".log"), "ab") as log:
            process = subprocess.Popen(
                command, env=self.environment, stdout=log, stderr=log, **options
            )
        self.cleanup(self.end, process)
        self.last_started = process
        return process

    def start_ready(self, *command):
        """Returns what the command, once ready, writes to the descriptor appended to it."""
        reader, writer = os.pipe()
        self.start(*command, str(writer), pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as line:
            return line.readline().strip()

    @staticmethod
    def end(process, how=signal.SIGTERM):
        process.send_signal(how)
        process.wait(timeout=20)

    def start_bus(self):
        """Starts a session bus and returns its address."""
        address = self.environment["DBUS_SESSION_BUS_ADDRESS"]
        bus = ["dbus-daemon", "--session", "--nofork", "--address", address, "--print-address"]
        self.start_ready(*bus)
        return address

    def store(self, **settings):
        self.settings.parent.mkdir(mode=0o700)
        named = {"server." + key: value for key, value in settings.items()}
        self.settings.write_text(json.dumps(named))

    def start_server(self):
        return self.start(SERVER)

    def start_tray(self):
        place = "--edge top --align right --widthtype request --height 28 --SetPartialStrut true".split()
        return self.start("trayer", *place, "--SetDockType", "true", "--expand", "true")

    def has_tray(self):
        """Whether programs find a tray: its panel shows before it owns the selection."""
        x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        display = ctypes.c_void_p(x11.XOpenDisplay(self.environment["DISPLAY"].encode()))
        owner = x11.XGetSelectionOwner(display, x11.XInternAtom(display, b"_NET_SYSTEM_TRAY_S0", 0))
        x11.XCloseDisplay(display)
        return owner != 0

    def run(self, *command, check=False):
        """Returns what the command writes."""
        return subprocess.run(
            command, env=self.environment, capture_output=True, timeout=30, text=True, check=check
        ).stdout

    def shown(self, name=TITLE):
        """The visible windows of this title: those of the window manager, and the others."""
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

    def place(self, window, *options):
        """Left, top, width and height."""
        text = self.run("xwininfo", "-id", window, *options)
        found = re.findall(r"^ *(?:Absolute .*|Width|Height): +(-?\d+)$", text, re.MULTILINE)
        return tuple(map(int, found or "0000"))

    def icon_or_menu_at(self, x, y):
        for window in map(str, self.icons_and_menus()):
            left, top, width, height = self.place(window)
            if left <= x < left + width and top <= y < top + height:
                return window
        return None

    def frame_is_within(self, window, left, top, right, bottom):
        x, y, width, height = self.place(window, "-frame")
        return left <= x and top <= y and x + width <= right and y + height <= bottom

    def window(self, name=TITLE):
        """Returns the window once it is visible and focused."""
        window = eventually(lambda: self.windows(name))[0]
        eventually(lambda: self.run("xdotool", "getwindowfocus").strip() == window)
        return window

    def gone(self, name=TITLE):
        eventually(lambda: not self.windows(name))

    def keys(self, *names, window=None):
        """A `window` gets the keys even before it grabs the keyboard; it may end at the last one."""
        target = ["--window", window] if window else ["--clearmodifiers"]
        self.run("xdotool", "key", "--delay", "0", *target, *names, check=not window)

    def type(self, text):
        self.run("xdotool", "type", "--delay", "0", text, check=True)

    def clipboard(self):
        return self.run("xclip", "-selection", "clipboard", "-out")


class OnADesktop(unittest.TestCase):
    """A desktop for each test, and a folder on it to share."""

    environment = {}

    def setUp(self):
        self.desktop = Desktop(self.addCleanup, **self.environment)
        self.folder = self.desktop.home / "Videos & more"
        self.folder.mkdir()
        (self.folder / "film.mp4").write_bytes(b"moving")

    def stored(self, name):
        if not self.desktop.settings.exists():
            return None  # nothing has been stored yet
        return json.loads(self.desktop.settings.read_text()).get("server." + name)

    def assert_serves(self, url):
        eventually(lambda: "film.mp4" in fetch(url))

    def assert_ended(self, program):
        log = self.desktop.home / "quorvel-server.log"
        self.assertEqual(program.wait(timeout=20), 0, log.read_text(errors="replace"))

    def start_again(self):
        self.assert_ended(self.desktop.start_server())
        return self.desktop.window()
