"""A tray host as desktops have it: org.kde.StatusNotifierWatcher and the com.canonical.dbusmenu
of the icon that registered, on a session bus."""

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

# The hosts answer in this thread.
threading.Thread(target=GLib.MainLoop().run, daemon=True).start()


class TrayHost:
    """A watcher at once; there is a host from `appear` on, and an icon when `icon` names one."""

    def __init__(self, address):
        flags = Gio.DBusConnectionFlags
        self.bus = Gio.DBusConnection.new_for_address_sync(
            address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION
        )
        self.present = False
        self.icon = None
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object("/StatusNotifierWatcher", interface, self.register, self.read)
        Gio.bus_own_name_on_connection(self.bus, WATCHER, Gio.BusNameOwnerFlags.NONE)

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

    def proxy(self, path, interface):
        return Gio.DBusProxy.new_sync(self.bus, 0, None, self.icon, path, interface, None)

    def property(self, name):
        icon = self.proxy("/StatusNotifierItem", "org.kde.StatusNotifierItem")
        return icon.get_cached_property(name).unpack()

    def menu(self):
        return self.proxy(self.property("Menu"), "com.canonical.dbusmenu")

    def entries(self):
        """Each entry's text as its user sees it, and its number."""
        _, (_, _, entries) = self.menu().GetLayout("(iias)", 0, -1, [])
        return [(self.text(properties), number) for number, properties, _ in entries]

    def lines(self):
        return [text for text, _ in self.entries()]

    @staticmethod
    def text(properties):
        if properties.get("type") == "separator":
            return "-"
        # An underscore marks the letter after it.
        label = re.sub("_(.)", r"\1", properties["label"])
        return label if properties.get("enabled", True) else f"({label})"

    def choose(self, line):
        number = next(number for text, number in self.entries() if text == line)
        self.menu().Event("(isvu)", number, "clicked", GLib.Variant("s", ""), 0)
