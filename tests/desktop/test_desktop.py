"""The program on a desktop, from the first start on: what is clicked, typed, shown and copied."""

import signal
import unittest

from desktop import OnADesktop, fetch
from served import eventually, free_port

PANEL = "Choose a folder to share."


class InATray(OnADesktop):
    def setUp(self):
        super().setUp()
        self.desktop.start_tray()
        eventually(lambda: self.desktop.windows("panel"))

    def start_in_tray(self):
        program = self.desktop.start_server()
        eventually(self.desktop.icons_and_menus)
        self.assertEqual(self.desktop.windows(), [])
        return program

    def open_menu(self, button):
        self.desktop.run("xdotool", "mousemove", "1010", "14", "click", button, check=True)
        eventually(lambda: len(self.desktop.icons_and_menus()) == 2)

    def type_port(self, *keys):
        """Types a free port after these keys have led there, and returns it once it is stored."""
        port = free_port()
        self.desktop.keys(*keys, "ctrl+a")
        self.desktop.type(str(port))
        eventually(lambda: self.stored("port") == port)
        return port

    def test_shares_over_http_and_then_over_ftp(self):
        desktop = self.desktop
        program = self.start_in_tray()
        self.open_menu("3")
        desktop.keys("Down", "Down", "Return")
        window = desktop.window()

        desktop.keys("space")
        desktop.window(PANEL)
        desktop.type(str(self.folder))
        desktop.keys("Return")
        desktop.gone(PANEL)
        self.assertEqual(desktop.window(), window)
        url = f"http://127.0.0.1:{self.type_port('Tab', 'Tab')}/"
        desktop.keys("Return")
        self.assert_serves(url)
        desktop.keys("Tab", "Tab", "Down", "Down")  # to the copy formats, the third of which is
        eventually(lambda: desktop.run("xclip", "-selection", "clipboard", "-out") == url)
        self.assertEqual(self.stored("copyFormat"), "Local link")
        self.open_menu("1")
        desktop.keys("Down", "Return")
        eventually(lambda: fetch(url) == "")

        desktop.end(program, signal.SIGKILL)
        program = self.start_in_tray()
        self.start_again()
        # With a folder the window begins at the start button.
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
    # Here Return presses the button that has the keyboard, if nobody objects.
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


if __name__ == "__main__":
    unittest.main()
