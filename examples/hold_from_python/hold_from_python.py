#!/usr/bin/env python3
"""Holds the built-in camera by way of the C library, shows the hold and releases it.

usage: hold_from_python.py LIBRARY SERVICE HELPER

LIBRARY is libblindfold.so (or .dylib), SERVICE the helper's service, HELPER its executable.
"""

import ctypes
import json
import sys


class Outcome(ctypes.Structure):
    """struct blindfold_outcome."""

    _fields_ = [("status", ctypes.c_int), ("text", ctypes.c_char_p), ("length", ctypes.c_size_t)]


class Failure(Exception):
    """A request that failed."""


def load(path):
    """The library with the types of the functions that this program calls."""
    library = ctypes.CDLL(path)
    library.blindfold_client_create_for.restype = ctypes.c_void_p
    library.blindfold_client_create_for.argtypes = [ctypes.c_bool, ctypes.c_char_p, ctypes.c_char_p]
    library.blindfold_client_free.argtypes = [ctypes.c_void_p]
    for operation in (library.blindfold_hold_built_in, library.blindfold_current_state):
        operation.restype = ctypes.c_void_p
        operation.argtypes = [ctypes.c_void_p]
    library.blindfold_release.restype = ctypes.c_void_p
    library.blindfold_release.argtypes = [ctypes.c_void_p, ctypes.c_char_p]
    library.blindfold_wait.restype = ctypes.POINTER(Outcome)
    library.blindfold_wait.argtypes = [ctypes.c_void_p]
    library.blindfold_request_free.argtypes = [ctypes.c_void_p]
    return library


def run(library, request):
    """The result of a request as Python's json reads it. Raises Failure. Frees the request."""
    try:
        outcome = library.blindfold_wait(request).contents
        text = outcome.text.decode()
        if outcome.status != 0:
            raise Failure(text)
        return json.loads(text)
    finally:
        library.blindfold_request_free(request)


def main():
    """Holds, shows, releases."""
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    library = load(sys.argv[1])
    client = library.blindfold_client_create_for(True, sys.argv[2].encode(), sys.argv[3].encode())
    try:
        print(run(library, library.blindfold_hold_built_in(client))["message"])
        state = run(library, library.blindfold_current_state(client))
        for target in state["heldTargets"]:
            print("Held:", target["label"])
        lease = state["leaseID"].encode()
        print(run(library, library.blindfold_release(client, lease))["message"])
    except Failure as failure:
        sys.exit(str(failure))
    finally:
        library.blindfold_client_free(client)


if __name__ == "__main__":
    main()
