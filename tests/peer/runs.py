"""How a run of each command must end, by an independent reading of the replies."""

import re
import signal

import records
import transport
from bundled_tool import is_one_line

# Of each command: the selectors of its requests, the argument of the first, and the record of the
# last reply.
REQUESTS = {
    ("status",): (["currentState:"], transport.NO_ARGUMENT, b"", records.HOLD_STATE),
    ("detect",): (["detectTargets:"], transport.NO_ARGUMENT, b"", records.DETECTION_RESULT),
    ("hold-built-in",): (
        ["detectTargets:", "hold:withReply:"], transport.NO_ARGUMENT, b"", records.OPERATION_RESULT),
    ("release",): (["release:withReply:"], transport.ABSENT, b"", records.OPERATION_RESULT),
    ("restore",): (["restoreAll:"], transport.NO_ARGUMENT, b"", records.OPERATION_RESULT),
    ("renew", "LEASE"): (["renew:withReply:"], transport.TEXT, b"LEASE", records.OPERATION_RESULT),
    ("mute",): (["muteMic:"], transport.NO_ARGUMENT, b"", records.OPERATION_RESULT),
    ("unmute",): (["unmuteMic:"], transport.NO_ARGUMENT, b"", records.OPERATION_RESULT),
}
USAGE = (
    b"usage: blindfoldctl "
    b"[status|detect|hold-built-in|release|restore|renew <lease-id>|mute|unmute]\n"
)
RENEW_USAGE = b"usage: blindfoldctl renew <lease-id>\n"
UNAVAILABLE = "Protection service is unavailable."
TOO_LONG = "Protection service took too long to respond."
ANY_LINE = object()  # in place of a failure's text that the decoder words


class Difference(Exception):
    """The tool did something else than the independent reading says."""


def shown_line(text):
    """A failure's text as the tool shows it: one line on which a terminal acts in no way."""
    text = re.sub(r"[\r\n]+", " ", text)
    return re.sub("[\x00-\x08\x0b-\x1f\x7f-\x9f]", lambda match: f"\\u{ord(match[0]):04x}", text)


def expected_failure(text):
    return 1, b"", text if text is ANY_LINE else shown_line(text).encode("utf-8") + b"\n"


def expected_run(words, streams):
    """The status, output and errors of `words` when its requests are answered by `streams`, and the
    arguments of those requests that it sends."""
    selectors, _, argument, kind = REQUESTS[words]
    arguments = [argument]
    for step, stream in enumerate(streams):
        outcome, content = transport.answer_to(stream)
        if outcome == "lost":
            return expected_failure(UNAVAILABLE), arguments
        if outcome == "fault":
            return expected_failure(transport.FAULT_TEXTS[content]), arguments
        if outcome == "error":
            return expected_failure(content), arguments
        is_last = step == len(selectors) - 1
        try:
            record = records.read_record(kind if is_last else records.DETECTION_RESULT, content)
            if is_last:
                return (0, records.write_record(kind, record) + b"\n", b""), arguments
            arguments.append(records.hold_request(record))
        except records.Undecodable:
            return expected_failure(ANY_LINE), arguments
        except records.Refused as refusal:
            return expected_failure(str(refusal)), arguments
        except records.DuplicateLabel as label:
            line = f"Duplicate values for key: '{shown_line(str(label))}'\n".encode("utf-8")
            return (-signal.SIGABRT, b"", line), arguments
    raise AssertionError("the streams end before the run")


def compare(words, expected, run):
    status, output, errors = expected
    if run.status != status or run.output != output:
        raise Difference(f"{words}: expected {expected}, the run was {run}")
    if errors is ANY_LINE:
        if not is_one_line(run.errors) or run.errors == b"\n":
            raise Difference(f"{words}: standard error is no line: {run}")
    elif run.errors != errors:
        raise Difference(f"{words}: expected {expected}, the run was {run}")
