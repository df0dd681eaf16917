# SPDX-License-Identifier: Apache-2.0
"""In what a camera's answers can differ from the right ones, and what the program tells of it. A lie is a function that
changes an Answer; what is told is a sentence, a pattern of what may be told or not, or none where it does no harm."""

import functools
import itertools
import json
import random
import re

from camera import OTHER, digest, ranged

CHUNK = 8 << 20  # what the program asks for at once
PLACES = {"first": 0, "middle": CHUNK, "last": 2 * CHUNK}
CLIP = random.Random(7).randbytes(2 * CHUNK + 100_000)
SHORT = CLIP[:5000]  # where it is not about ranges
STRANGER = CLIP[::-1]  # another recording
RESET_BYTES = 4096

LENGTH = "Downloaded chunk length does not match the requested range."
RANGE = "File server returned the wrong byte range."
UNITS = "File server did not confirm byte-range support."
IDENTITY = "File identity headers do not match the catalog."
CONTENT = "Downloaded SHA-256 does not match the phone catalog."
FORM = "The camera's answer is not valid, or in a form that was not asked for."
LARGE = "The camera's answer is larger than it may be."
LOST = "The connection to the camera was lost."
LATE = "The camera did not answer in time."
NO_TLS = "No secure connection to the camera could be made."
PIN = "The camera's certificate is not the one that was confirmed."
# What may be told of JSON in which one value is another: the program's own sentences, whole.
JSON = re.compile(
    r"(Pairing response|catalog) is not valid JSON: [\w ]+ at line \d+, byte \d+|(Pairing response|catalog): [^:]+"
    r"|Pairing response is incomplete or grants the wrong scope\.|(Camera identity|Transfer session|Certificate fingerprint)"
    r" changed during pairing\.|Transfer session expiry is invalid\.|Unsupported catalog version\.|Catalog (device|file)"
    r"[^:]*\.|Authenticated catalog [^:]* is invalid\.|Timing sidecar [^:]*\.|" + "|".join(
        map(re.escape, (RANGE, IDENTITY, CONTENT, LENGTH))))
ANYTHING = re.compile(r"[A-Z][\w' -]*( HTTP \d+)?\.")
NO_HTTP = {"pair": "Pairing returned no HTTP response.", "catalog": "Catalog returned no HTTP response."}


def change(**parts):
    return lambda answer: answer.__dict__.update(parts)


def header(name, *values):
    """The header has these values, each on a line of its own."""
    def lie(answer):
        answer.headers = [line for line in answer.headers if line[0] != name] + [(name, value) for value in values]
    return lie


def both(*lies):
    return lambda answer: [lie(answer) for lie in lies]


def replaced(function):
    """Other bytes for all of it."""
    return lambda answer: answer.__dict__.update(raw=function(answer.bytes()))


def longer(more):
    """More than the headers declare."""
    return lambda answer: answer.__dict__.update(body=answer.body + more)


def body(function):
    """Another body, of the length that is declared."""
    def lie(answer):
        answer.body = function(answer.body)
        header("Content-Length", len(answer.body))(answer)
    return lie


def cut(at, ending):
    """After a part of the body."""
    def lie(answer):
        answer.limit, answer.ending = len(answer.bytes()) - len(answer.body) + int(len(answer.body) * at), ending
    return lie


def chunked(text):
    def lie(answer):
        header("Content-Length")(answer)
        header("Transfer-Encoding", "chunked")(answer)
        answer.body = text % (len(answer.body), answer.body) if b"%" in text else text
    return lie


def status_lies(place):
    right = 206 if place in PLACES else 200
    for status in {200, 203, 204, 206, 300, 302, 304, 307, 308, 400, 401, 403, 404, 416, 429, 500, 503, 999} - {right}:
        yield f"status {status}", both(
            change(start=b"HTTP/1.1 %d x" % status), header("Location", "/elsewhere"),
            header("WWW-Authenticate", 'Basic realm="x"')), f"Transfer server returned HTTP {status}."
    no_http = NO_HTTP.get(place, "File server returned no HTTP response.")
    for start in (b"HTTP/1.0 %d x", b"HTTP/1.1 %d", b"HTTP/2 %d x"):
        yield f"status line {start.decode()}", change(start=start % right), None
    for start in (b"HTTP/0.9 %d x", b"HTTP/7.1 %d x", b"SSH-2.0-server %d", b"ICY %d OK", b" HTTP/1.1 %d x",
                  b"HTTP/1.1 x%d", b"HTTP/1.1 %d0 x"):
        yield f"status line {start.decode()}", change(start=start % right), no_http
    for interim, told in ((b"HTTP/1.1 100 Continue\r\n\r\n", None), (b"HTTP/1.1 103 x\r\nLink: x\r\n\r\n", None),
                          (b"HTTP/1.1 100 Continue\r\n\r\n" * 4000, LARGE)):
        yield f"{len(interim)} bytes of interim answers {interim[9:12].decode()}", replaced(
            lambda whole, interim=interim: interim + whole), told
    for raw, told in ((b"", LOST), (b"\r\n" * 50, no_http), (bytes(5000), no_http), (STRANGER[:5000], no_http)):
        yield f"answer of {raw[:4]}", change(raw=raw, ending="close"), told


