"""Holds the tool against a helper that shares no code with it.

usage: peer_test.py --tool FILE --services DIRECTORY [--seed N] [--replies N] [--full]

Every command of the tool meets random replies, sound and broken, every malformed frame, cuts,
trickles and floods. Status, standard output and standard error are those that an independent
reading of the frames and records gives. A difference is shown with the seed that repeats it.
"""

import argparse
import concurrent.futures
import contextlib
import os
import pathlib
import random
import select
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))

import records  # noqa: E402
import replies  # noqa: E402
import transport  # noqa: E402
from runs import (  # noqa: E402
    RENEW_USAGE, REQUESTS, TOO_LONG, USAGE, Difference, compare, expected_failure, expected_run)
from bundled_tool import COMMANDS, BundledTool, temporary_directory  # noqa: E402

SLACK = 1.0  # seconds that a run may take beyond its time limit


class Peer:
    """Runs the tool's commands against one service."""

    def __init__(self, options, directory):
        self.tool = BundledTool(options.tool, options.services, directory)
        self._listener = transport.Listener(self.tool.socket_path)

    def close(self):
        self._listener.close()

    def _next_client(self, process_handle, seconds):
        """The connection that the tool makes next; None when it ends instead."""
        ready, _, _ = select.select([self._listener, process_handle], [], [], seconds)
        return self._listener.accept() if self._listener in ready else None

    def run(self, words, serve, seconds=10.0, arguments=None):
        """Runs `words`, or `arguments` that mean them. `serve(connection, selector, kind, argument,
        step)` answers each request."""
        running = self.tool.start(words if arguments is None else arguments)
        handle = os.pidfd_open(running.process.pid)
        try:
            for step in range(len(REQUESTS[words][0]) + 1):
                connection = self._next_client(handle, seconds)
                if connection is None:
                    break
                with connection:
                    serve(connection, *transport.read_request(connection), step)
        except transport.Ended:
            pass
        finally:
            os.close(handle)
        return running.finish(seconds)

    def play(self, words, streams, split=None, pause=0.0, arguments=None, lease=None):
        """Answers the requests of `words` by `streams`, each in the parts that `split` makes of it,
        and compares the run with what the reading says. `arguments` may mean the same as `words`,
        but for another `lease`."""
        expected, sent = expected_run(words, streams)
        if lease is not None:
            sent = [lease]
        selectors, first_kind, _, _ = REQUESTS[words]
        requests = []

        def serve(connection, selector, kind, argument, step):
            requests.append((selector, kind, argument))
            parts = split(streams[step]) if split else [streams[step]]
            transport.send_in_parts(connection, parts, pause)

        run = self.run(words, serve, arguments=arguments)
        compare(words, expected, run)
        kinds = [first_kind, transport.DATA]
        wanted = list(zip(selectors, kinds, sent))
        if requests != wanted:
            raise Difference(f"{words}: expected the requests {wanted}, the tool sent {requests}")


def sound_streams(words, generator):
    """Answers that bring `words` to its result."""
    maker = {id(records.HOLD_STATE): generator.hold_state,
             id(records.DETECTION_RESULT): generator.detection,
             id(records.OPERATION_RESULT): generator.operation_result}[id(REQUESTS[words][3])]
    last = transport.frame(transport.REPLY, generator.sound(maker))
    if len(REQUESTS[words][0]) == 1:
        return [last]
    camera = generator.camera("CAMERA") | {"kind": "builtIn"}
    detection = {"cameras": [camera], "selectedCameraID": "CAMERA", "notes": [],
                 "resolvedTargets": [generator.target()], "serviceStates": []}
    return [transport.frame(transport.REPLY, generator.spell(detection).encode("utf-8")), last]


def random_streams(words, random_generator, generator):
    """Answers to the requests of `words`, sound as often as not."""
    makers = {id(records.HOLD_STATE): generator.hold_state,
              id(records.DETECTION_RESULT): generator.detection,
              id(records.OPERATION_RESULT): generator.operation_result}
    kinds = [REQUESTS[words][3]]
    if len(REQUESTS[words][0]) == 2:
        kinds.insert(0, records.DETECTION_RESULT)
    streams = []
    for step, kind in enumerate(kinds):
        chance = random_generator.random()
        make = makers[id(kind)]
        if chance < 0.1:
            streams.append(transport.frame(transport.ERROR, generator.text().encode("utf-8")))
        elif chance < 0.5 and step + 1 < len(kinds):
            streams.append(transport.frame(transport.REPLY, generator.sound(make)))
        else:
            streams.append(transport.frame(transport.REPLY, generator.reply(make)))
    return streams


