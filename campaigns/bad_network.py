#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: scripts/lab bad_network.py [--short] [--seconds SECONDS] [--seed N] [--only KIND] BUILD FOLDER
Lets a program pair and download through bad air (air.py): once through each kind, then through kinds chosen by chance, until
SECONDS (0) are over; with --short small recordings through the quicker kinds. It has to end within the limits of its requests, with every recording verified or with its sentence,
and to complete everything later through good air. BUILD is a build folder; FOLDER is made anew."""

import collections
import os
import random
import sys
import threading
import time

from air import Air
from command_line import asked
from file_faults import CAMERA, Campaign, end_with_phones

REQUEST_SECONDS = 60  # the longest that the program waits for an answer
REQUESTS = 6          # pair, catalog, a range of each of two recordings, the end, and one to spare
MBIT = 1_000_000

# Through the last the quality changes all the time, and for a while nothing passes.
KINDS = {
    "loss of 1 %": {"loss": 0.01, "delay": 0.005},
    "loss of 5 %": {"loss": 0.05, "delay": 0.005},
    "loss of 20 %": {"loss": 0.2, "delay": 0.005},
    "200 ms": {"delay": 0.2, "jitter": 0.05},
    "200 ms and loss of 5 %": {"delay": 0.2, "jitter": 0.05, "loss": 0.05},
    "duplication": {"twice": 0.2, "delay": 0.005},
    "reordering": {"late": 0.3, "delay": 0.005},
    "1 Mbit/s": {"bits": MBIT},
    "all of it": {"loss": 0.2, "delay": 0.1, "jitter": 0.05, "twice": 0.1, "late": 0.2, "bits": MBIT},
    "gaps": {"delay": 0.02},
}
SLOW = ("200 ms", "200 ms and loss of 5 %", "all of it", "gaps")
CLIP_BYTES = 3_000_000
SHORT_BYTES = 300_000


class BadNetwork(Campaign):
    patience_seconds = REQUESTS * REQUEST_SECONDS
    phone_options = ()  # those of every phone in the lab
    phone_side = ("nsenter", "--target", os.environ.get("VORN_LAB_PHONES", ""), "--net")

    def __init__(self, build, folder, clip_bytes, dice):
        super().__init__(build, folder, clip_bytes)
        self.dice = dice
        self.air = Air(dice.randrange(2 ** 32))

    def __exit__(self, *error):
        super().__exit__(*error)
        self.air.end()

    def change(self, over):
        """The air is lost now and then, for as long as a kind of it or longer than the program waits."""
        dice = self.dice
        while not over.wait(dice.uniform(0, 0.5)):
            self.air.be(loss=1)
            over.wait(dice.choice((0.3, 3, 3, 10, 40)))
            self.air.be(**dice.choice(list(KINDS.values())))

    def through(self, kind):
        """A download through such air, then one through good air: what is wrong, and what became of it at first."""
        self.renew("download")
        self.phones.do(f"{CAMERA} server on")
        self.air.counts.clear()
        over = threading.Event()
        changer = threading.Thread(target=self.change, args=(over,))
        self.air.be(**KINDS[kind])
        if kind == "gaps":
            changer.start()
        began = time.monotonic()
        first = self.run("download", None)
        seconds = time.monotonic() - began
        over.set()
        if kind == "gaps":
            changer.join()
        self.air.be()
        counts = dict(self.air.counts)
        faults = self.judge.faults(self.work, first, ())
        if not counts.get("passed"):
            faults.append("nothing went through the air")
        # What the phone's side still holds is over.
        self.phones.do(f"{CAMERA} server on")
        faults += self.recovers("download", self.judge, first)
        print(f"{kind}: {seconds:.1f} s, {counts}, {first.told[:1] or 'verified'}", flush=True)
        return faults, "told" if first.told else "verified"


def campaign(options):
    dice = random.Random(options.seed)
    began, rounds, faults, endings = time.monotonic(), 0, 0, collections.Counter()
    clip_bytes = SHORT_BYTES if options.short else CLIP_BYTES
    with BadNetwork(options.build, options.folder, clip_bytes, dice) as network:
        _, network.judge = network.prepare("download")
        kinds = [options.only] if options.only else [kind for kind in KINDS if not (options.short and kind in SLOW)]
        while rounds < len(kinds) or time.monotonic() - began < options.seconds:
            kind = kinds[rounds] if rounds < len(kinds) else dice.choice(kinds)
            rounds += 1
            found, ending = network.through(kind)
            endings[ending] += 1
            for fault in found:
                faults += 1
                print(f"FAULT --only '{kind}': {fault}", flush=True)
    print(f"{rounds} downloads through bad air, seed {options.seed}: {endings['verified']} verified at once, "
          f"{endings['told']} told and completed later, {faults} faults")
    return faults == 0


if __name__ == "__main__":
    options = asked(__doc__, short=False, seconds=0.0, seed=random.randrange(10 ** 6), only="")
    if options.only not in ("", *KINDS):
        sys.exit(f"the kinds are {', '.join(KINDS)}")
    end_with_phones()
    sys.exit(0 if campaign(options) else 1)
