# SPDX-License-Identifier: Apache-2.0
"""The control socket of simulated phones."""

import json
import socket


class PhonesError(Exception):
    pass


class Phones:
    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(str(path))
        self.lines = self.socket.makefile("rw")

    def do(self, command):
        """Gives one command; the value of its answer."""
        self.lines.write(command + "\n")
        self.lines.flush()
        word, _, value = self.lines.readline().strip().partition(" ")
        if word != "ok":
            raise PhonesError(f"the phones answer “{command}” with “{value}”")
        return value

    def state(self):
        return json.loads(self.do("state"))
