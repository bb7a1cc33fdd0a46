"""The tray icon and its menu as a StatusNotifier host gets them, and one program for each session
bus."""

import unittest

from desktop import TITLE, OnADesktop, fetch
from served import eventually, free_port
from tray_host import TrayHost


class InATrayHost(OnADesktop):
    def setUp(self):
        super().setUp()
        self.host = TrayHost(self.desktop.start_bus())

    def wait(self, condition):
        def turned():
            self.host.turn()
            return condition()

        return eventually(turned)

    def start_second(self):
        """A second start has to end while the host goes on answering."""
        second = self.desktop.start_server()
        self.wait(lambda: second.poll() is not None)
        self.assert_ended(second)

    def test_the_menu_follows_the_server(self):
        port = free_port()
        login = {"useAuth": True, "username": "a_b&c_d&", "password": ""}
        self.desktop.store(folderPath=str(self.folder), port=port, **login)
        self.host.appear()
        program = self.desktop.start_server()
        item = self.wait(lambda: self.host.items and self.host.items[0])
        rest = ["-", "Settings…", "-", "Quit Quorvel Server"]
        self.assertEqual(item.lines(), ["(Server stopped)", "Start Server", *rest])
        self.assertEqual(item.menu()[-1][1]["shortcut"], [["Control", "Q"]])
        self.assertEqual(item.property("Title"), TITLE)
        self.assertEqual(self.desktop.windows(), [])
        idle = item.property("IconPixmap")

        item.choose("Start Server")
        eventually(lambda: fetch(f"http://a_b&c_d&@127.0.0.1:{port}/"))
        self.wait(lambda: item.lines()[0].startswith("(Serving http://a_b&c_d&@"))
        self.assertEqual(item.lines()[1:], ["Stop Server", *rest])
        self.assertNotEqual(item.property("IconPixmap"), idle)
        item.choose("Stop Server")
        self.wait(lambda: item.lines() == ["(Server stopped)", "Start Server", *rest])
        self.assertEqual(item.property("IconPixmap"), idle)

        item.choose("Settings…")
        window = self.desktop.window()
        self.start_second()
        item.choose("Settings…")
        self.assertEqual(self.desktop.windows(), [window])
        item.choose("Quit Quorvel Server")
        self.assert_ended(program)

    def test_the_window_shows_until_a_host_comes(self):
        program = self.desktop.start_server()
        self.wait(self.desktop.windows)
        self.host.appear()
        item = self.wait(lambda: self.host.items and self.host.items[0])
        self.desktop.keys("Escape")
        self.desktop.gone()
        item.choose("Quit Quorvel Server")
        self.assert_ended(program)


if __name__ == "__main__":
    unittest.main()