# The parts of a test: each is called with a peer, a random generator and the options.


def random_replies(peer, random_generator, options):
    """Random replies to every command."""
    count = options.replies
    for index in range(count):
        seed = f"{options.seed}.{index}"
        own = random.Random(seed)
        words = own.choice(list(REQUESTS))
        streams = random_streams(words, own, replies.Replies(own))
        try:
            peer.play(words, streams)
        except Difference as difference:
            raise Difference(f"reply {seed}: {difference}\nstreams: {streams}") from difference
    return count


def random_arguments(peer, random_generator, options):
    """Command lines of any bytes: a command with further words, a word that is nearly one, none."""
    words = [command[0].encode("ascii") for command in REQUESTS]
    pieces = [b"", b" ", b"-", b"--help", b"\xff", b"\xc3\xa9", b"\xed\xa0\x80", b"\xf0\x9f\x93",
              b"\n", b"\x1b[31m", b"LEASE", b"x" * 100000]
    for index in range(options.replies // 4):
        own = random.Random(f"{options.seed}.arguments.{index}")
        arguments = [own.choice(pieces + words) for _ in range(own.randrange(4))]
        chance = own.random()
        if chance < 0.6:
            arguments.insert(0, own.choice(words))
        elif chance < 0.8:
            near = bytearray(own.choice(words))
            near[own.randrange(len(near))] ^= own.choice((1, 0x20, 0x80))
            arguments.insert(0, bytes(near).replace(b"\0", b"-"))
        run_arguments(peer, arguments, replies.Replies(own))
    return options.replies // 4


def run_arguments(peer, arguments, generator):
    """Compares a run of any arguments with what the command table says."""
    word = arguments[0].decode("utf-8", "replace") if arguments else "status"
    command = next((command for command in REQUESTS if command[0] == word), None)
    if command is None:
        compare(arguments, (64, b"", USAGE), peer.tool.start(arguments).finish(10.0))
        return
    if word == "renew" and len(arguments) < 2:
        compare(arguments, (1, b"", RENEW_USAGE), peer.tool.start(arguments).finish(10.0))
        return
    # Bytes that are no UTF-8 are no text.
    lease = arguments[1].decode("utf-8", "replace").encode("utf-8") if word == "renew" else None
    peer.play(command, sound_streams(command, generator), arguments=arguments, lease=lease)


def malformed_frames(peer, random_generator, options):
    """Every frame that is none, or no answer, on either request of every command."""
    text = "sound".encode("utf-8")
    frames = [transport.header(5, kind=kind) + text for kind in (0, 4, 66, 255)]
    frames += [transport.header(5, mark=mark) + text
               for mark in (b"blfd", b"BLFE", b"\0\0\0\0", b"HTTP", b"XLFD", b"BLF ")]
    frames += [transport.header(5, version=version) + text for version in (0, 2, 255)]
    frames += [transport.header(5, reserved=reserved) + text for reserved in (1, 0x100, 0x8000)]
    frames += [transport.header(length) for length in
               (transport.MAXIMUM_PAYLOAD + 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF)]
    frames += [transport.frame(transport.REQUEST, payload) for payload in (b"", b"\x0dcurrentState:\0")]
    frames += [transport.frame(transport.ERROR, payload) for payload in
               (b"\xff", b"ends\0", b"\0", b"\xed\xa0\x80", b"\xc3", b"\xf8\x88\x80\x80\x80")]
    frames += [transport.frame(transport.ERROR, payload.encode("utf-8")) for payload in
               ("", " ", "\n", "\r\n\r\n", "two\nlines", "\n\nedges\r", "tab\t", "\x1b[31m", "\x7f\x9b",
                "\u202e\u2066\u2028\u200f", "\U0001f4f7", "x" * 100000, "%s%n")]
    frames += [b"", b"B", transport.header(0)[:11], transport.header(1), transport.header(5) + b"four"]
    count = 0
    for words in REQUESTS:
        own = replies.Replies(random_generator)
        sound = sound_streams(words, own)
        chosen = frames if options.full else random_generator.sample(frames, 12)
        for step in range(len(sound)):
            for malformed in chosen:
                peer.play(words, sound[:step] + [malformed])
                count += 1
    return count


def cuts(peer, random_generator, options):
    """Answers that end too early, after every number of bytes."""
    count = 0
    for words in REQUESTS:
        own = replies.Replies(random_generator)
        streams = sound_streams(words, own)
        places = range(len(streams[-1]))
        most = 60 if options.full else 4
        chosen = random_generator.sample(places, min(most, len(places)))
        for place in [*range(13 if options.full else 0), *chosen]:
            peer.play(words, streams[:-1] + [streams[-1][:place]])
            count += 1
    return count


def trickles(peer, random_generator, options):
    """Answers in parts of every size, whatever comes behind them."""

    def in_parts(stream):
        size = random_generator.choice((1, 2, 3, 11, 12, 13))
        size = max(size, len(stream) // 200)
        return [stream[at : at + size] for at in range(0, len(stream), size)]

    count = 0
    for words in REQUESTS:
        for _ in range(10 if options.full else 1):
            own = replies.Replies(random_generator)
            streams = sound_streams(words, own)
            peer.play(words, streams, in_parts, 0.0005)
            behind = random_generator.choice((b"\0", b"BLFD", streams[-1], b"x" * 100000))
            peer.play(words, streams[:-1] + [streams[-1] + behind])
            count += 2
    return count


def floods(peer, random_generator, options):
    """A peer that never stops sending does not keep the tool past its answer or a fault."""
    own = replies.Replies(random_generator)
    count = 0
    for words in REQUESTS:
        if len(REQUESTS[words][0]) > 1:
            continue
        for beginning in (sound_streams(words, own)[0], b"not a frame at all", transport.header(2**31)):
            expected, _ = expected_run(words, [beginning + b"\0" * 12])

            def serve(connection, *_, beginning=beginning):
                transport.send_in_parts(connection, [beginning], 0)
                if not transport.flood(connection, b"\0" * 65536, 3.0):
                    raise Difference(f"{words}: the tool goes on reading behind {beginning[:12]}")

            compare(words, expected, peer.run(words, serve))
            count += 1
    return count


def largest_frames(peer, random_generator, options):
    """Payloads of 64 MiB, which are the most, of white space, of a record and of an error."""
    size = transport.MAXIMUM_PAYLOAD
    record = b'{"success":true,"message":"' + b"x" * (size - 29) + b'"}'
    peer.play(("restore",), [transport.frame(transport.REPLY, record)])
    peer.play(("restore",), [transport.frame(transport.REPLY, b" " * size)])
    peer.play(("restore",), [transport.frame(transport.ERROR, b"e" * size)])
    peer.play(("restore",), [transport.header(size) + b" " * (size - 1)])
    return 4


def silences(peer, random_generator, options):
    """A peer that says nothing, or never enough, does not keep the tool past its time limit."""

    def nothing(connection, *_):
        connection.settimeout(30)
        connection.recv(1)

    def never_enough(connection, *_):
        transport.send_in_parts(connection, [transport.header(1000)] + [b" "] * 900, 0.02)
        nothing(connection)

    def silence(peer, words, serve):
        limit = 5.0 if words == ("hold-built-in",) else COMMANDS[words]
        begin = time.monotonic()
        run = peer.run(words, serve, seconds=limit + 5)
        took = time.monotonic() - begin
        compare(words, expected_failure(TOO_LONG), run)
        if not limit <= took < limit + SLACK:
            raise Difference(f"{words}: the time limit of {limit} s ended the run after {took:.3f} s")

    with contextlib.ExitStack() as stack:
        directory = stack.enter_context(temporary_directory())
        cases = []
        for words in REQUESTS:
            for serve in (nothing, never_enough):
                own = Peer(options, directory)
                stack.callback(own.close)
                cases.append((own, words, serve))
        with concurrent.futures.ThreadPoolExecutor(len(cases)) as pool:
            for case in [pool.submit(silence, *each) for each in cases]:
                case.result()
    return len(cases)


QUICK_PARTS = (random_replies, random_arguments, malformed_frames, cuts, trickles, floods)
FULL_PARTS = QUICK_PARTS + (largest_frames, silences)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", required=True)
    parser.add_argument("--services", required=True)
    parser.add_argument("--seed", default=str(random.randrange(10**9)))
    parser.add_argument("--replies", type=int, default=400)
    parser.add_argument("--full", action="store_true")
    options = parser.parse_args()
    sys.set_int_max_str_digits(0)
    sys.setrecursionlimit(20000)
    print(f"seed {options.seed}", flush=True)
    with temporary_directory() as directory:
        peer = Peer(options, directory)
        try:
            for part in FULL_PARTS if options.full else QUICK_PARTS:
                begin = time.monotonic()
                count = part(peer, random.Random(f"{options.seed}.{part.__name__}"), options)
                print(f"{part.__name__}: {count} runs in {time.monotonic() - begin:.1f} s", flush=True)
        except Difference as difference:
            print(f"seed {options.seed}: {difference}", file=sys.stderr)
            return 1
        finally:
            peer.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
