"""A desktop's tray host on a session bus: org.kde.StatusNotifierWatcher, and a client of the
registered icon's com.canonical.dbusmenu."""

import re
import threading

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
INTERFACE = """<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierHostRegistered"/>
</interface></node>"""

# Calls to the hosts are answered on this thread.
threading.Thread(target=GLib.MainLoop().run, daemon=True).start()


def connect(address):
    flags = Gio.DBusConnectionFlags
    return Gio.DBusConnection.new_for_address_sync(
        address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION
    )


def own(bus, name):
    daemon = "org.freedesktop.DBus"
    proxy = Gio.DBusProxy.new_sync(bus, 0, None, daemon, "/org/freedesktop/DBus", daemon, None)
    proxy.RequestName("(su)", name, 0)


class TrayHost:
    """A watcher without a host until `appear`; `icon` is the bus name of the registered icon."""

    def __init__(self, address):
        self.bus = connect(address)
        self.present = False
        self.icon = None
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object("/StatusNotifierWatcher", interface, self.register, self.read)
        own(self.bus, WATCHER)

    def register(self, _bus, sender, _path, _interface, _method, arguments, invocation):
        (name,) = arguments.unpack()
        self.icon = sender if name.startswith("/") else name
        invocation.return_value(None)

    def read(self, _bus, _sender, _path, _interface, name):
        if name == "IsStatusNotifierHostRegistered":
            return GLib.Variant("b", self.present)
        return GLib.Variant("i", 0)

    def appear(self):
        self.present = True
        signal = (WATCHER, "StatusNotifierHostRegistered")
        self.bus.emit_signal(None, "/StatusNotifierWatcher", *signal, None)

    def proxy(self, name, path, interface):
        return Gio.DBusProxy.new_sync(self.bus, 0, None, name, path, interface, None)

    def property(self, name):
        icon = self.proxy(self.icon, "/StatusNotifierItem", "org.kde.StatusNotifierItem")
        return icon.get_cached_property(name).unpack()

    def menu(self):
        return self.proxy(self.icon, self.property("Menu"), "com.canonical.dbusmenu")

    def entries(self):
        """The entries' texts as the user sees them, with their numbers."""
        _, (_, _, entries) = self.menu().GetLayout("(iias)", 0, -1, [])
        return [(self.text(properties), number) for number, properties, _ in entries]

    def lines(self):
        return [text for text, _ in self.entries()]

    @staticmethod
    def text(properties):
        if properties.get("type") == "separator":
            return "-"
        # An underscore marks the next character as a mnemonic.
        label = re.sub("_(.)", r"\1", properties["label"])
        return label if properties.get("enabled", True) else f"({label})"

    def choose(self, line):
        number = next(number for text, number in self.entries() if text == line)
        self.menu().Event("(isvu)", number, "clicked", GLib.Variant("s", ""), 0)
