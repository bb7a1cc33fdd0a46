"""The tray icon and its menu as a StatusNotifier host receives them, and the single program on a
session bus."""

import signal
import unittest

from color_portal import ColorPortal
from desktop import TITLE, OnADesktop
from served import eventually, free_port
from tray_host import TrayHost


class InATrayHost(OnADesktop):
    def setUp(self):
        super().setUp()
        address = self.desktop.start_bus()
        self.bus = self.desktop.last_started
        self.address = address
        self.host = TrayHost(address)

    def test_the_menu_follows_the_server(self):
        host = self.host
        rest = ["-", "Settings…", "-", "Quit Quorvel Server"]
        stopped = ["(Server stopped)", "Start Server", *rest]
        port = free_port()
        login = {"useAuth": True, "username": "a_b&c_d&", "password": ""}
        self.desktop.store(folderPath=str(self.folder), port=port, **login)
        host.appear()
        program = self.desktop.start_server()
        eventually(lambda: host.icon)
        self.assertEqual(host.lines(), stopped)
        self.assertEqual(host.property("Title"), TITLE)
        self.assertEqual(self.desktop.windows(), [])
        idle = host.property("IconPixmap")
        self.assertTrue(all(any(pixels) for _, _, pixels in idle))

        host.choose("Start Server")
        self.assert_serves(f"http://a_b&c_d&@127.0.0.1:{port}/")
        eventually(lambda: host.lines()[0].startswith("(Serving http://a_b&c_d&@"))
        self.assertEqual(host.lines()[1:], ["Stop Server", *rest])
        running = host.property("IconPixmap")
        self.assertTrue(running != idle and all(any(pixels) for _, _, pixels in running))
        host.choose("Stop Server")
        eventually(lambda: host.lines() == stopped)
        self.assertTrue(host.property("IconPixmap") == idle)

        host.choose("Settings…")
        window = self.desktop.window()
        self.assertEqual(self.start_again(), window)
        host.choose("Settings…")
        self.assertEqual(self.desktop.windows(), [window])
        host.choose("Quit Quorvel Server")
        self.assert_ended(program)

    def test_the_window_shows_until_a_host_comes(self):
        program = self.desktop.start_server()
        self.desktop.window()
        self.host.appear()
        eventually(lambda: self.host.icon)
        self.desktop.keys("Escape")
        self.desktop.gone()
        self.host.choose("Quit Quorvel Server")
        self.assert_ended(program)

    def test_a_host_that_comes_after_the_program_leaves_no_window(self):
        self.desktop.store(folderPath=str(self.folder))
        program = self.desktop.start_server()
        self.host.appear()
        eventually(lambda: self.host.icon)
        self.assertEqual(self.desktop.windows(), [])
        self.host.choose("Quit Quorvel Server")
        self.assert_ended(program)

    def test_the_window_follows_the_desktop_into_the_dark_and_back(self):
        portal = ColorPortal(self.address, dark=True)
        self.desktop.start_server()
        window = self.desktop.window()
        corner = ["-crop", "1x1+5+5", "-format", "%[fx:intensity]", "info:"]
        brightness = lambda: float(self.desktop.run("convert", f"x:{window}", *corner) or "nan")
        eventually(lambda: brightness() < 0.3)
        portal.change(dark=False)
        eventually(lambda: brightness() > 0.7)

    def test_a_second_start_finds_the_first_when_the_bus_has_died(self):
        crashed = self.desktop.start_server()
        self.desktop.window()
        self.desktop.end(crashed, signal.SIGKILL)
        self.desktop.gone()
        program = self.desktop.start_server()
        self.desktop.window()
        self.desktop.end(self.bus)
        self.desktop.run("xdotool", "getactivewindow", "windowminimize")
        eventually(lambda: not self.desktop.windows())
        self.start_again()
        self.desktop.end(program)


if __name__ == "__main__":
    unittest.main()
