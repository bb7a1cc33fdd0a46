"""The program on a desktop from its first start: what the user clicks, types, sees and copies."""

import signal
import unittest

from desktop import Desktop, OnADesktop, fetch
from served import eventually, free_port

PANEL = "Choose a folder to share."
ICON = (1010, 14)  # a point in the only icon of the tray
MENU = (1000, 90)  # a point in the menu opened there, below where a tool tip ends


class InATray(OnADesktop):
    def setUp(self):
        super().setUp()
        self.desktop.start_tray()
        eventually(self.desktop.has_tray)

    def start_in_tray(self):
        program = self.desktop.start_server()
        eventually(lambda: self.desktop.icon_or_menu_at(*ICON))
        self.assertEqual(self.desktop.windows(), [])
        return program

    def choose(self, button, *keys):
        """Opens the menu with this button of the mouse and presses the keys in it."""
        self.desktop.run("xdotool", "mousemove", *map(str, ICON), "click", button, check=True)
        menu = eventually(lambda: self.desktop.icon_or_menu_at(*MENU))
        self.desktop.keys(*keys, window=menu)

    def type_port(self, *keys):
        """Presses the keys that lead to the port, types a free one and returns it once stored."""
        port = free_port()
        self.desktop.keys(*keys, "ctrl+a")
        self.desktop.type(str(port))
        eventually(lambda: self.stored("port") == port)
        return port

    def test_shares_over_http_and_then_over_ftp(self):
        desktop = self.desktop
        program = desktop.start_server()
        desktop.window()  # shows itself to newcomers
        desktop.keys("Escape")
        desktop.gone()
        self.choose("3", "Down", "Down", "Return")
        window = desktop.window()

        desktop.keys("space")
        desktop.window(PANEL)
        desktop.type(str(self.folder))
        desktop.keys("Return")
        desktop.gone(PANEL)
        self.assertEqual(desktop.window(), window)
        # Until the panel has handed over the folder, the window takes no keys.
        eventually(lambda: self.stored("folderPath") == str(self.folder))
        url = f"http://127.0.0.1:{self.type_port('Tab', 'Tab')}/"
        desktop.keys("Return")
        self.assert_serves(url)
        desktop.keys("Tab")  # to the information, which tells when links can be copied
        eventually(lambda: desktop.keys("ctrl+a", "ctrl+c") or url in desktop.clipboard())
        desktop.keys("Tab", "Down", "Down")  # to the third copy format
        eventually(lambda: desktop.clipboard() == url)
        self.assertEqual(self.stored("copyFormat"), "Local link")
        self.choose("1", "Down", "Return")
        eventually(lambda: fetch(url) == "")

        desktop.end(program, signal.SIGKILL)
        eventually(lambda: not any(desktop.shown()))
        program = self.start_in_tray()
        self.start_again()
        # Once a folder is chosen, the start button has the initial focus.
        port = self.type_port("shift+Tab", "shift+Tab", "shift+Tab", "Down", "Tab")
        desktop.keys("Return")
        self.assert_serves(f"ftp://127.0.0.1:{port}/")
        desktop.keys("Escape")
        desktop.gone()
        self.assert_serves(f"ftp://127.0.0.1:{port}/")
        self.start_again()
        desktop.keys("ctrl+q")
        self.assert_ended(program)


class WithoutATray(OnADesktop):
    # With this theme Return presses the focused button by default.
    environment = {"QT_QPA_PLATFORMTHEME": "gnome"}

    def test_closing_the_window_ends_a_program_that_serves_nothing(self):
        program = self.desktop.start_server()
        self.desktop.window()
        self.desktop.keys("alt+F4")
        self.assert_ended(program)

    def test_the_window_is_the_way_to_a_server_until_a_tray_comes_and_after_it_has_gone(self):
        desktop = self.desktop
        port = free_port()
        url = f"http://127.0.0.1:{port}/"
        desktop.store(folderPath=str(self.folder), port=port)
        program = desktop.start_server()
        desktop.window()
        desktop.keys("shift+Tab", "Return")
        self.assert_serves(url)
        desktop.keys("alt+F4")
        desktop.gone()
        self.assert_serves(url)
        self.start_again()

        tray = desktop.start_tray()
        eventually(desktop.icons_and_menus)
        desktop.keys("Escape")
        desktop.gone()
        desktop.end(tray)
        desktop.window()
        self.assert_serves(url)
        program.send_signal(signal.SIGTERM)
        self.assert_ended(program)

class OnASmallScreen(unittest.TestCase):
    def test_the_whole_window_with_its_frame_can_be_reached(self):
        settings = {"QT_SCALE_FACTOR": "1.5"}, {"QT_FONT_DPI": "128"}, {"QT_FONT_DPI": "160"}
        sizes = (1024, 600), (1280, 720), (1366, 768)
        for manager, (width, height), setting in [
            *zip(["openbox"] * 3, sizes, settings),
            *zip(["icewm"] * 3, sizes, settings[::-1]),
        ]:
            with self.subTest(manager=manager, width=width, **setting):
                size = f"{width}x{height}"
                desktop = Desktop(self.addCleanup, size, manager, **setting)
                top = 0
                if manager == "openbox":
                    desktop.start_tray()
                    eventually(desktop.has_tray)
                    top = 28
                desktop.start_server()
                window = eventually(desktop.windows)[0]
                eventually(lambda: desktop.frame_is_within(window, 0, top, width, height))

    def test_the_window_opens_in_the_middle(self):
        for manager in "openbox", "icewm":
            with self.subTest(manager=manager):
                desktop = Desktop(self.addCleanup, "1366x768", manager)
                desktop.start_server()
                window = eventually(desktop.windows)[0]
                eventually(lambda: desktop.frame_is_within(window, 440, 20, 926, 748))


if __name__ == "__main__":
    unittest.main()
