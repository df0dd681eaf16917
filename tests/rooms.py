#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: rooms.py ROOMS
Holds every include of the project's rooms against what each room says it uses. ROOMS has a line for each room: the
folder that holds it, its name as includes have it, and the rooms that it uses. Reports a room that is used and not
named, one that is named and not used, and files of one room that need each other in a circle."""

import collections
import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


def circle(graph):
    """One circle of the graph as a list of its nodes, or nothing."""
    done, path = set(), []

    def visit(node):
        if node in path:
            return path[path.index(node):] + [node]
        if node in done:
            return None
        path.append(node)
        found = next(filter(None, map(visit, sorted(graph[node]))), None)
        path.pop()
        done.add(node)
        return found

    return next(filter(None, map(visit, sorted(graph))), None)


def main(rooms_file):
    rooms = {}
    for line in pathlib.Path(rooms_file).read_text().splitlines():
        folder, name, uses = line.split("\t")
        rooms[name] = (pathlib.Path(folder), set(uses.split()))

    faults = []
    files = 0
    for name, (folder, named) in rooms.items():
        used = set()
        needs = collections.defaultdict(set)  # a header and its source are one node
        for path in sorted([*folder.glob("*.h"), *folder.glob("*.cpp")]):
            files += 1
            for include in INCLUDE.findall(path.read_text()):
                room, _, header = include.rpartition("/")
                if room not in rooms:
                    faults.append(f"{path}: {include} belongs to no room")
                elif room != name:
                    used.add(room)
                elif (stem := header.removesuffix(".h")) != path.stem:
                    needs[path.stem].add(stem)
        faults += [f"{name} uses {room} and does not say so" for room in sorted(used - named)]
        faults += [f"{name} says that it uses {room} and does not" for room in sorted(named - used)]
        needs.default_factory = None
        if way := circle({node: needs.get(node, set()) for node in needs.keys() | set().union(*needs.values())}):
            faults.append(f"{name} has a circle: {' -> '.join(way)}")
    if files == 0:
        faults.append("no files found")
    uses = {name: uses & rooms.keys() for name, (_, uses) in rooms.items()}
    if way := circle(uses):
        faults.append(f"rooms use each other in a circle: {' -> '.join(way)}")
    print("\n".join(faults) or f"{len(rooms)} rooms, {files} files")
    return 1 if faults else 0


sys.exit(main(sys.argv[1]))
