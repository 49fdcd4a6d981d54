"""The same request by Python's standard library: client.py SOCKET SELECTOR."""

import json
import socket
import struct
import sys

selector = sys.argv[2].encode()
with socket.socket(socket.AF_UNIX) as connection:
    connection.connect(sys.argv[1])
    payload = bytes([len(selector)]) + selector + b"\0"
    connection.sendall(struct.pack(">4sBBHI", b"BLFD", 1, 1, 0, len(payload)) + payload)
    answer = connection.makefile("rb")
    length = struct.unpack(">8xI", answer.read(12))[0]
    print(json.dumps(json.loads(answer.read(length)), sort_keys=True, separators=(",", ":")))
