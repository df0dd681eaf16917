# SPDX-License-Identifier: Apache-2.0
"""A small window of another program, as a file manager's, out of which files are dragged.

drag_source.py X Y FILES: stands at that place of the screen and says on the terminal how the drag goes: "ready", "taken"
once what is under the pointer would take the files, and "dropped" or "failed".
"""

import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gio, GLib, Gtk  # noqa: E402


def say(word):
    print(word, flush=True)


def wait_until_taken(context):
    if not context.get_selected_action():
        return True
    say("taken")
    return False


def main():
    x, y = int(sys.argv[1]), int(sys.argv[2])
    uris = [Gio.File.new_for_path(path).get_uri() for path in sys.argv[3:]]
    window = Gtk.Window(title="Files")
    window.set_default_size(160, 80)
    window.add(Gtk.Label(label=f"{len(uris)} files"))
    window.drag_source_set(Gdk.ModifierType.BUTTON1_MASK, [], Gdk.DragAction.COPY)
    window.drag_source_add_uri_targets()
    window.connect("drag-begin", lambda _, context: GLib.timeout_add(20, wait_until_taken, context))
    window.connect("drag-data-get", lambda _widget, _context, data, _info, _time: data.set_uris(uris))
    window.connect("drag-failed", lambda _widget, _context, _why: say("failed"))
    window.connect("drag-end", lambda _widget, _context: say("dropped"))
    window.connect("map-event", lambda _widget, _event: say("ready"))
    window.move(x, y)
    window.show_all()
    Gtk.main()


main()
