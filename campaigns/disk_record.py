# SPDX-License-Identifier: Apache-2.0
"""What a record of changes (file_faults.cpp) lets a disk hold at each moment, had the machine stopped then.

The model, of which each state is a legal one:
- What was there before the record began is on the disk whole.
- Bytes: a flush (fsync or fdatasync) of a file puts all that was written to it on the disk, and nothing else does. Of
  the writes and cuts since, the file has all; or none, or those before any one of them; or all but the bytes, which are
  zero; or all but those of any one write; or the last of them up to the first, the middle or the last border of a page.
  A reservation that keeps the size shows nowhere. A file's length and bytes do not depend on its name being there.
- Names: a change of names (making, renaming, linking, removing) is on the disk when all folders that it concerns have
  been flushed since; the flush of a file puts no name on the disk. A rename is there as a whole or not at all, and what
  is renamed is the thing itself, whether its first name was kept or not. Of the others, in order: the first so many
  are there, as a journal has them, any number of them. Independently: each is there or not by itself. All combinations
  where they are at most FREE changes; else all, none, each alone lost, each alone kept, and random ones.
- Names and bytes of several files are combined freely: all combinations where they are at most COMBINED; else all whole
  and all lost, each of these with one thing otherwise, and random ones.
So it allows more than ext4 with ordered data, where a flush of a file puts names before it on the disk as well, and
than file systems that bring no name to the disk before the bytes behind it. It has no torn sectors, no bytes of others
in what was not written, and no disk that says it has flushed and has not."""

import hashlib
import itertools
import math

PAGE = 4096
FREE = 4
COMBINED = 300
RANDOM = 40