def header_lies(place):
    """Of the headers that the program looks at, and of others."""
    first = PLACES.get(place)
    length = FORM if first is None else LENGTH
    looked_at = {"Content-Length": length}
    values = []
    if first is not None:
        looked_at |= {"Accept-Ranges": UNITS, "Content-Range": RANGE, "X-VORN-SHA256": IDENTITY, "ETag": IDENTITY}
        last, all_ = min(first + CHUNK, len(CLIP)) - 1, len(CLIP)
        values = [("Content-Range", value) for value in (
            f"bytes {first + 1}-{last}/{all_}", f"bytes {first}-{last - 1}/{all_}", f"bytes {last}-{first}/{all_}",
            f"bytes {first}-{last}/{all_ + 1}", f"bytes {first}-{last}/*", f"bytes */{all_}",
            f"lines {first}-{last}/{all_}", f"{first}-{last}/{all_}", f"bytes {first}-{last}", "bytes 9-1/2")]
        values += [("Accept-Ranges", value) for value in ("none", "bytes, lines")]
        values += [("X-VORN-SHA256", value) for value in (digest(STRANGER), digest(CLIP)[1:])]
        values += [("ETag", value) for value in (
            digest(CLIP), f'"sha256:{digest(STRANGER)}"', f'"sha256:{digest(CLIP)}"; x')]
    for name, value in values:
        yield f"{name} {value}", header(name, value), looked_at[name]
    for name, told in looked_at.items():
        may_miss = name == "Content-Length" and first is None
        yield f"{name} missing", both(header(name), change(ending="close")), None if may_miss else told
        yield f"{name} doubled", lambda answer, name=name: answer.headers.append(
            next(line for line in answer.headers if line[0] == name)), told
        yield f"{name} empty", header(name, ""), FORM if name == "Content-Length" else told
        yield f"{name} of 70,000 bytes", header(name, "1" * 70_000), LARGE
        yield f"{name} of 200,000 bytes", header(name, "1" * 200_000), FORM
    for value in ("-5", "abc", "+7", "9" * 30, "0x10", "1, 1", "1.5", "9223372036854775807"):
        yield f"Content-Length {value}", header("Content-Length", value), re.compile(f"{FORM}|{LARGE}|{length}")
    for name, value, told in (
            ("Content-Encoding", "gzip", FORM), ("Content-Encoding", "br, gzip", FORM),
            ("Content-Encoding", "identity", None),
            ("Transfer-Encoding", "gzip", length), ("Transfer-Encoding", "x", length),
            ("Content-Type", "multipart/byteranges; boundary=x", FORM), ("Content-Type", "text/html", None),
            ("Connection", "close", None), ("Connection", "keep-alive", None), ("Connection", "Upgrade", None),
            ("Set-Cookie", "a=b", None), ("Alt-Svc", 'h2=":1"', None), ("Location", "/elsewhere", None),
            ("X-Odd", "a\r\n folded", None), ("X-Odd", "\x00", FORM), ("X-Odd", "\xff", None), ("Trailer", "ETag", None)):
        yield f"{name} {value!r}", both(header(name, value), change(ending="close" if value == "close" else None)), told
    yield "6,000 headers", lambda answer: answer.headers.extend(("X-More", "y" * 20) for _ in range(6000)), LARGE
    yield "header without a colon", replaced(lambda whole: whole.replace(b"\r\n", b"\r\nno colon here\r\n", 1)), FORM
    yield "line ends of one byte", lambda answer: answer.__dict__.update(
        raw=answer.bytes()[:-len(answer.body)].replace(b"\r\n", b"\n") + answer.body), None


