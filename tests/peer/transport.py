"""The frames of docs/transport.md, as a helper reads and writes them.

Written from that page alone: nothing here is shared with the programs.
"""

import contextlib
import os
import socket
import struct
import time

MARK = b"BLFD"
VERSION = 1
REQUEST, REPLY, ERROR = 1, 2, 3
HEADER = struct.Struct(">4sBBHI")
MAXIMUM_PAYLOAD = 64 * 1024 * 1024

NO_ARGUMENT, DATA, TEXT, ABSENT = range(4)

FAULT_TEXTS = {
    "mark": "Malformed frame: it does not begin with the frame mark.",
    "version": "Malformed frame: its version is not supported.",
    "kind": "Malformed frame: its kind is unknown.",
    "reserved": "Malformed frame: its reserved bytes are not zero.",
    "length": "Malformed frame: its payload is larger than 64 MiB.",
    "request": "Malformed frame: a request stands where a reply belongs.",
    "text": "Malformed frame: its error is not a text.",
}


def header(length, kind=REPLY, mark=MARK, version=VERSION, reserved=0):
    """The twelve bytes before a payload of `length` bytes."""
    return HEADER.pack(mark, version, kind, reserved, length)


def frame(kind, payload):
    """A whole frame."""
    return header(len(payload), kind) + payload


def answer_to(data):
    """What the tool takes the stream `data` for, when it ends there: ("reply", bytes),
    ("error", text), ("fault", name) or ("lost", None)."""
    if len(data) < HEADER.size:
        return "lost", None
    mark, version, kind, reserved, length = HEADER.unpack_from(data)
    for name, is_wrong in (
        ("mark", mark != MARK),
        ("version", version != VERSION),
        ("kind", kind not in (REQUEST, REPLY, ERROR)),
        ("reserved", reserved != 0),
        ("length", length > MAXIMUM_PAYLOAD),
    ):
        if is_wrong:
            return "fault", name
    payload = data[HEADER.size : HEADER.size + length]
    if len(payload) < length:
        return "lost", None
    if kind == REQUEST:
        return "fault", "request"
    if kind == REPLY:
        return "reply", payload
    try:
        text = payload.decode("utf-8")
    except UnicodeDecodeError:
        return "fault", "text"
    return ("fault", "text") if "\0" in text else ("error", text)


class Ended(Exception):
    """The tool ended, or closed the connection, before the peer was done."""


def _receive(connection, size):
    data = b""
    while len(data) < size:
        part = connection.recv(size - len(data))
        if not part:
            raise Ended
        data += part
    return data


def read_request(connection):
    """The selector, the argument's kind and the argument of the request that comes next."""
    mark, version, kind, reserved, length = HEADER.unpack(_receive(connection, HEADER.size))
    assert (mark, version, kind, reserved) == (MARK, VERSION, REQUEST, 0), "the tool's header"
    payload = _receive(connection, length)
    selector_end = 1 + payload[0]
    selector = payload[1:selector_end].decode("ascii")
    return selector, payload[selector_end], payload[selector_end + 1 :]


def send_in_parts(connection, parts, pause):
    """Sends `parts` one after the other, `pause` seconds apart, as far as the tool listens."""
    try:
        for index, part in enumerate(parts):
            if index and pause:
                time.sleep(pause)
            connection.sendall(part)
    except (BrokenPipeError, ConnectionResetError):
        pass


def flood(connection, data, seconds):
    """Sends `data` again and again until the tool closes the connection. Returns whether it did
    so within `seconds`."""
    connection.settimeout(seconds)
    end = time.monotonic() + seconds
    try:
        while time.monotonic() < end:
            connection.sendall(data)
    except (BrokenPipeError, ConnectionResetError):
        return True
    except TimeoutError:
        pass
    return False


@contextlib.contextmanager
def short_path(path):
    """Another path of the socket at `path`, which may be longer than an address takes."""
    directory = os.open(path.parent, os.O_PATH | os.O_DIRECTORY)
    try:
        yield f"/proc/self/fd/{directory}/{path.name}"
    finally:
        os.close(directory)


class Listener:
    """The service's socket."""

    def __init__(self, path):
        self._path = path
        path.parent.mkdir(mode=0o700, parents=True, exist_ok=True)
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        with short_path(path) as address:
            self._socket.bind(address)
        self._socket.listen(64)

    def fileno(self):
        return self._socket.fileno()

    def accept(self):
        return self._socket.accept()[0]

    def close(self):
        self._socket.close()
        self._path.unlink(missing_ok=True)
