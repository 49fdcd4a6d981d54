"""Lets each system call and each allocation of a run fail in turn.

usage: faults_test.py --subject NAME --tool FILE --helper FILE --allocating-tool FILE
                      --allocating-helper FILE --services DIRECTORY --strace FILE
                      [--seed N] [--sample N]

Whatever fails, the tool ends within its time limit, by itself, with status 0 or 1 and one line on
one stream; the development helper ends with status 1 or 2 and one line, or goes on serving, and ends at
SIGTERM. Without --sample every fault is tried, with it a random choice.
"""

import argparse
import concurrent.futures
import os
import pathlib
import random
import signal
import socket
import subprocess
import sys
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE.parent / "support"), str(HERE.parent / "peer")]

import transport  # noqa: E402
from system_calls import Fault, call_names, system_call_faults, when  # noqa: E402
from bundled_tool import (  # noqa: E402
    COMMANDS, ENDING_WITH_PARENT, BundledTool, is_one_line, temporary_directory)

SLACK = 1.0  # seconds beyond its time limit that a run may take

# Several to a processor: most of the time they wait for a time limit.
CASES_AT_ONCE = 4 * (os.cpu_count() or 1)

DETECTION = (
    b'{"cameras":[{"id":"C","isConnected":true,"isExperimental":false,'
    b'"isInUseByAnotherApplication":false,"isSuspended":false,"kind":"builtIn","localizedName":"",'
    b'"modelID":"","transportType":"","uniqueID":""}],"notes":["note"],"resolvedTargets":['
    b'{"controlMode":"sigstop","domain":"system","label":"com.apple.appleh13camerad","pid":512,'
    b'"priority":0}],"selectedCameraID":"C","serviceStates":[{"domain":"system","label":"a","pid":1}]}'
)
STATE = (
    b'{"heldTargets":[{"controlMode":"sigstop","domain":"gui","label":"b","pid":7}],'
    b'"lastHeartbeatAt":"2025-03-04T10:15:30Z","leaseID":"LEASE","micMuted":false,"mode":"held"}'
)
RESULT = b'{"holdState":' + STATE + b',"message":"done","success":true}'
REPLIES = {"detectTargets:": DETECTION, "currentState:": STATE}


class Failure(Exception):
    """A run that did not end as it must."""


class AnsweringService:
    """A service that answers every request at once, each connection on a thread of its own."""

    def __init__(self, path):
        self._listener = transport.Listener(path)
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                connection = self._listener.accept()
            except OSError:
                return
            threading.Thread(target=self._answer, args=(connection,), daemon=True).start()

    @staticmethod
    def _answer(connection):
        with connection:
            try:
                selector, _, _ = transport.read_request(connection)
                reply = REPLIES.get(selector, RESULT)
                connection.sendall(transport.frame(transport.REPLY, reply))
                connection.recv(1)
            except (OSError, transport.Ended):
                pass

    def close(self):
        self._listener.close()


def expected_output(words):
    return (DETECTION if words == ("detect",) else STATE if words == ("status",) else RESULT) + b"\n"


def judge_tool(words, fault, run, seconds):
    """Raises Failure unless the run with `fault`, which took `seconds`, ended as it must."""
    limit = COMMANDS[words] + (5.0 if words == ("hold-built-in",) else 0.0) + SLACK
    is_printed = run.output == expected_output(words)
    # The errors of the call that closes standard output come after the line is written.
    is_lost_late = fault.call == "close" and is_printed
    # A standard error that cannot be written leaves only the status.
    says_nothing = fault.call in ("write", "writev") and run.errors == b"" and run.output == b""
    if run.status is None or seconds > limit:
        problem = f"it takes longer than {limit} s"
    elif run.status == 0 and not (is_printed and run.errors == b""):
        problem = "its status is 0, but its line is not printed"
    elif run.status == 1 and not (says_nothing or is_one_line(run.errors)
                                  and (run.output == b"" or is_lost_late)):
        problem = "its failure is not one line"
    elif run.status not in (0, 1):
        # A write to a reader that has gone ends a program as it ends any filter.
        problem = "" if run.status == -signal.SIGPIPE and fault.error == "EPIPE" else "its status"
    else:
        return
    if problem:
        raise Failure(f"{words} with {fault}: {problem}: {run}, {seconds:.2f} s")


