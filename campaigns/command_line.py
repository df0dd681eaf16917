# SPDX-License-Identifier: Apache-2.0
"""What is asked of a campaign."""

import argparse
import pathlib


def asked(usage, **options):
    """`build` and `folder`, absolute, and each of these options, which are told by what they are without a word: one that
    is False is a switch, the others take what is of their kind."""
    parser = argparse.ArgumentParser(usage=usage)
    for name, default in options.items():
        kind = {"action": "store_true"} if default is False else {"type": type(default), "default": default}
        parser.add_argument(f"--{name}", **kind)
    for place in ("build", "folder"):
        parser.add_argument(place, type=lambda text: pathlib.Path(text).resolve())
    return parser.parse_args()
