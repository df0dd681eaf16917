# SPDX-License-Identifier: Apache-2.0
"""Drives a program's windows as a screen reader does: by the role and the name of what they show."""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

PATIENCE_SECONDS = 30
PRESSED_ROLES = ("push button", "button", "combo box", "page tab", "radio button", "check box", "list item", "table cell")
CONTAINER_ROLES = ("dialog", "frame", "window", "file chooser", "alert", "panel", "list item")


class JourneyError(Exception):
    pass


def wait_for(what, condition, seconds=PATIENCE_SECONDS):
    """The first true value of condition(); an error that says what was awaited when none comes."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        try:
            value = condition()
        except GLib.Error:  # the tree changed while it was read
            value = None
        if value:
            return value
        time.sleep(0.05)
    raise JourneyError(f"waited {seconds} s in vain for {what}")


def expect(condition, what):
    if not condition:
        raise JourneyError(what)


def library():
    """The library as it lies on the disk."""
    return json.loads((pathlib.Path(os.environ["XDG_DATA_HOME"]) / "VORN/library.json").read_text())


def fresh_folder(path):
    shutil.rmtree(path, ignore_errors=True)
    path.mkdir(parents=True)
    return path


def descendants(node):
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child is None:
            continue
        yield child
        yield from descendants(child)


def is_showing(node):
    return node.get_state_set().contains(Atspi.StateType.SHOWING)


def is_enabled(node):
    """Qt 6.4 tells it of the file panels' controls only. Ours describe why they are disabled, and only
    that, by a sentence with a full stop (window_walk_test holds it)."""
    return node.get_state_set().contains(Atspi.StateType.ENABLED) and not node.get_description().endswith(".")


class Program:
    """One running program and its windows."""

    def __init__(self, path, pictures):
        self.pictures = pictures
        self.terminal = open(pictures.parent / "terminal.txt", "w+", encoding="utf-8")
        self.process = subprocess.Popen([path], stdout=self.terminal, stderr=self.terminal)
        self.root = wait_for("the program on the accessibility bus", self._application)

    def _application(self):
        if self.process.poll() is not None:
            raise JourneyError(f"the program ended with {self.process.returncode}")
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(index)
            if child is not None and child.get_process_id() == self.process.pid:
                return child
        return None

    def find(self, name, *roles):
        """What shows this name, in one of these roles; None when nothing does."""
        for node in descendants(self.root):
            if node.get_name() == name and is_showing(node) and (
                    not roles or node.get_role_name() in roles):
                return node
        return None

    def wait(self, name, *roles, seconds=PATIENCE_SECONDS):
        return wait_for(f"“{name}”", lambda: self.find(name, *roles), seconds)

    def wait_gone(self, name, *roles, seconds=PATIENCE_SECONDS):
        wait_for(f"“{name}” to go", lambda: self.find(name, *roles) is None, seconds)

    def wait_drawn(self, name):
        """Waits until what bears the name takes room on the screen: a row can exist and be no pixel high."""
        def is_drawn():
            node = self.find(name)
            extents = node and node.get_extents(Atspi.CoordType.SCREEN)
            return extents and extents.width > 20 and extents.height > 8
        wait_for(f"“{name}” to be drawn", is_drawn)

    def texts(self):
        return [node.get_name() for node in descendants(self.root) if is_showing(node)]

    def press(self, name):
        self._press(name, self.wait(name, *PRESSED_ROLES))

    def press_in(self, container, name):
        """Presses what bears the name inside the container of that name: a sheet, a panel."""
        within = self.wait(container, *CONTAINER_ROLES)
        self._press(name, wait_for(f"“{name}”", lambda: next(
            (node for node in descendants(within)
             if node.get_name() == name and node.get_role_name() in PRESSED_ROLES and is_showing(node)),
            None)))

    def _press(self, name, node):
        wait_for(f"“{name}” to be enabled", lambda: is_enabled(node))
        for index in range(node.get_n_actions()):
            if node.get_action_name(index).lower() in ("press", "click", "toggle", "select"):
                node.do_action(index)
                return
        raise JourneyError(f"“{name}” has no action to press it")

    def type_into(self, name, text):
        node = self.wait(name, "text", "entry", "editbar")
        node.set_text_contents(text)

    def choose_path(self, title, path, button):
        """Answers a file panel: types the path and presses its button."""
        panel = self.wait(title, *CONTAINER_ROLES)
        field = wait_for("the name field", lambda: next(
            (node for node in descendants(panel)
             if node.get_name() in ("File name:", "Directory:") and is_showing(node)
             and node.get_state_set().contains(Atspi.StateType.EDITABLE)), None))
        field.set_text_contents(str(path))
        self.picture(title.lower().replace(" ", "-"))
        self.press_in(title, button)
        self.wait_gone(title, *CONTAINER_ROLES)

    def export(self, parent):
        """Exports the selected take. Gives the package, once the activity log names it."""
        self.press("Export for Resolve")
        self.choose_path("Choose Parent Folder for Resolve Export", parent, "Choose")
        package = wait_for("the package", lambda: next(parent.glob("VORN_*/source-manifest.json"), None),
                           120).parent
        self.wait(f"The Resolve package is in {package}")
        self.wait("Show Package", *PRESSED_ROLES)
        self.press("Activity")
        self.wait(f"Created Resolve export {package.name}.")
        self.picture("exported")
        return package

    def walk(self, journey):
        """Takes the journey; where it fails, says what is on the screen. Ends the program."""
        try:
            result = journey(self)
            self.terminal.seek(0)
            expect(not (said := self.terminal.read()), f"on the terminal: {said}")
            return result
        except JourneyError as error:
            self.picture("failed")
            sys.exit(f"The journey failed: {error}. On the screen: {self.texts()}")
        finally:
            self.end()

    def picture(self, name):
        """Leaves a picture of the whole display, numbered in the order of the journey."""
        time.sleep(0.4)  # a transition's end has no event outside the program; nothing depends on it
        number = len(list(self.pictures.glob("*.png"))) + 1
        subprocess.run(["import", "-window", "root", self.pictures / f"{number:02}-{name}.png"],
                       check=True)

    def end(self):
        self.process.terminate()
        self.process.wait(PATIENCE_SECONDS)