class ToolSubject:
    """The tool's commands against a service that answers."""

    def __init__(self, options, program, directory):
        self.options = options
        self.directory = directory
        self.tool = BundledTool(program, options.services, directory)
        self.service = AnsweringService(self.tool.socket_path)

    def close(self):
        self.service.close()

    def run(self, words, prefix=(), **options):
        begin = time.monotonic()
        run = self.tool.start(words, prefix, **options).finish(30.0)
        return run, time.monotonic() - begin

    def check(self, case):
        words, fault = case
        judge_tool(words, fault, *self.attempt(words, fault))


def strace(options, *arguments):
    return [options.strace, "-D", "-f", "-qq", *arguments]


def injection(options, fault):
    """The command line that lets `fault` happen to the program behind it."""
    return strace(options, "-o", "/dev/null", "-e", f"trace={fault.call}", "-e",
                  f"inject={fault.call}:error={fault.error}:when={when(fault)}")


class ToolSystemCalls(ToolSubject):
    def __init__(self, options, directory):
        super().__init__(options, options.tool, directory)

    def cases(self):
        for words in COMMANDS:
            trace = self.directory / "trace"
            run, _ = self.run(words, strace(self.options, "-o", str(trace)))
            if run.status != 0 or run.output != expected_output(words):
                raise Failure(f"{words} fails by itself: {run}")
            time.sleep(0.1)
            for fault in system_call_faults(call_names(trace.read_text())):
                yield words, fault

    def attempt(self, words, fault):
        return self.run(words, injection(self.options, fault))


class ToolAllocations(ToolSubject):
    def __init__(self, options, directory):
        super().__init__(options, options.allocating_tool, directory)

    def cases(self):
        for words in COMMANDS:
            count = self.directory / "count"
            count.unlink(missing_ok=True)
            run, _ = self.run(words, env={"FAILING_ALLOCATION_COUNT": str(count)})
            if run.status != 0 or run.output != expected_output(words):
                raise Failure(f"{words} fails by itself: {run}")
            for number in range(1, count.stat().st_size + 1):
                for onwards in (False, True):
                    yield words, Fault("malloc", "ENOMEM", number, onwards)

    def attempt(self, words, fault):
        return self.run(words, env={"FAILING_ALLOCATION": when(fault)})


class HelperSubject:
    """The development helper, serving clients."""

    def __init__(self, options, program, directory):
        self.options = options
        self.program = program
        self.directory = directory
        self.counter = iter(range(10**9))
        self.lock = threading.Lock()

    def close(self):
        pass

    def start(self, prefix=(), **options):
        with self.lock:
            number = next(self.counter)
        service = f"faults.{os.getpid()}.{number}"
        files = [str(self.directory / f"{kind}.{number}") for kind in ("script", "record")]
        pathlib.Path(files[0]).write_text("muteMic: delay 0.01 reply {}\n", encoding="utf-8")
        process = subprocess.Popen(
            [*ENDING_WITH_PARENT, *prefix, self.program, "--service", service, "--script", files[0], "--record", files[1]],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **options)
        return process, pathlib.Path(self.options.services) / service

    @staticmethod
    def ask(path, selector=b"currentState:", kind=b"\0", argument=b"", seconds=2.0):
        """The answer to one request, b"" when the connection ends without one."""
        payload = bytes([len(selector)]) + selector + kind + argument
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as connection:
            connection.settimeout(seconds)
            with transport.short_path(path) as address:
                connection.connect(address)
            connection.sendall(transport.frame(transport.REQUEST, payload))
            data = b""
            while transport.answer_to(data)[0] == "lost":
                part = connection.recv(65536)
                if not part:
                    break
                data += part
            return data

    def conversation(self, path):
        """What every run has: requests with each kind of argument, a late answer, a broken frame."""
        for request in ((b"currentState:",), (b"renew:withReply:", b"\2", b"LEASE"),
                        (b"release:withReply:", b"\3"), (b"muteMic:",),
                        (b"hold:withReply:", b"\1", b"{}"), (b"unknown:",)):
            try:
                self.ask(path, *request, seconds=0.3)
            except OSError:
                pass

    def serve(self, fault, prefix=(), **options):
        """One life of the helper. Raises Failure unless it goes as it must."""
        process, path = self.start(prefix, **options)
        problem = None
        try:
            if process.stdout.readline() == b"ready\n":
                self.conversation(path)
                problem = self.problem_of_service(process, path, fault)
                process.send_signal(signal.SIGTERM)
            _, errors = process.communicate(timeout=5.0)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise Failure(f"the helper with {fault}: it does not end") from None
        if process.returncode not in (0, 1, 2):
            problem = f"its status is {process.returncode}"
        elif process.returncode and not is_one_line(errors):
            problem = f"its failure is not one line: {errors}"
        elif process.returncode == 0 and errors:
            problem = f"it says {errors}"
        if problem and not self.is_excused(fault, process.returncode, errors):
            raise Failure(f"the helper with {fault}: {problem}; it ended with {process.returncode}")

    @staticmethod
    def is_excused(fault, status, errors):
        """A standard error that cannot be written leaves only the status."""
        return fault.call in ("write", "writev") and status == 1 and errors == b""

    def problem_of_service(self, process, path, fault):
        """What is wrong with how clients are served behind a fault that has passed."""
        if fault.onwards or process.poll() is not None:
            return None
        for _ in range(3):
            try:
                if transport.answer_to(self.ask(path))[0] == "reply":
                    return None
            except OSError:
                pass
            # A failed record ends the helper.
            try:
                process.wait(timeout=0.2)
                return None
            except subprocess.TimeoutExpired:
                pass
        return "it serves nobody any more"

    def check(self, fault):
        self.attempt(fault)


