# SPDX-License-Identifier: Apache-2.0
"""What a program still holds of its secrets: in memory, in files, on its command line."""

import base64
import itertools
import pathlib

PIECE_BYTES = 16 * 1024 * 1024
OVERLAP_BYTES = 4096
# A sanitizer's notes of the whole address space, nearly all of them pages that are not there.
SHADOW_BYTES = 1 << 40


def encodings(secret):
    """The secret as programs keep it or write it, by the name of the encoding."""
    forms = {name: secret.encode(name) for name in ("utf-8", "utf-16-le", "utf-32-le")}
    plain = forms["utf-8"]
    forms["hexadecimal"] = plain.hex().encode()
    forms["upper-case hexadecimal"] = plain.hex().upper().encode()
    for shift in range(3):  # where base64 has it within a longer text
        whole = base64.b64encode(bytes(shift) + plain)
        forms[f"base64 at {shift}"] = whole[(8 * shift + 5) // 6:8 * (shift + len(plain)) // 6]
    return forms


def stands_in(form, data):
    """Whether data has it. Digits that are a part of a longer number are not counted."""
    at = data.find(form)
    while at >= 0 and form.isdigit() and (
            data[at - 1:at].isdigit() or data[at + len(form):at + len(form) + 1].isdigit()):
        at = data.find(form, at + 1)
    return at >= 0


def memory(pid):
    """Where a piece of the memory that the process can write is, and its bytes. Pieces overlap."""
    with open(f"/proc/{pid}/maps") as maps, open(f"/proc/{pid}/mem", "rb", buffering=0) as image:
        for line in maps:
            words = line.split()
            begin, end = (int(number, 16) for number in words[0].split("-"))
            if not words[1].startswith("rw") or end - begin >= SHADOW_BYTES:
                continue
            for at in range(begin, end, PIECE_BYTES - OVERLAP_BYTES):
                image.seek(at)
                try:
                    yield f"memory {at:x} {' '.join(words[5:])}", image.read(min(PIECE_BYTES, end - at))
                except OSError:  # a device's, or gone meanwhile
                    break


def files(*paths):
    return ((path, path.read_bytes()) for path in paths if path.is_file() and not path.is_symlink())


def leftovers(pid, folder, secrets):
    """Where which of the secrets, texts by their names, stands in which encoding; empty when nowhere."""
    forms = [(name, encoding, form) for name, secret in secrets.items()
             for encoding, form in encodings(secret).items()]
    process = pathlib.Path(f"/proc/{pid}")
    places = itertools.chain(memory(pid), files(process / "cmdline", process / "environ"),
                             files(*pathlib.Path(folder).rglob("*")))
    return [f"{name} as {encoding} in {place}" for place, data in places
            for name, encoding, form in forms if stands_in(form, data)]
