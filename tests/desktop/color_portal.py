"""A desktop's portal on a session bus that tells programs whether to be dark."""

import tray_host
from gi.repository import Gio, GLib

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
SETTINGS = "org.freedesktop.portal.Settings"
SCHEME = ("org.freedesktop.appearance", "color-scheme")
INTERFACE = """<node><interface name="org.freedesktop.portal.Settings">
  <method name="Read">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
  </method>
  <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""


class ColorPortal:
    def __init__(self, address, dark):
        self.dark = dark
        self.bus = tray_host.connect(address)
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object(PATH, interface, self.read)
        tray_host.own(self.bus, NAME)

    def scheme(self):
        return GLib.Variant("v", GLib.Variant("u", 1 if self.dark else 2))

    def read(self, _bus, _sender, _path, _interface, _method, arguments, invocation):
        if arguments.unpack() == SCHEME:
            invocation.return_value(GLib.Variant.new_tuple(GLib.Variant("v", self.scheme())))
        else:
            invocation.return_dbus_error("org.freedesktop.portal.Error.NotFound", "no such setting")

    def change(self, dark):
        self.dark = dark
        value = GLib.Variant.new_tuple(*(GLib.Variant("s", part) for part in SCHEME), self.scheme())
        self.bus.emit_signal(None, PATH, SETTINGS, "SettingChanged", value)