def body_lies(place):
    first = PLACES.get(place)
    length, content = (JSON, JSON) if first is None else (LENGTH, CONTENT)
    for name, other, told in (
            ("empty", lambda right: b"", length), ("a byte short", lambda right: right[:-1], length),
            ("a byte long", lambda right: right + b"x", length), ("of zeros", lambda right: bytes(len(right)), content),
            ("flipped", lambda right: right[:-9] + bytes([right[-9] ^ 4]) + right[-8:], content)):
        yield f"body {name}", body(other), told
    # What is too much may be taken for the next answer.
    yield "body longer than declared", longer(b"HTTP/1.1 200 OK\r\n\r\n" * 9), ANYTHING
    for at in (0, 0.5, 0.999):
        for ending in ("close", "reset"):
            yield f"{ending} at {at} of the body", cut(at, ending), LOST
    yield "end without a farewell", change(ending="close"), None
    if place != "pair":  # which has the connection's first word
        yield "another certificate", change(raw=b"", ending=OTHER), PIN
    for text, told in ((b"%x\r\n%b\r\n0\r\n\r\n", None), (b"xyz\r\n", LOST), (b"f" * 18 + b"\r\n", LOST)):
        yield f"chunks {text}", chunked(text), told if first is None else LENGTH
    if first is not None:
        for name, other in (("recording", STRANGER), ("range", CLIP[1:] + b"x")):
            yield f"body of another {name}", body(lambda right, other=other: other[first:first + len(right)]), CONTENT
        for name, other, start, told in (("range", CLIP, first + 1, RANGE), ("recording", STRANGER, first, IDENTITY)):
            yield f"another {name}", lambda answer, other=other, start=start: vars(answer).update(
                vars(ranged(other, start, first + len(answer.body) - 1))), told
        return
    most = (65 << 20) if place == "catalog" else (65 << 10)
    yield "body without an end", both(header("Content-Length"), change(body=b" " * most, ending="close")), LARGE
    yield "body declared too large", header("Content-Length", most), LARGE
    for text in (b"[" * 50_000, b"[]", b"null", b"\xef\xbb\xbf{}", b"<html>", b'{"schemaVersion', b'{"a":1e999}',
                 b'{"\xff":1}'):
        yield f"body {text[:24]}", body(lambda right, text=text: text), JSON


def json_paths(value, path=()):
    yield path
    for key in value if isinstance(value, dict) else range(len(value)) if isinstance(value, list) else ():
        yield from json_paths(value[key], (*path, key))


def json_lies(place, camera):
    """Each value of the JSON is missing or another."""
    for path in json_paths(json.loads(camera.right(place).body)):
        for value in (..., None, 0, -1, 1e300, True, "", "../x\x00\ud800", [], {}, [[]]) if path else ():
            def lie(right, path=path, value=value):
                told = json.loads(right)
                owner = functools.reduce(lambda part, key: part[key], path[:-1], told)
                if value is ...:
                    del owner[path[-1]]
                else:
                    owner[path[-1]] = value
                return json.dumps(told).encode()
            yield f"{'.'.join(map(str, path))} {'missing' if value is ... else repr(value)}", body(lie), JSON


def lost_lies(place, camera):
    for at in range(min(RESET_BYTES, len(camera.right(place).bytes()))):
        yield f"reset at byte {at}", change(limit=at, ending="reset"), LOST


def slow_lies(place):
    """Which only the program's limits end."""
    for at in (0, 0.5):
        yield f"stall at {at} of the body", cut(at, "stall"), LATE
    yield "stall in the head", change(limit=30, ending="stall"), LATE
    yield "drip", change(pace=0.5), LATE
    # What follows is no HTTP any more.
    yield "another protocol", replaced(
        lambda whole: b"HTTP/1.1 101 x\r\n\r\n" + whole), LARGE if place in PLACES else LATE


def handshake_lies():
    for raw in (b"", b"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", STRANGER[:5000]):
        yield f"answer of {raw[:4]}", change(raw=raw, ending="close"), NO_TLS


def lies(camera, is_full):
    """Two lists, the second of those that take the program's limits to end: place, name, lie, and what is told. In part
    there is none of them, of the others each about ranges at one place, and of the rest one in so many."""
    def of_camera(kind):
        return functools.partial(kind, camera=camera)
    plain = status_lies, header_lies, body_lies
    quick = [("handshake", *lie) for lie in handshake_lies()] + [("stranger", "", change(), PIN)]
    for kinds, places, one_in in ((plain, PLACES, 3), (plain, ("pair", "catalog"), 5),
                                  ([of_camera(json_lies)], ("pair", "catalog"), 16),
                                  ([of_camera(lost_lies)], ("pair", "catalog", "short"), 300)):
        for turn, place in enumerate(places):
            all_ = itertools.chain(*(kind(place) for kind in kinds))
            quick += [(place, *lie) for number, lie in enumerate(all_) if is_full or (number + turn) % one_in == 0]
    slow = [("handshake", "stall", change(raw=b"", ending="stall"), LATE)]
    slow += [(place, *lie) for place in ("pair", "catalog", *PLACES) for lie in slow_lies(place)]
    return quick, slow if is_full else []