class File:
    def __init__(self, content=b""):
        self.flushed = content
        self.changes = []  # since: (offset, bytes), or (size, None) for a cut

    def change(self, at, data):
        self.changes.append((at, data))

    def flush(self):
        self.flushed = self._with(self.changes)
        self.changes = []

    def _with(self, changes):
        content = bytearray(self.flushed)
        for at, data in changes:
            end = at if data is None else at + len(data)
            content.extend(bytes(max(0, end - len(content))))
            if data is None:
                del content[at:]
            else:
                content[at:end] = data
        return bytes(content)

    def contents(self):
        """What it may hold, first what it does hold, last what is left where all is lost."""
        changes = self.changes
        if not changes:
            return [self.flushed]
        at, data = changes[-1]
        zeros = [(at, data and bytes(len(data))) for at, data in changes]
        borders = [border for border in range((at // PAGE + 1) * PAGE, at + len(data or b""), PAGE)]
        possible = [changes, zeros]
        possible += [changes[:index] + zeros[index:index + 1] + changes[index + 1:] for index in range(len(changes))]
        possible += [changes[:-1] + [(at, data[:borders[index] - at])] for index in (0, len(borders) // 2, -1) if borders]
        possible += [changes[:count] for count in reversed(range(len(changes)))]
        return list(dict.fromkeys(self._with(some) for some in possible))


class Folder:
    def __init__(self):
        self.names = {}    # as they are now
        self.flushed = {}  # as they were when the record began


class NameChange:
    def __init__(self, gone, come):
        self.gone = gone  # (folder, name)
        self.come = come  # (folder, name, what)
        self.unflushed = {folder for folder, *_ in gone + come}

    def apply(self, names):
        for folder, name in self.gone:
            names[folder].pop(name, None)
        for folder, name, what in self.come:
            names[folder][name] = what


class Disk:
    """`before` is the folder that was there."""

    def __init__(self, before, dice):
        self.dice = dice
        self.folders = []
        self.changes = []
        self.root = self._read(before)

    def _read(self, path):
        if path.is_file():
            return File(path.read_bytes())
        folder = self._new_folder()
        folder.flushed = {entry.name: self._read(entry) for entry in path.iterdir()}
        folder.names = dict(folder.flushed)
        return folder

    def _new_folder(self):
        self.folders.append(Folder())
        return self.folders[-1]

    def find(self, path):
        at = self.root
        for name in path.split("/") if path else ():
            at = at.names[name]
        return at

    def _place(self, path):
        folder, _, name = path.rpartition("/")
        return self.find(folder), name

    def do(self, call, path, other, at, data):
        """One entry of a record."""
        if path.endswith(" (deleted)") or call in ("chmod", "reserve"):
            return
        if call == "flush":
            self._flush(self.find(path))
        elif call in ("write", "ftruncate"):
            self.find(path).change(at, data if call == "write" else None)
        elif call in ("create", "mkdir"):
            self._rename([], [(*self._place(path), File() if call == "create" else self._new_folder())])
        elif call in ("unlink", "unlinkat", "remove", "rmdir"):
            self._rename([self._place(path)], [])
        elif call in ("rename", "renameat", "renameat2"):
            self._rename([self._place(other)], [(*self._place(path), self.find(other))])
        elif call == "link":
            self._rename([], [(*self._place(path), self.find(other))])
        else:
            raise ValueError(f"{call} is no change that is known")

    def _flush(self, what):
        if isinstance(what, File):
            what.flush()
        for change in self.changes:
            change.unflushed.discard(what)

    def _rename(self, gone, come):
        change = NameChange(gone, come)
        change.apply({folder: folder.names for folder in self.folders})
        self.changes.append(change)

    def states(self):
        """The trees that may be on the disk now: what each path holds, None for a folder."""
        files = [file for file in self._files() if file.changes]
        choices = [self._kept(), *(file.contents() for file in files)]
        for names, *contents in self._combinations(choices):
            yield dict(self._tree(names, dict(zip(files, contents))))

    def _files(self):
        """All that have a name, or had one."""
        entries = [what for folder in self.folders for what in folder.flushed.values()]
        entries += [what for change in self.changes for *_, what in change.come]
        return dict.fromkeys(what for what in entries if isinstance(what, File))

    def _kept(self):
        """Which changes of names may be on the disk, first all, last none but those that must."""
        sure = {index for index, change in enumerate(self.changes) if not change.unflushed}
        free = [index for index in range(len(self.changes)) if index not in sure]
        in_order = [set(range(count)) for count in range(max(sure, default=-1) + 1, len(self.changes))]
        if len(free) <= FREE:
            independent = [set(some) for count in range(len(free)) for some in itertools.combinations(free, count)]
        else:
            independent = [set(free) - {index} for index in free] + [{index} for index in free] + [set()]
            independent += [{index for index in free if self.dice.random() < 0.5} for _ in range(RANDOM)]
        kept = [frozenset(sure | some) for some in in_order + independent if some | sure != sure]
        return list(dict.fromkeys([frozenset(range(len(self.changes))), *kept, frozenset(sure)]))

    def _combinations(self, choices):
        if math.prod(len(choice) for choice in choices) <= COMBINED:
            yield from itertools.product(*choices)
            return
        for base in ([choice[0] for choice in choices], [choice[-1] for choice in choices]):
            for index, choice in enumerate(choices):
                for other in choice:
                    yield base[:index] + [other] + base[index + 1:]
        for _ in range(RANDOM):
            yield [self.dice.choice(choice) for choice in choices]

    def _tree(self, kept, contents):
        names = {folder: dict(folder.flushed) for folder in self.folders}
        for index in sorted(kept):
            self.changes[index].apply(names)

        def walk(folder, path):
            for name, what in names[folder].items():
                if isinstance(what, Folder):
                    yield path + name, None
                    yield from walk(what, path + name + "/")
                else:
                    yield path + name, contents.get(what, what.flushed)
        return walk(self.root, "")


def entries(record, root):
    """The entries of a record, with paths below `root`."""
    data, at = record.read_bytes(), 0
    while at < len(data):
        end = data.index(b"\n", at)
        call, path, other, place, size = data[at:end].decode().split("\t")
        at = end + 1 + int(size)
        yield call, path.removeprefix(root).strip("/"), other.removeprefix(root).strip("/"), int(place), data[end + 1:at]


def lay_out(tree, folder):
    for path, content in tree.items():
        if content is None:
            (folder / path).mkdir(parents=True)
        else:
            (folder / path).parent.mkdir(parents=True, exist_ok=True)
            (folder / path).write_bytes(content)


def key(tree):
    digest = hashlib.sha256()
    for path in sorted(tree):
        digest.update(repr((path, tree[path] and hashlib.sha256(tree[path]).digest())).encode())
    return digest.digest()
