#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Usage: unshare --mount read_only.py FOLDER... -- COMMAND [ARGUMENT ...]
Runs a command for which the whole file system is read-only, but the folders. For who may mount there."""

import ctypes
import os
import struct
import subprocess
import sys

# linux/mount.h and the system call of every architecture
MOUNT_SETATTR, AT_FDCWD, AT_RECURSIVE, MOUNT_ATTR_RDONLY = 442, -100, 0x8000, 1


def set_attributes(path, flags, on, off):
    libc = ctypes.CDLL(None, use_errno=True)
    attributes = struct.pack("QQQQ", on, off, 0, 0)
    if libc.syscall(MOUNT_SETATTR, AT_FDCWD, os.fsencode(path), flags, attributes, len(attributes)) != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()), path)


if __name__ == "__main__":
    end = sys.argv.index("--")
    folders = sys.argv[1:end]
    for folder in folders:
        subprocess.run(["mount", "--bind", folder, folder], check=True)
    set_attributes("/", AT_RECURSIVE, MOUNT_ATTR_RDONLY, 0)
    for folder in folders:
        set_attributes(folder, 0, 0, MOUNT_ATTR_RDONLY)
    os.execv(sys.argv[end + 1], sys.argv[end + 1:])
