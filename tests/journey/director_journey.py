# SPDX-License-Identifier: Apache-2.0
"""A show through the real window: a project, a session, cuts, a fade, markers, phones that come and go.

director_journey.py PROGRAM OUT: OUT holds the control socket of five simulated phones, of which the fifth
sleeps, and gets pictures/. Runs on the display and with the folders that its environment names.
"""

import pathlib
import re
import sys

from desktop import Atspi, Program, descendants, expect, fresh_folder, is_showing, library, wait_for
from phones import Phones


def expect_equal(what, found, expected):
    expect(found == expected, f"{what}: {found} instead of {expected}")


def edits(program):
    """What the rows of the edit list say, newest first, without the times."""
    rows = [node for node in descendants(program.root)
            if is_showing(node) and node.get_role_name() == "list item"]
    found = [re.fullmatch(r"\d\d:\d\d:\d\d, (CUT|FADE|MARK), (.*)", row.get_name()) for row in rows]
    return [(row[1], row[2]) for row in found if row]


def wait_for_shape(program):
    """Two of the phones are held upright, for which the places of the wall make room."""
    def is_upright():
        extents = program.find("Jonas's phone").get_extents(Atspi.CoordType.SCREEN)
        return extents.height > extents.width
    wait_for("the wall to take the shape of its pictures", is_upright)


def make_project(program):
    program.press("Library")
    program.press("New")
    program.type_into("Project name", "Night Shoot")
    program.press("Create")
    program.wait("No takes yet")
    program.press("Director")


def start_session(program):
    program.press("Mara's phone")
    program.press("Start Director Session")
    program.wait("Session Running")
    program.wait("READY")


def work_the_show(program):
    program.press("CUT")
    program.picture("first-cut")
    program.press("Jonas's phone")
    for _ in range(4):
        program.press("CUT")
    program.press("Fade duration, 1.0 s")
    program.press("1.5 s")
    program.wait("Fade duration, 1.5 s")
    program.press("FADE")
    program.press("Marker")
    program.press("Marker")
    program.wait("8 events in this session")
    program.picture("decisions")
    cuts = ["Mara's phone", "Jonas's phone", "Mara's phone", "Jonas's phone", "Mara's phone"]
    return ([("MARK", "Edit marker")] * 2 + [("FADE", "Jonas's phone")]
            + [("CUT", name) for name in reversed(cuts)])


def lose_and_find_a_phone(program, phones):
    phones.do("cam-b sleep")
    program.wait("Jonas's phone • OFFLINE")
    program.picture("offline")
    phones.do("cam-b wake")
    program.wait_gone("Jonas's phone • OFFLINE")
    phones.do("cam-e wake")
    program.wait("Showing 4 of 5 • click a camera for Preview")
    program.wait("5 CAMERAS")
    program.picture("five-phones")


def check_records(program, expected_edits):
    expect_equal("the edit list", edits(program), expected_edits)
    (project,) = library()["projects"]
    (take,) = project["takes"]
    expect_equal("the project", project["name"], "Night Shoot")
    program.press("Library")
    program.press("Activity")
    names = [name for kind, name in expected_edits if kind != "MARK"]
    kinds = [kind for kind, name in expected_edits if kind != "MARK"]
    lines = [f"Director {kind} to {name} at {take['id']}." for kind, name in zip(kinds, names)]
    lines.append(f"Started Director edit log {take['id']}.")
    program.wait(lines[0])
    program.picture("activity")
    logged = [text for text in program.texts() if text.startswith(("Director ", "Started "))]
    expect_equal("the activity log", logged, lines)


def main():
    path, out = sys.argv[1], pathlib.Path(sys.argv[2])
    phones = Phones(out / "control")

    def journey(program):
        program.wait("4 CAMERAS")
        program.wait_gone("Connecting…")
        wait_for_shape(program)
        program.picture("four-phones")
        make_project(program)
        start_session(program)
        expected = work_the_show(program)
        lose_and_find_a_phone(program, phones)
        for page in ("Session", "Audio", "Camera", "Edits"):
            program.press(page)
            program.picture(page.lower())
        check_records(program, expected)

    Program(path, fresh_folder(out / "pictures")).walk(journey)


if __name__ == "__main__":
    main()
