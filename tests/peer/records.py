"""The records as an independent reader has them: Python's JSON reader under tables of its own.

`read_record` and `write_record` say which replies are sound and which bytes the tool prints for
them; `hold_request` says what follows a detection.
"""

import datetime
import json
import re

MAXIMUM_DEPTH = 512


class Undecodable(Exception):
    """Bytes that are not the JSON form of the record."""


class Refused(Exception):
    """A detection that allows no hold; its text is the failure's line."""


class DuplicateLabel(Exception):
    """Two running services of a detection have one label, which is the text."""


def read_text(value):
    if not isinstance(value, str):
        raise Undecodable("not a string")
    return value


def read_boolean(value):
    if not isinstance(value, bool):
        raise Undecodable("not a boolean")
    return value


def read_integer(value):
    """The integer that a number's spelling names; a fraction of zeros and an exponent may."""
    if not isinstance(value, Number):
        raise Undecodable("not a number")
    sign, whole, fraction, exponent = re.fullmatch(
        r"(-?)([0-9]+)(?:\.([0-9]+))?(?:[eE]([-+]?[0-9]+))?", value.spelling
    ).groups(default="")
    digits = (whole + fraction).lstrip("0")
    if not digits:
        return 0
    significant = digits.rstrip("0")
    zeros = clamped(exponent) - len(fraction) + len(digits) - len(significant)
    if zeros < 0 or len(significant) + zeros > 19:
        raise Undecodable("not an integer of 64 bits")
    integer = int(sign + significant) * 10**zeros
    if not -(2**63) <= integer < 2**63:
        raise Undecodable("not an integer of 64 bits")
    return integer


def clamped(exponent):
    """An exponent's value, no farther from zero than any text is long."""
    sign = -1 if exponent.startswith("-") else 1
    digits = exponent.lstrip("+-").lstrip("0")
    return sign * (10**15 if len(digits) > 15 else int(digits or "0"))


def read_date(value):
    """The instant as whole 400-year cycles of the calendar and a moment of Python's, which knows
    neither the year 0 nor any after 9999, in the cycle of the year 2000."""
    match = re.fullmatch(
        r"([0-9]{4})-([0-9]{2})-([0-9]{2})T([0-9]{2}):([0-9]{2}):([0-9]{2})"
        r"(?:Z|([-+])([0-9]{2}):([0-9]{2}))",
        read_text(value),
    )
    if not match:
        raise Undecodable("not a date")
    year, month, day, hour, minute, second = (int(each) for each in match.groups()[:6])
    sign, offset_hours, offset_minutes = match.groups(default="0")[6:]
    offset = datetime.timedelta(hours=int(offset_hours), minutes=int(offset_minutes))
    if int(offset_hours) > 23 or int(offset_minutes) > 59:
        raise Undecodable("not an offset")
    cycles = (year - 2000) // 400
    try:
        local = datetime.datetime(year - cycles * 400, month, day, hour, minute, second)
    except ValueError as error:
        raise Undecodable("not a date") from error
    instant = local + offset if sign == "-" else local - offset
    if not 0 <= instant.year + cycles * 400 <= 9999:
        raise Undecodable("beyond the calendar")
    return cycles, instant


def write_date(date):
    cycles, instant = date
    return write_text(f"{instant.year + cycles * 400:04}-{instant:%m-%dT%H:%M:%SZ}")


def one_of(*words):
    def read(value):
        if read_text(value) not in words:
            raise Undecodable("not a word of the table")
        return value

    return read, lambda value: write_text(value)


def write_text(value):
    return json.dumps(value, ensure_ascii=False).replace("/", "\\/")


def write_boolean(value):
    return "true" if value else "false"


def list_of(element):
    read_element, write_element = element

    def read(value):
        if not isinstance(value, list):
            raise Undecodable("not an array")
        return [read_element(each) for each in value]

    return read, lambda value: "[" + ",".join(map(write_element, value)) + "]"


