# SPDX-License-Identifier: Apache-2.0
"""A camera's transfer server of which an answer can be anything, byte for byte. It shares nothing with the program."""

import datetime
import functools
import hashlib
import json
import re
import secrets
import socket
import ssl
import struct
import subprocess
import threading
import time

CODE = "٤٨٢٩١٥"  # six digits that nothing holds by chance
OTHER = "someone else"  # a certificate that nobody has confirmed


def certificates(folder):
    """Two servers' contexts with certificates of their own, and their fingerprints."""
    made = []
    for name in ("camera", OTHER):
        key, certificate = folder / f"{name}.key", folder / f"{name}.pem"
        subprocess.run(["openssl", "req", "-x509", "-nodes", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                        "-keyout", key, "-out", certificate, "-subj", "/CN=camera"], check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        made.append((context, hashlib.sha256(ssl.PEM_cert_to_DER_cert(certificate.read_text())).hexdigest()))
    return made


class Answer:
    """What a request gets, in the parts that a lie may change."""

    def __init__(self, status, body=b"", **headers):
        self.start = b"HTTP/1.1 " + status.encode()
        self.headers = [("Content-Length", len(body))]
        self.headers += [(name.replace("_", "-"), value) for name, value in headers.items()]
        self.body = body
        self.raw = None  # stands for it all
        self.limit = None  # so many bytes of it are sent
        self.ending = None  # then: reset, close, stall, or OTHER, a farewell after which another certificate is shown
        self.pace = 0  # seconds for each byte

    def bytes(self):
        lines = [self.start, *(f"{name}: {value}".encode("latin-1") for name, value in self.headers)]
        whole = self.raw if self.raw is not None else b"\r\n".join(lines) + b"\r\n\r\n" + self.body
        return whole[:self.limit]


class Camera:
    """At a port of its own. `catalog` is what it tells, but for its name; `contents` are its recordings by id. While there
    is a `lie`, it changes each answer to the requests of `place`: handshake, pair, catalog, or the first byte
    of a range."""

    def __init__(self, certificates_, device="", name="Camera"):
        self.certificates = certificates_
        self.device = device or "9b2f3f5e-7c0e-4a3f-9d5c-2a1f6d1b7e10"
        self.name = name
        self.catalog, self.contents = {}, {}
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=16)
        self.url = f"https://127.0.0.1:{self.listener.getsockname()[1]}/vorn/v1/catalog"
        self.place, self.lie = None, None
        self.renew()
        threading.Thread(target=self._accept, daemon=True).start()

    def renew(self):
        """As if nobody had been here."""
        self.shown = 0  # which certificate
        self.tokens = []
        self.strayed = []  # what no honest client asks for

    def arguments(self):
        return [self.url, self.certificates[0][1], "session-7", CODE]

    def right(self, place):
        """What an honest answer is to the pairing, to the question for the catalog, or for all of a recording."""
        if place == "pair":
            return self._grant({"pairingCode": CODE, "certificateSHA256": self.certificates[0][1]})
        if place == "catalog":
            told = {"schemaVersion": 1, "deviceId": self.device, "deviceName": self.name, **self.catalog}
            return Answer("200 OK", json.dumps(told).encode(), Content_Type="application/json")
        content = next(iter(self.contents.values()))
        return ranged(content, 0, len(content) - 1)

    def _accept(self):
        while True:
            connection = self.listener.accept()[0]
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        try:
            if self.lie and self.place == "handshake":
                answer = Answer("200 OK")
                self.lie(answer)
                connection.sendall(answer.bytes())
                return self._end(connection, answer.ending)
            shown = self.shown
            connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            tls = connection = self.certificates[shown][0].wrap_socket(connection, server_side=True)
            while request := self._request(tls):
                if shown:
                    self.strayed.append("a request over another certificate")
                place, answer = self._answer(*request)
                if self.lie and place == self.place:
                    self.lie(answer)
                data = answer.bytes()
                if not answer.pace:
                    tls.sendall(data)
                for at in range(len(data) if answer.pace else 0):
                    tls.sendall(data[at:at + 1])
                    time.sleep(answer.pace)
                if answer.ending:
                    return self._end(tls, answer.ending)
        except (OSError, ValueError):
            pass  # the client has gone
        finally:
            connection.close()

    def _end(self, connection, ending):
        if ending == "stall":
            while connection.recv(4096):
                pass
        elif ending == "reset":
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        elif ending == OTHER:
            self.shown = 1
            connection.unwrap()

    def _request(self, tls):
        data = b""
        while b"\r\n\r\n" not in data:
            more = tls.recv(65536)
            if not more:
                return None
            data += more
        head, _, body = data.partition(b"\r\n\r\n")
        length = int((re.search(rb"(?i)\r\ncontent-length: (\d+)", head) or [0, 0])[1])
        while len(body) < length:
            body += tls.recv(65536)
        return head.decode(), body

    def _answer(self, head, body):
        method, target, _ = head.splitlines()[0].split()
        if (method, target) == ("POST", "/vorn/v1/pair"):
            return "pair", self._grant(json.loads(body))
        if not any(f"Authorization: Bearer {token}\r\n" in head for token in self.tokens):
            return "nowhere", Answer("401 Unauthorized")
        if (method, target) == ("GET", "/vorn/v1/catalog"):
            return "catalog", self.right("catalog")
        asked = re.search(r"\r\nRange: bytes=(\d+)-(\d+)\r\n", head)
        content = self.contents.get(target.removeprefix("/vorn/v1/files/"))
        if method == "GET" and content and asked:
            return int(asked[1]), ranged(content, int(asked[1]), int(asked[2]))
        if target != "/vorn/v1/session/end":
            self.strayed.append(f"{method} {target}")
        return "nowhere", Answer("404 Not Found")

    def _grant(self, asked):
        if asked["pairingCode"] != CODE or asked["certificateSHA256"] != self.certificates[0][1]:
            return Answer("403 Forbidden")
        self.tokens.append(secrets.token_hex(32))
        end = datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(seconds=890)
        grant = {"schemaVersion": 1, "deviceId": self.device, "sessionId": "session-7", "bearerToken": self.tokens[-1],
                 "expiresAt": end.isoformat(timespec="milliseconds").replace("+00:00", "Z"),
                 "scopes": ["catalog.read", "files.read"], "certificateSHA256": self.certificates[0][1],
                 "foregroundOnly": True}
        return Answer("200 OK", json.dumps(grant).encode(), Content_Type="application/json")


@functools.cache
def digest(content):
    return hashlib.sha256(content).hexdigest()


def ranged(content, start, end):
    return Answer("206 Partial Content", content[start:end + 1], Accept_Ranges="bytes",
                  Content_Range=f"bytes {start}-{end}/{len(content)}", Content_Type="video/quicktime",
                  X_VORN_SHA256=digest(content), ETag=f'"sha256:{digest(content)}"')


def told_clip(identity, camera, name, content, **more):
    """A recording as a catalog tells of it."""
    return {"clipId": identity, "cameraId": camera, "fileName": name, "sizeBytes": len(content),
            "sha256": digest(content), "downloadURL": f"/vorn/v1/files/{identity}",
            "finalized": True, "mediaKind": "video", "hasVideo": True, "hasAudio": True, **more}
