# SPDX-License-Identifier: Apache-2.0
"""A verified download beside the same by other tools, in one run.

download_timing.py RIG FETCHER FOLDER MEGABYTES: RIG is vorn-rig, whose phone serves four recordings of MEGABYTES
each over loopback; FETCHER is take_fetcher. The others are curl, whole files, each flushed to the disk as ours are,
followed by `openssl dgst` or by `sha256sum`. Prints the medians of seven rounds, in turn.
"""

import json
import os
import pathlib
import resource
import shutil
import statistics
import subprocess
import sys
import threading
import time
import uuid

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "tests/journey"))
from phones import Phones  # noqa: E402

ROUNDS = 7
CLIPS = 4
CAMERA = "cam-a"


def transfer(phones):
    phones.do(f"{CAMERA} code")
    return phones.state()["phones"][CAMERA]["transfer"]


def curl(*arguments):
    return subprocess.run(["curl", "--silent", "--fail", "--insecure", *arguments], check=True,
                          stdout=subprocess.PIPE).stdout


def ours(phones, fetcher, folder):
    """Seconds, processor seconds, MiB that the memory grew."""
    shown = transfer(phones)
    words = subprocess.run(
        [fetcher, folder / "storage", folder / "recordings", shown["catalogURL"], shown["fingerprint"],
         shown["sessionId"], shown["code"]], check=True, stdout=subprocess.PIPE).stdout.split()
    return [float(word) for word in words]


def flush(path):
    """The file, and then its name."""
    for what in (path, path.parent):
        descriptor = os.open(what, os.O_RDONLY)
        os.fsync(descriptor)
        os.close(descriptor)


def children_seconds():
    """Processor seconds of the ended children."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def theirs(phones, digest, folder):
    """Seconds, processor seconds."""
    shown = transfer(phones)
    catalog_url = shown["catalogURL"]
    body = {"schemaVersion": 1, "requestId": str(uuid.uuid4()), "collectorId": str(uuid.uuid4()),
            "collectorName": "bench", "pairingCode": shown["code"], "certificateSHA256": shown["fingerprint"]}
    json_type = ["-H", "Content-Type: application/json", "-H", "Accept: application/json"]
    answer = json.loads(curl(*json_type, "-d", json.dumps(body),
                             catalog_url.replace("/vorn/v1/catalog", "/vorn/v1/pair")))
    session = ["-H", f"Authorization: Bearer {answer['bearerToken']}",
               "-H", f"X-VORN-Session-ID: {answer['sessionId']}"]
    catalog = json.loads(curl(*session, "-H", "Accept: application/json", catalog_url))
    clips = [clip for project in catalog["projects"] for take in project["takes"] for clip in take["clips"]]
    processor = children_seconds()
    start = time.monotonic()
    for clip in clips:
        path = folder / clip["fileName"]
        address = catalog_url.replace("/vorn/v1/catalog", "/vorn/v1/files/" + clip["clipId"])
        curl(*session, "-H", f"Range: bytes=0-{clip['sizeBytes'] - 1}", "-o", path, address)
        flush(path)
        words = subprocess.run([*digest, path], check=True, stdout=subprocess.PIPE).stdout.decode()
        if clip["sha256"] not in words:
            sys.exit(f"{path} is not the recording")
    return [time.monotonic() - start, children_seconds() - processor]


def main():
    rig, fetcher, folder = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    size = int(sys.argv[4]) * 1_000_000
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    control = folder / "control"
    server = subprocess.Popen(
        [rig, "phones", "--count", "1", "--address", "127.0.0.2", "--port", "0", "--preview-port", "0",
         "--desktop", "none", "--clips", str(CLIPS), "--clip-bytes", str(size), "--control", control],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
    try:
        while server.stdout.readline().strip() != b"ready":
            if server.poll() is not None:
                sys.exit("the simulated phone did not start")
        # What else it says goes to nobody, but must not fill the pipe.
        threading.Thread(target=server.stdout.read, daemon=True).start()
        phones = Phones(control)
        phones.do(f"{CAMERA} server on")
        contestants = {
            "ours": lambda place: ours(phones, fetcher, place),
            "curl and openssl dgst": lambda place: theirs(phones, ["openssl", "dgst", "-sha256"], place),
            "curl and sha256sum": lambda place: theirs(phones, ["sha256sum"], place),
        }
        results = {name: [] for name in contestants}
        for _ in range(ROUNDS):
            for name, run in contestants.items():
                place = folder / "round"
                place.mkdir()
                results[name].append(run(place))
                shutil.rmtree(place)
        seconds = {name: statistics.median(run[0] for run in runs) for name, runs in results.items()}
        for name in ("curl and openssl dgst", "curl and sha256sum"):
            aim = "<= 1.00" if "openssl" in name else "<= 0.85"
            print(f"verified download, against {name}", f"{seconds['ours']:.2f} s", f"{seconds[name]:.2f} s",
                  f"{seconds['ours'] / seconds[name]:.2f}", aim, sep="\t")
        gigabytes = CLIPS * size / 1e9
        processor = {name: statistics.median(run[1] for run in runs) / gigabytes for name, runs in results.items()}
        other = processor["curl and openssl dgst"]
        memory = max(run[2] for run in results["ours"])
        print("verified download, processor for 1 GB", f"{processor['ours']:.2f} s", f"{other:.2f} s",
              f"{processor['ours'] / other:.2f}", "<= 2.2 s", sep="\t")
        print("verified download, memory above idle", f"{memory:.1f} MiB", "-", "-", "<= 16 MiB", sep="\t")
    finally:
        server.terminate()
        server.wait()
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