def record(*rows):
    """A record of rows (key, type, default). `REQUIRED` stands for no default, None for a value
    that is left out when there is none."""

    def read(value):
        if not isinstance(value, Object):
            raise Undecodable("not an object")
        result = {}
        for key, (read_value, _), default in rows:
            given = value.members.get(key)
            if given is None and default is not REQUIRED:
                result[key] = default
            elif given is None:
                raise Undecodable(f"{key} is missing")
            else:
                result[key] = read_value(given)
        return result

    def write(value):
        members = sorted(
            (key, write_value(value[key]))
            for key, (_, write_value), _ in rows
            if value[key] is not None
        )
        return "{" + ",".join(f'"{key}":{text}' for key, text in members) + "}"

    return read, write


REQUIRED = object()
STRING = (read_text, write_text)
BOOLEAN = (read_boolean, write_boolean)
INTEGER = (read_integer, str)
DATE = (read_date, write_date)
CAMERA_KIND = one_of("builtIn", "externalUSB", "continuity", "unknown")
SERVICE_DOMAIN = one_of("system", "gui")
CONTROL_MODE = one_of("sigstop", "sigtermDebug")

CAMERA_INFO = record(
    ("id", STRING, REQUIRED),
    ("localizedName", STRING, REQUIRED),
    ("modelID", STRING, REQUIRED),
    ("uniqueID", STRING, REQUIRED),
    ("transportType", STRING, REQUIRED),
    ("isConnected", BOOLEAN, REQUIRED),
    ("isSuspended", BOOLEAN, REQUIRED),
    ("isInUseByAnotherApplication", BOOLEAN, REQUIRED),
    ("kind", CAMERA_KIND, REQUIRED),
    ("isExperimental", BOOLEAN, REQUIRED),
)
TARGET_SERVICE = record(
    ("label", STRING, REQUIRED),
    ("domain", SERVICE_DOMAIN, REQUIRED),
    ("priority", INTEGER, REQUIRED),
    ("pid", INTEGER, None),
    ("controlMode", CONTROL_MODE, REQUIRED),
)
LAUNCHD_SERVICE_STATE = record(
    ("label", STRING, REQUIRED),
    ("domain", SERVICE_DOMAIN, REQUIRED),
    ("pid", INTEGER, None),
)
DETECTION_RESULT = record(
    ("cameras", list_of(CAMERA_INFO), REQUIRED),
    ("selectedCameraID", STRING, None),
    ("resolvedTargets", list_of(TARGET_SERVICE), REQUIRED),
    ("serviceStates", list_of(LAUNCHD_SERVICE_STATE), REQUIRED),
    ("notes", list_of(STRING), REQUIRED),
)
HELD_TARGET = record(
    ("label", STRING, REQUIRED),
    ("domain", SERVICE_DOMAIN, REQUIRED),
    ("pid", INTEGER, None),
    ("controlMode", CONTROL_MODE, REQUIRED),
)
HOLD_STATE = record(
    ("mode", STRING, REQUIRED),
    ("leaseID", STRING, None),
    ("heldTargets", list_of(HELD_TARGET), []),
    ("startedAt", DATE, None),
    ("lastHeartbeatAt", DATE, None),
    ("sourceCameraID", STRING, None),
    ("lastRestoreReason", STRING, None),
    ("micMuted", BOOLEAN, False),
)
OPERATION_RESULT = record(
    ("success", BOOLEAN, REQUIRED),
    ("message", STRING, REQUIRED),
    ("holdState", HOLD_STATE, None),
)


class Number:
    """A number as it is spelled."""

    def __init__(self, spelling):
        self.spelling = spelling


class Object:
    """The members of an object; of equal keys the first counts."""

    def __init__(self, pairs):
        self.members = {}
        for key, value in pairs:
            self.members.setdefault(key, value)


def _refuse_constant(_):
    raise Undecodable("not JSON")


