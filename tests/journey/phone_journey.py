# SPDX-License-Identifier: Apache-2.0
"""The live road through the real windows: phones seen, a show directed while they film, the phones asked,
compared, paired, their recordings downloaded and exported with the director's cut. Then nothing is left of tokens and
codes.

phone_journey.py PROGRAM OUT: OUT holds the control socket of four simulated phones and the take/ that they have, and
gets pictures/, the package and decisions.json. Runs on the display and with the folders that its environment names.
"""

import json
import pathlib
import subprocess
import sys

from desktop import Atspi, Program, expect, fresh_folder, library, wait_for
from leftovers import leftovers
from phones import Phones
from show import Show

CAMERAS = ("cam-a", "cam-b", "cam-c", "cam-d")
NAMES = {"cam-a": "Mara's phone", "cam-b": "Jonas's phone", "cam-c": "Ada's phone", "cam-d": "Tarek's phone"}
# Numbers that nothing else in memory is likely to be.
CODES = {"cam-a": "907163", "cam-b": "740952", "cam-c": "318497", "cam-d": "582069"}


def ask_for_files(program):
    """Asks the first phone from the sheet; the others are put into Transfer Mode by hand."""
    program.press("Connect")
    program.wait("Scanning for authenticated VORN transfer…")
    program.wait("Choose a live camera and approve the request on that device.")
    program.picture("nobody-shares")
    program.press_in("Secure Camera Transfer", NAMES["cam-a"])
    program.wait_gone("Scanning for authenticated VORN transfer…")
    program.picture("one-shares")


def type_code(program, code):
    """By keyboard: what an assistive tool types or reads goes over the bus, which keeps it."""
    field = program.wait("Six-digit code from phone", "text", "entry", "editbar")
    field.grab_focus()
    wait_for("the keyboard", lambda: field.get_state_set().contains(Atspi.StateType.FOCUSED))
    subprocess.run(["xdotool", "type", code], check=True)


def pair(program, phones, camera):
    """Gives the token."""
    phones.do(f"{camera} code {CODES[camera]}")
    program.wait("Secure Camera Transfer")
    program.press_in("Secure Camera Transfer", NAMES[camera])
    program.wait("VERIFY ON BOTH SCREENS")
    transfer = phones.state()["phones"][camera]["transfer"]
    shown = program.wait("Six-digit code from phone") and [
        text for text in program.texts() if text.split() == transfer["shownFingerprint"].split()]
    expect(shown, f"{camera}'s fingerprint is not shown")
    program.press("This 128-bit fingerprint matches the fingerprint shown on the phone")
    type_code(program, CODES[camera])
    program.picture(f"verify-{camera}")
    program.press("Pair & Load Projects")
    program.wait_gone("Secure Camera Transfer")
    return phones.state()["phones"][camera]["transfer"]["token"]


def download(program):
    program.press("Media")
    program.picture("on-device")
    program.press("Download Take")
    program.wait_gone("MEDIA PENDING", seconds=120)
    clips = [clip for project in library()["projects"] for take in project["takes"] for clip in take.get("clips", [])]
    expect(len(clips) == 4 and all("localPath" in clip for clip in clips), "not every recording is here")
    program.picture("downloaded")


def look_at_the_cut(program):
    program.press("Resolve")
    wait_for("the cut's outlook", lambda: any(
        text.startswith("Their places are right within ") for text in program.texts()))
    program.wait("Delete Session…", "push button").grab_focus()  # the page scrolls there
    program.picture("cut")


def end_sessions(program, phones):
    program.press("Connect")
    program.wait("ACTIVE SESSIONS")
    program.picture("sessions")
    for _ in CAMERAS:
        program.press_in("Secure Camera Transfer", "End")
    program.wait_gone("ACTIVE SESSIONS")
    wait_for("the phones to be told", lambda: all(
        phone["transfer"]["isOver"] for phone in phones.state()["phones"].values()))


def expect_no_leftovers(program, out, tokens):
    secrets = {f"{camera}'s code": code for camera, code in CODES.items()}
    secrets |= {f"{camera}'s token": token for camera, token in tokens.items()}
    found = leftovers(program.process.pid, out, secrets)
    expect(not found, f"left behind: {found}")


def main():
    path, out = sys.argv[1], pathlib.Path(sys.argv[2])
    phones = Phones(out / "control")
    program = Program(path, fresh_folder(out / "pictures"))
    show = Show(program, phones, NAMES, json.loads((out / "take/truth.json").read_text()))

    def journey(program):
        program.wait("4 CAMERAS")
        program.wait_gone("Connecting…")
        program.picture("director")
        show.start_session()
        show.direct()
        (out / "decisions.json").write_text(json.dumps(show.decisions(), indent=1))
        program.press("Library")
        ask_for_files(program)
        for camera in CAMERAS[1:]:
            phones.do(f"{camera} server on")
        tokens = {}
        for camera in CAMERAS:
            if camera != CAMERAS[0]:
                program.press("Connect")
            tokens[camera] = pair(program, phones, camera)
        program.press("Night Shoot, 1 takes")  # the session's own project is another
        program.picture("paired")
        download(program)
        look_at_the_cut(program)
        package = program.export(fresh_folder(out / "packages 100% #1"))
        end_sessions(program, phones)
        expect_no_leftovers(program, out, tokens)
        return package

    print(program.walk(journey))


if __name__ == "__main__":
    main()
