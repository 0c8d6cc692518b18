#!/usr/bin/python3
"""A desktop portal with a single setting: the text scale, given as argument."""

import sys

from gi.repository import Gio, GLib

_INTERFACE = """<node><interface name="org.freedesktop.portal.Settings"><method name="Read">
<arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method></interface></node>"""


def _answer(_connection, _sender, _path, _interface, _method, arguments, invocation):
    if arguments.unpack() == ("org.gnome.desktop.interface", "text-scaling-factor"):
        scale = GLib.Variant("v", GLib.Variant("d", float(sys.argv[1])))
        invocation.return_value(GLib.Variant("(v)", (scale,)))
    else:
        invocation.return_dbus_error("org.freedesktop.portal.Error.NotFound", "no such setting")


if __name__ == "__main__":
    Gio.bus_own_name(
        Gio.BusType.SESSION, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE,
        lambda connection, _name: connection.register_object(
            "/org/freedesktop/portal/desktop", Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0], _answer),
        lambda _connection, _name: print("ready", flush=True), None)
    GLib.MainLoop().run()
