# SPDX-License-Identifier: Apache-2.0
"""The air between the lab's desktop and its phones: every packet of the cable passes through here, where it may be lost,
come late, twice, or after the next one, or wait until the packets before it are through. Kernels without such a queue
of their own (netem) are common, and this one is the same everywhere. Run by Air in a network of its own, with the
qualities as JSON, a line each time that they change."""

import array
import collections
import fcntl
import heapq
import json
import os
import random
import select
import socket
import struct
import subprocess
import sys
import time

ENDS = ("air0", "air1")  # of the desktop's cable and of the phones'
GOOD = {"loss": 0.0, "twice": 0.0, "late": 0.0, "delay": 0.0, "jitter": 0.0, "bits": 0}
LATE_SECONDS = 0.03  # of those that let others pass
QUEUE_SECONDS = 1.0  # what a router holds before it drops


def ip(*arguments, side=()):
    subprocess.run([*side, "/usr/sbin/ip", *arguments], check=True)


class Air:
    """Puts the air into the cable of scripts/lab, in which this runs; for as long as it lives it is of the quality asked
    for last."""

    def __init__(self, seed):
        phones = ("nsenter", "--target", os.environ["VORN_LAB_PHONES"], "--net")
        self.process = subprocess.Popen(["unshare", "--keep-caps", "--net", sys.executable, __file__, str(seed)],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        own = str(self.process.pid)
        self.process.stdout.readline()  # it is in its own network
        # The cable's end here goes into the air, which gets a cable to here of its own.
        ip("link", "set", "lab0", "netns", own, "name", ENDS[1])
        ip("link", "add", "lab0", "type", "veth", "peer", "name", ENDS[0], "netns", own)
        ip("addr", "add", "10.77.0.1/24", "dev", "lab0")
        ip("link", "set", "lab0", "up")
        ip("route", "add", "224.0.0.0/4", "dev", "lab0")
        self.counts = collections.Counter()  # of packets: passed, lost, late
        whole_packets("lab0")
        subprocess.run([*phones, sys.executable, "-c",
                        "import sys; sys.path.append(sys.argv[1]); import air; air.whole_packets('lab1')",
                        os.path.dirname(os.path.abspath(__file__))], check=True)
        self.be()

    def be(self, **quality):
        """From now on it is so; what is not named is good."""
        self.process.stdin.write(json.dumps(GOOD | quality) + "\n")
        self.process.stdin.flush()
        self.counts.update(json.loads(self.process.stdout.readline()))

    def end(self):
        self.process.stdin.close()
        self.process.wait()


def whole_packets(link):
    """Sends what a real cable would carry: checksums made, nothing larger than a frame."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        for command in (0x17, 0x1f, 0x24):  # of ethtool: checksums, segmentation by the card, by the kernel
            value = array.array("B", struct.pack("II", command, 0))
            fcntl.ioctl(any_socket, 0x8946, struct.pack("16sP", link.encode(), value.buffer_info()[0]))


class Way:
    """Packets from one end to the other."""

    def __init__(self, to):
        self.to = to
        self.free_at = 0.0  # when the packets before are through


class Forwarder:
    def __init__(self, seed):
        self.dice = random.Random(seed)
        self.quality = GOOD
        self.waiting = []  # when, a number in order of arrival, to whom, what
        self.number = 0
        self.counts = collections.Counter()

    def take(self, way, packet, now):
        quality, dice = self.quality, self.dice
        self.counts["passed"] += 1
        if dice.random() < quality["loss"]:
            self.counts["lost"] += 1
            return
        at = now
        if quality["bits"]:
            way.free_at = max(way.free_at, now) + len(packet) * 8 / quality["bits"]
            if way.free_at > now + QUEUE_SECONDS:
                way.free_at -= len(packet) * 8 / quality["bits"]
                self.counts["lost"] += 1
                return
            at = way.free_at
        at += max(0.0, dice.gauss(quality["delay"], quality["jitter"]) if quality["jitter"] else quality["delay"])
        if dice.random() < quality["late"]:
            self.counts["late"] += 1
            at += LATE_SECONDS
        for _ in range(2 if dice.random() < quality["twice"] else 1):
            self.number += 1
            heapq.heappush(self.waiting, (at, self.number, way.to, packet))

    def deliver(self, now):
        while self.waiting and self.waiting[0][0] <= now:
            _, _, to, packet = heapq.heappop(self.waiting)
            try:
                to.send(packet)
            except OSError:  # a full queue, a cable that is out: lost, as there
                self.counts["lost"] += 1

    def run(self, ends):
        ways = {ends[0]: Way(ends[1]), ends[1]: Way(ends[0])}
        while True:
            now = time.monotonic()
            patience = max(0.0, self.waiting[0][0] - now) if self.waiting else None
            for ready in select.select([sys.stdin, *ends], [], [], patience)[0]:
                if ready is sys.stdin:
                    line = sys.stdin.readline()
                    if not line:
                        return
                    self.quality = json.loads(line)
                    print(json.dumps(self.counts), flush=True)
                    self.counts.clear()
                else:
                    self.receive(ready, ways[ready])
            self.deliver(time.monotonic())

    def receive(self, end, way):
        for _ in range(64):
            try:
                packet, address = end.recvfrom(65536)
            except BlockingIOError:
                return
            if address[2] != socket.PACKET_OUTGOING:
                self.take(way, packet, time.monotonic())


def main():
    print("here", flush=True)
    ends = []
    for name in ENDS:
        while subprocess.run(["/usr/sbin/ip", "link", "set", name, "up"], stderr=subprocess.DEVNULL).returncode != 0:
            time.sleep(0.01)
        end = socket.socket(socket.AF_PACKET, socket.SOCK_RAW | socket.SOCK_NONBLOCK, 0)
        end.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4 << 20)
        end.bind((name, 3))  # every protocol
        whole_packets(name)
        ends.append(end)
    Forwarder(int(sys.argv[1])).run(ends)


if __name__ == "__main__":
    main()
