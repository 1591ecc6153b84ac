#!/usr/bin/python3
"""Stands in for the desktop's portal on a session bus, for file_portal_posix_test.py.

    portal.py VERSION

Says each call as a line of JSON, first "ready". Each line of JSON that it is told answers the open
request: [response, [URL...]]. VERSION is that of its file dialogs, 0 for none."""

import json
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

NAME = "org.freedesktop.portal.Desktop"
PATH = "/org/freedesktop/portal/desktop"
CHOOSER = """<node><interface name="org.freedesktop.portal.FileChooser">
  <method name="OpenFile">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
    <arg type="o" direction="out"/>
  </method>
  <method name="SaveFile">
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
    <arg type="o" direction="out"/>
  </method>
  <property name="version" type="u" access="read"/>
</interface></node>"""
REQUEST = """<node><interface name="org.freedesktop.portal.Request">
  <method name="Close"/>
</interface></node>"""


class Portal:
    def __init__(self, bus, version):
        self.bus = bus
        self.open = None  # the request: its path, who asks, what keeps it on the bus
        if version:
            bus.register_object(PATH, Gio.DBusNodeInfo.new_for_xml(CHOOSER).interfaces[0],
                                self.call, lambda *_: GLib.Variant("u", version), None)

    @staticmethod
    def say(what):
        print(json.dumps(what), flush=True)

    def call(self, bus, asker, path, interface, method, parameters, invocation):
        parent, title, options = parameters.unpack()
        for name in ("current_folder", "current_file"):
            if name in options:
                options[name] = bytes(options[name]).decode()
        token = options.pop("handle_token")
        self.say({"method": method, "parent": parent, "title": title, "options": options})
        handle = f"{PATH}/request/{asker[1:].replace('.', '_')}/{token}"
        kept = bus.register_object(handle, Gio.DBusNodeInfo.new_for_xml(REQUEST).interfaces[0],
                                   self.close, None, None)
        self.open = (handle, asker, kept)
        invocation.return_value(GLib.Variant("(o)", (handle,)))

    def close(self, bus, asker, path, interface, method, parameters, invocation):
        self.say({"method": method})
        self.bus.unregister_object(self.open[2])
        invocation.return_value(None)

    def answer(self, response, urls):
        handle, asker, kept = self.open
        results = {"uris": GLib.Variant("as", urls)} if response == 0 else {}
        self.bus.emit_signal(asker, handle, "org.freedesktop.portal.Request", "Response",
                             GLib.Variant("(ua{sv})", (response, results)))
        self.bus.unregister_object(kept)


def main():
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    loop = GLib.MainLoop()
    portal = Portal(bus, int(sys.argv[1]))

    def take(channel, condition):
        line = sys.stdin.readline()
        if not line:
            loop.quit()
            return False
        portal.answer(*json.loads(line))
        return True

    GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, take)
    Gio.bus_own_name_on_connection(bus, NAME, Gio.BusNameOwnerFlags.NONE,
                                   lambda *_: portal.say("ready"), None)
    loop.run()


if __name__ == "__main__":
    main()
