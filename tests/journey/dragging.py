# SPDX-License-Identifier: Apache-2.0
"""Drags files out of another program's window, as a hand does."""

import pathlib
import subprocess
import sys
import threading

from gi.repository import Atspi

from desktop import expect, wait_for

PLACE = (1300, 40)  # of the other program, where the screen has room beside ours


def point(*arguments):
    subprocess.run(["xdotool", *map(str, arguments)], check=True)


class DragSource:
    def __init__(self, files):
        self.words = []
        self.process = subprocess.Popen(
            [sys.executable, pathlib.Path(__file__).with_name("drag_source.py"), *map(str, (*PLACE, *files))],
            stdout=subprocess.PIPE, text=True)
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        for word in self.process.stdout:
            self.words.append(word.strip())

    def _wait_for(self, word, onwards=lambda: None):
        def has_come():
            onwards()
            return word in self.words
        wait_for(f"the drag to be {word}; it was {self.words}", has_come)

    def drag_to(self, x, y):
        """To that place of the screen, where it has to be taken."""
        try:
            self._wait_for("ready")
            point("mousemove", PLACE[0] + 80, PLACE[1] + 40, "mousedown", 1)
            step = iter(range(1, 10_000))
            # Each move asks anew whether the files would be taken.
            self._wait_for("taken", lambda: point("mousemove", x + next(step) % 5, y))
            point("mouseup", 1)
            self._wait_for("dropped")
            expect("failed" not in self.words, "the files were not taken")
        finally:
            self.process.terminate()
            self.process.wait(10)


def drop_on(node, files):
    extents = node.get_extents(Atspi.CoordType.SCREEN)
    DragSource(files).drag_to(extents.x + extents.width // 2, extents.y + extents.height // 2)