class HelperSystemCalls(HelperSubject):
    def __init__(self, options, directory):
        super().__init__(options, options.helper, directory)

    def cases(self):
        trace = self.directory / "trace"
        self.serve(Fault("nothing", "", 0, False), strace(self.options, "-o", str(trace)))
        time.sleep(0.2)
        yield from system_call_faults(call_names(trace.read_text()))

    def attempt(self, fault):
        self.serve(fault, injection(self.options, fault))


class HelperAllocations(HelperSubject):
    def __init__(self, options, directory):
        super().__init__(options, options.allocating_helper, directory)

    def cases(self):
        count = self.directory / "count"
        self.serve(Fault("nothing", "", 0, False), env={"FAILING_ALLOCATION_COUNT": str(count)})
        for number in range(1, count.stat().st_size + 1):
            yield Fault("malloc", "ENOMEM", number, False)
            # The first is of the C++ library, which without it cannot throw when memory is short.
            if number > 1:
                yield Fault("malloc", "ENOMEM", number, True)

    def attempt(self, fault):
        self.serve(fault, env={"FAILING_ALLOCATION": when(fault)})


SUBJECTS = {each.__name__: each
            for each in (ToolSystemCalls, ToolAllocations, HelperSystemCalls, HelperAllocations)}


def failures_of(subject, cases, workers):
    """The failures among `cases`, each tried a second time alone before it counts."""
    failed = []
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        results = [(case, pool.submit(subject.check, case)) for case in cases]
        for case, result in results:
            try:
                result.result()
            except Failure:
                failed.append(case)
    for case in failed:
        try:
            subject.check(case)
        except Failure as failure:
            yield str(failure)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--subject", required=True, choices=SUBJECTS)
    for name in ("tool", "helper", "allocating-tool", "allocating-helper", "services", "strace"):
        parser.add_argument(f"--{name}", required=True)
    parser.add_argument("--seed", default=str(random.randrange(10**9)))
    parser.add_argument("--sample", type=int)
    options = parser.parse_args()
    begin = time.monotonic()
    with temporary_directory() as directory:
        subject = SUBJECTS[options.subject](options, directory)
        try:
            cases = list(subject.cases())
            total = len(cases)
            if options.sample is not None and options.sample < total:
                cases = random.Random(options.seed).sample(cases, options.sample)
            failures = list(failures_of(subject, cases, CASES_AT_ONCE))
        except Failure as failure:
            failures, cases, total = [str(failure)], [], 0
        finally:
            subject.close()
    for failure in failures:
        print(failure)
    print(f"{options.subject}, seed {options.seed}: {len(cases)} of {total} faults tried, "
          f"{len(failures)} failures, {time.monotonic() - begin:.0f} s")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
