#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: nsenter --target "$VORN_LAB_PHONES" --net strangers.py SEED
Who else may be on the network: from 64 made addresses, 20,000 datagrams a second of every kind, 1,000 of which move a
camera to another address; 10,000 announced servers of files; and whoever connects to one of them gets a byte every half
second. Until standard input ends. Then prints, as JSON, what was sent and how many datagrams the made addresses have
got, to which nobody has a reason to send any."""

import asyncio
import collections
import json
import random
import select
import socket
import struct
import subprocess
import sys
import threading
import time
import uuid

DESKTOP = ("10.77.0.1", 45454)
NETWORK = "10.77.0.64/26"
MADE = [f"10.77.0.{last}" for last in range(64, 128)]
TICK_SECONDS = 0.005
# Of 20,000 a second: cameras that are there, that move, that are new each time, whose words are old, rubbish, and the
# words of another camera.
KINDS = {"usual": 8000, "moving": 1000, "new": 5000, "old": 2000, "rubbish": 3500, "forged": 500}
FORGED = "cam-d"  # whoever looks how the true cameras fare leaves this one out
SERVICES = 10_000
SERVICES_PER_PACKET = 10
TYPE = (b"_vorn-transfer", b"_tcp", b"local")


class Words:
    """What is sent next, of each kind."""

    def __init__(self, seed):
        self.dice = random.Random(seed)
        self.session = str(uuid.UUID(int=self.dice.getrandbits(128), version=4))
        self.number = 0

    def status(self, camera, session, sequence):
        # About as long as a phone's.
        return (f'{{"v":1,"type":"status","sender":"{camera}","sessionId":"{session}","seq":{sequence},"payload":'
                f'{{"name":"{camera}","battery":{self.number % 100},"quality":"4K 30","aspect":"16:9","channels":2}}}}'
                ).ljust(600).encode()

    def next(self, kind):
        self.number += 1
        if kind == "usual":
            return self.status(f"usual-{self.number % 40}", self.session, self.number)
        if kind == "moving":  # among the first by its name, and so among those whose pictures are asked for
            return self.status(f"a-moving-{self.number % 16}", self.session, self.number)
        if kind == "new":
            return self.status(f"new-{self.number}", self.session, self.number)
        if kind == "old":
            return self.status(f"usual-{self.number % 40}", self.session, self.dice.randrange(self.number))
        if kind == "forged":
            return self.status(FORGED, uuid.UUID(int=self.dice.getrandbits(128), version=4), self.number)
        length = self.dice.choice((0, 1, 100, 600, 600, 8192))
        return self.dice.choice((b"[" * length, self.dice.randbytes(length), self.status("cut", self.session, 1)[:length]))


def open_socket(address):
    made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    made.bind((address, DESKTOP[1]))
    made.setblocking(False)
    return made


def flood(words, sockets, sent):
    order = [kind for kind, count in KINDS.items() for _ in range(int(count * TICK_SECONDS))]
    due = time.monotonic()
    while not select.select([sys.stdin], [], [], max(0, due - time.monotonic()))[0]:
        for kind in order:
            try:
                words.dice.choice(sockets).sendto(words.next(kind), DESKTOP)
                sent[kind] += 1
            except BlockingIOError:
                sent["no room"] += 1
        # What could not be sent in time is not made up for.
        due = max(due + TICK_SECONDS, time.monotonic() - 0.1)


def labels(*parts):
    return b"".join(bytes([len(part)]) + part for part in parts) + b"\0"


def record(name, type_, class_, data):
    return name + struct.pack(">HHIH", type_, class_, 120, len(data)) + data


def announcement(first):
    """A response of multicast DNS (RFC 6762) that names some of the services, with all that belongs to them."""
    records = []
    for number in range(first, first + SERVICES_PER_PACKET):
        name, host = labels(b"server %d" % number, *TYPE), labels(b"host-%d" % (number % 64), b"local")
        records += [record(labels(*TYPE), 12, 1, name), record(name, 33, 0x8001, struct.pack(">HHH", 0, 0, 8443) + host),
                    record(name, 16, 0x8001, b"\x07v=1.0.0"),
                    record(host, 1, 0x8001, socket.inet_aton(MADE[number % 64]))]
    return struct.pack(">HHHHHH", 0, 0x8400, 0, len(records), 0, 0) + b"".join(records)


def announce(over, sent):
    """All of them in ten seconds, over and over."""
    packets = [announcement(first) for first in range(0, SERVICES, SERVICES_PER_PACKET)]
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as made:
        made.bind((MADE[0], 5353))
        made.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(MADE[0]))
        made.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, 255)
        while not over.wait(0.01):
            made.sendto(packets[sent["announced"] % len(packets)], ("224.0.0.251", 5353))
            sent["announced"] += 1


def drip(sent):
    async def serve(reader, writer):
        sent["connections"] += 1
        try:
            await reader.read(1)
            writer.write(struct.pack(">I", 100_000))
            while not reader.at_eof():
                writer.write(b"\xff")
                await writer.drain()
                await asyncio.sleep(0.5)
        except OSError:
            pass
        finally:
            writer.close()

    async def main():
        for address in MADE:
            await asyncio.start_server(serve, address, 45455)
        await asyncio.Event().wait()
    asyncio.run(main())


def main():
    subprocess.run(["ip", "route", "add", "local", NETWORK, "dev", "lab1"], check=True)
    sent, over = collections.Counter(), threading.Event()
    sockets = [open_socket(address) for address in MADE]
    threading.Thread(target=drip, args=(sent,), daemon=True).start()
    announcer = threading.Thread(target=announce, args=(over, sent))
    announcer.start()
    flood(Words(int(sys.argv[1])), sockets, sent)
    over.set()
    announcer.join()
    got = 0
    for made in sockets:
        while select.select([made], [], [], 0)[0]:
            made.recv(65536)
            got += 1
    print(json.dumps({"sent": sent, "got": got}), flush=True)


if __name__ == "__main__":
    main()