def _check_depth(text):
    """Brackets of a sound text lie no deeper within each other than the limit."""
    depth = 0
    for token in re.finditer(r'"[^"\\]*(?:\\.[^"\\]*)*"|[][{}]', text, re.DOTALL):
        if token[0] in "[{":
            depth += 1
            if depth > MAXIMUM_DEPTH:
                raise Undecodable("nested too deep")
        elif token[0] in "]}":
            depth -= 1


def _check_surrogates(value):
    """Half a surrogate pair is no character, wherever it stands."""
    pending = [value]
    while pending:
        each = pending.pop()
        if isinstance(each, str) and re.search("[\ud800-\udfff]", each):
            raise Undecodable("half a surrogate pair")
        if isinstance(each, list):
            pending.extend(each)
        if isinstance(each, _Pairs):
            for pair in each.pairs:
                pending.extend(pair)


class _Pairs:
    def __init__(self, pairs):
        self.pairs = pairs


def _as_objects(value):
    if isinstance(value, list):
        return [_as_objects(each) for each in value]
    if isinstance(value, _Pairs):
        return Object([(key, _as_objects(each)) for key, each in value.pairs])
    return value


def _parse(data):
    try:
        text = data.decode("utf-8")
        value = json.loads(text, parse_int=Number, parse_float=Number,
                           parse_constant=_refuse_constant, object_pairs_hook=_Pairs)
    except (ValueError, RecursionError) as error:
        raise Undecodable(str(error)) from error
    _check_depth(text)
    _check_surrogates(value)
    return _as_objects(value)


def read_record(kind, data):
    """The record of `kind` in the bytes `data`. Raises Undecodable."""
    return kind[0](_parse(data))


def write_record(kind, value):
    """The record's one line of JSON."""
    return kind[1](value).encode("utf-8")


def select_camera(detection):
    for camera in detection["cameras"]:
        if camera["id"] == detection["selectedCameraID"]:
            return camera
    raise Refused("No camera detected.")


def is_running_daemon(target):
    pattern = r"com\.apple\.appleh[0-9]+camerad"
    return target["priority"] == 0 and bool(re.fullmatch(pattern, target["label"]))


def hold_request(detection):
    """The bytes of the hold request for a detection, or Refused, or DuplicateLabel."""
    camera = select_camera(detection)
    if camera["kind"] != "builtIn":
        raise Refused(
            "Selected camera path is "
            + camera["kind"]
            + ". Blindfold only automates built-in Mac camera hold from the CLI."
        )
    targets = detection["resolvedTargets"]
    if not targets:
        raise Refused("No built-in camera targets were resolved.")
    captures = camera["isInUseByAnotherApplication"] or any(
        target["pid"] is not None and (target["priority"] >= 1 or is_running_daemon(target))
        for target in targets
    )
    snapshot = {}
    for state in detection["serviceStates"]:
        if state["pid"] is None:
            continue
        if state["label"] in snapshot:
            raise DuplicateLabel(state["label"])
        snapshot[state["label"]] = state["pid"]
    entries = sorted(snapshot.items(), key=lambda entry: sort_key(entry[0]))
    members = {
        "cameraID": write_text(camera["id"]),
        "captureWasActiveAtRequestTime": write_boolean(captures),
        "correlationSnapshot": "{"
        + ",".join(f"{write_text(label)}:{pid}" for label, pid in entries)
        + "}",
        "durationHint": "30",
        "kind": '"builtIn"',
        "targets": list_of(TARGET_SERVICE)[1](targets),
    }
    text = ",".join(f'"{key}":{value}' for key, value in members.items())
    return ("{" + text + "}").encode("utf-8")


def sort_key(key):
    """Letters regardless of case, runs of digits by their value, ties byte by byte. Characters
    whose folding is more than one character keep to themselves."""
    parts = []
    for token in re.findall(r"[0-9]+|[^0-9]", key, re.DOTALL):
        if token[0] in "0123456789":
            parts.append((ord("0"), int(token)))
        else:
            folded = token.casefold()
            parts.append((ord(folded) if len(folded) == 1 else ord(token), -1))
    return parts, key.encode("utf-8")
