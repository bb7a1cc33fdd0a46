"""A tray host as desktops have it: org.kde.StatusNotifierWatcher and the com.canonical.dbusmenu
of the icons that register, on a session bus."""

import re

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
INTERFACE = """<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


class Item:
    """One icon with its menu."""

    def __init__(self, bus, name):
        self.bus = bus
        self.name = name

    def call(self, path, interface, method, signature, *arguments):
        parameters = GLib.Variant(signature, arguments)
        reply = self.bus.call_sync(
            self.name, path, interface, method, parameters, None, Gio.DBusCallFlags.NONE, 5000
        )
        return reply.unpack()

    def property(self, name):
        get = ("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", "(ss)")
        return self.call(*get, "org.kde.StatusNotifierItem", name)[0]

    def menu(self):
        """Each entry's number and properties, as the host reads them."""
        get = (self.property("Menu"), "com.canonical.dbusmenu", "GetLayout", "(iias)")
        _, (_, _, entries) = self.call(*get, 0, -1, [])
        return [(number, properties) for number, properties, _ in entries]

    def lines(self):
        """The menu as its user sees it."""
        return [self.line(properties) for _, properties in self.menu()]

    @staticmethod
    def line(properties):
        if properties.get("type") == "separator":
            return "-"
        # An underscore marks the letter after it.
        label = re.sub("_(.)", r"\1", properties["label"])
        return label if properties.get("enabled", True) else f"({label})"

    def choose(self, label):
        number = next(n for n, properties in self.menu() if self.line(properties) == label)
        event = (self.property("Menu"), "com.canonical.dbusmenu", "Event", "(isvu)")
        self.call(*event, number, "clicked", GLib.Variant("s", ""), 0)


class TrayHost:
    """Answers while `turn` is called. There is a host from `appear` on."""

    def __init__(self, address):
        flags = Gio.DBusConnectionFlags
        self.bus = Gio.DBusConnection.new_for_address_sync(
            address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION
        )
        self.present = False
        self.items = []
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.bus.register_object(
            "/StatusNotifierWatcher", interface, self.method_called, self.property_read
        )
        Gio.bus_own_name_on_connection(self.bus, WATCHER, Gio.BusNameOwnerFlags.NONE)

    def method_called(self, _bus, sender, _path, _interface, _method, arguments, invocation):
        (name,) = arguments.unpack()
        self.items.append(Item(self.bus, sender if name.startswith("/") else name))
        invocation.return_value(None)

    def property_read(self, _bus, _sender, _path, _interface, name):
        if name == "IsStatusNotifierHostRegistered":
            return GLib.Variant("b", self.present)
        return GLib.Variant("i", 0)

    def appear(self):
        self.present = True
        self.bus.emit_signal(
            None, "/StatusNotifierWatcher", WATCHER, "StatusNotifierHostRegistered", None
        )

    @staticmethod
    def turn():
        while GLib.MainContext.default().iteration(False):
            pass
