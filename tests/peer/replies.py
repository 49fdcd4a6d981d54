"""Seeded random replies: sound ones in every spelling that JSON allows, and broken ones."""

import string

# Texts that differ in what readers and terminals treat in ways of their own.
TEXTS = (
    "",
    " ",
    "/",
    "a/b",
    '"',
    "\\",
    "\\u0041",
    "\0",
    "embedded\0NUL",
    "tab\there",
    "two\nlines",
    "\r\n",
    "\b\f\x1b[31m\x1f",
    "\x7f\x80\x9f",
    "\u00e9",
    "e\u0301",
    "\u2028\u2029\ufeff",
    "\u202eright to left",
    "\ufffd\ufffe\uffff",
    "\U0001f600\U0010ffff",
    "null",
    "true",
    "LEASE-1",
    "com.apple.appleh13camerad",
    "com.apple.appleh13camerad.extra",
    "com.apple.AppleH13camerad",
    "com.apple.applehcamerad",
    "com.apple.appleh\u0663camerad",
    "a" * 5000,
)

INTEGERS = (
    "0", "-0", "1", "-1", "2", "7", "512", "99999", "1e2", "1.0", "10.50e1", "-3.00", "0e999999999999",
    "0.000E-5", "9223372036854775807", "-9223372036854775808", "922337203685477580.7e1", "1e18",
)
NOT_INTEGERS = (
    "1.5", "-0.1", "1e-1", "9223372036854775808", "-9223372036854775809", "1e19", "1e999999999999",
    "9" * 40, "1e-999999999999", "0.1e0", "12.34e1",
)
NOT_NUMBERS = (
    "+1", "01", "-", "1.", ".5", "1e", "1e+", "0x10", "NaN", "Infinity", "-Infinity", "1_000", "1,5",
    "\u0661", "- 1", "--1", "00",
)
DATES = (
    "2025-03-04T10:15:30Z", "2025-03-04T10:15:30+02:00", "2025-03-04T00:15:30-23:59",
    "2024-02-29T23:59:59Z", "2000-02-29T00:00:00+00:00", "0000-01-01T00:00:00Z",
    "9999-12-31T23:59:59Z", "1969-12-31T23:59:59-00:01", "0001-01-01T00:00:00+00:01",
)
NOT_DATES = (
    "", "2025-03-04", "2025-03-04T10:15:30", "2025-03-04T10:15:30.250Z", "2025-03-04t10:15:30z",
    "2025-02-29T10:15:30Z", "1900-02-29T10:15:30Z", "2025-13-01T00:00:00Z", "2025-00-01T00:00:00Z",
    "2025-01-00T00:00:00Z", "2025-01-32T00:00:00Z", "2025-01-01T24:00:00Z", "2025-01-01T23:60:00Z",
    "2025-01-01T23:59:60Z", "0000-01-01T00:00:00+00:01", "9999-12-31T23:59:59-00:01",
    "2025-03-04T10:15:30+0200", "2025-03-04T10:15:30+24:00", "2025-03-04T10:15:30+02:60",
    "2025-03-04T10:15:30Z ", " 2025-03-04T10:15:30Z", "+2025-03-04T10:15:30Z", "12025-03-04T10:15:30Z",
)
TOKENS = (
    "null", "true", "false", "0", "-1", '""', "[]", "{}", "[[]]", '{"a":1}', '"x"', ",", ":", "{", "}",
    "[", "]", "\"", "\\", "\\ud800", "\\udc00\\ud800", "\ufeff", "\x00", "\x1f", "nul", "True", "'x'",
    "/*c*/", "1e400", "\t", "\u00a0",
) + NOT_NUMBERS


class Spelled(str):
    """A value that is written as it stands."""


class Replies:
    """Makes replies out of one random generator."""

    def __init__(self, random):
        self._random = random

    # Values

    def text(self):
        if self._random.random() < 0.6:
            return self._random.choice(TEXTS)
        alphabet = string.printable + "\u00e4\u00df\u4e2d\U0001f4f7"
        return "".join(self._random.choices(alphabet, k=self._random.randrange(40)))

    def boolean(self):
        return self._random.random() < 0.5

    def integer(self):
        if self._random.random() < 0.7:
            return Spelled(self._random.choice(INTEGERS))
        return Spelled(str(self._random.randint(-(2**63), 2**63 - 1)))

    def date(self):
        return self._random.choice(DATES)

    def domain(self):
        return self._random.choice(("system", "gui"))

    def control_mode(self):
        return self._random.choice(("sigstop", "sigtermDebug"))

    def label(self):
        return self._random.choice(TEXTS[-6:] + (f"service.{self._random.randrange(30)}", self.text()))

    def some(self, make, most):
        return [make() for _ in range(self._random.randrange(most + 1))]

    def _optional(self, result, **makers):
        for key, make in makers.items():
            chance = self._random.random()
            if chance < 0.6:
                result[key] = make()
            elif chance < 0.8:
                result[key] = None
        return result

    # Records

    def camera(self, identifier=None):
        return {
            "id": self.text() if identifier is None else identifier,
            "localizedName": self.text(),
            "modelID": self.text(),
            "uniqueID": self.text(),
            "transportType": self.text(),
            "isConnected": self.boolean(),
            "isSuspended": self.boolean(),
            "isInUseByAnotherApplication": self._random.random() < 0.3,
            "kind": self._random.choices(
                ("builtIn", "externalUSB", "continuity", "unknown"), (7, 1, 1, 1))[0],
            "isExperimental": self.boolean(),
        }

    def target(self):
        return self._optional(
            {
                "label": self.label(),
                "domain": self.domain(),
                "priority": Spelled(self._random.choice(("0", "0", "1", "-1", "2", "-0", "1e1"))),
                "controlMode": self.control_mode(),
            },
            pid=self.integer,
        )

    def service_state(self):
        return self._optional({"label": self.label(), "domain": self.domain()}, pid=self.integer)

    def detection(self):
        cameras = self.some(self.camera, 3)
        result = {
            "cameras": cameras,
            "resolvedTargets": self.some(self.target, 4),
            "serviceStates": self.some(self.service_state, 4),
            "notes": self.some(self.text, 3),
        }
        chance = self._random.random()
        if cameras and chance < 0.8:
            result["selectedCameraID"] = self._random.choice(cameras)["id"]
        elif chance < 0.9:
            result["selectedCameraID"] = self._random.choice((None, self.text()))
        return result

    def held_target(self):
        return self._optional(
            {"label": self.label(), "domain": self.domain(), "controlMode": self.control_mode()},
            pid=self.integer,
        )

    def hold_state(self):
        return self._optional(
            {"mode": self.text()},
            leaseID=self.text,
            heldTargets=lambda: self.some(self.held_target, 3),
            startedAt=self.date,
            lastHeartbeatAt=self.date,
            sourceCameraID=self.text,
            lastRestoreReason=self.text,
            micMuted=self.boolean,
        )

    def operation_result(self):
        return self._optional(
            {"success": self.boolean(), "message": self.text()}, holdState=self.hold_state)

    # Spellings

    def _space(self):
        return "".join(self._random.choices(" \t\r\n", k=self._random.choice((0, 0, 0, 0, 1, 3))))

    def _spell_character(self, character):
        short = {'"': '\\"', "\\": "\\\\", "/": "\\/", "\b": "\\b", "\f": "\\f", "\n": "\\n",
                 "\r": "\\r", "\t": "\\t"}
        code = ord(character)
        if self._random.random() < 0.05 or code < 0x20 and character not in short:
            units = [code]
            if code > 0xFFFF:
                units = [0xD800 + (code - 0x10000 >> 10), 0xDC00 + (code - 0x10000 & 0x3FF)]
            spell = self._random.choice(("\\u{:04x}", "\\u{:04X}"))
            return "".join(spell.format(unit) for unit in units)
        if character == "/" and self._random.random() < 0.5:
            return character
        return short.get(character, character)

    def _spell_text(self, text):
        return '"' + "".join(map(self._spell_character, text)) + '"'

    def _spell_members(self, members):
        pairs = list(members.items())
        self._random.shuffle(pairs)
        if pairs and self._random.random() < 0.15:
            pairs.append((self._random.choice(pairs)[0], self._random.choice((None, 1, "later"))))
        if self._random.random() < 0.2:
            extra = ("extra", "Mode", " mode", "holdstate", "kind", "")
            pairs.insert(self._random.randrange(len(pairs) + 1),
                         (self._random.choice([key for key in extra if key not in members]),
                          self._random.choice((None, [[{}]], {"a": [1, None]}, "x", Spelled("1e400")))))
        return "{" + ",".join(
            f"{self._space()}{self._spell_text(key)}{self._space()}:{self.spell(value)}"
            for key, value in pairs) + self._space() + "}"

    def spell(self, value):
        """A JSON text of `value`."""
        if isinstance(value, Spelled):
            text = str(value)
        elif isinstance(value, str):
            text = self._spell_text(value)
        elif isinstance(value, dict):
            text = self._spell_members(value)
        elif isinstance(value, list):
            text = "[" + ",".join(map(self.spell, value)) + self._space() + "]"
        elif isinstance(value, bool):
            text = "true" if value else "false"
        else:
            text = "null" if value is None else str(value)
        return self._space() + text + self._space()

    # Defects

    def _break_value(self, value):
        """The same record with one of its values, at any depth, replaced or missing."""
        if isinstance(value, dict) and value:
            key = self._random.choice(list(value))
            inner = value[key]
            if isinstance(inner, (dict, list)) and inner and self._random.random() < 0.75:
                return value | {key: self._break_value(inner)}
            if self._random.random() < 0.2:
                return {other: each for other, each in value.items() if other != key}
            return value | {key: self._wrong_value()}
        if isinstance(value, list) and value:
            index = self._random.randrange(len(value))
            inner = value[index]
            if not isinstance(inner, (dict, list)) or self._random.random() < 0.25:
                inner = self._wrong_value()
            else:
                inner = self._break_value(inner)
            return value[:index] + [inner] + value[index + 1 :]
        return self._wrong_value()

    def _wrong_value(self):
        return self._random.choice((
            None, True, "", [], {}, Spelled("0"), self._random.choice(NOT_DATES),
            Spelled(self._random.choice(NOT_INTEGERS)), Spelled(self._random.choice(NOT_NUMBERS)),
            self._random.choice(("Builtin", "builtIn ", "virtual", "System", "sigkill")), [None],
        ))

    def _break_bytes(self, data):
        position = self._random.randrange(len(data) + 1)
        end = min(len(data), position + self._random.choice((0, 1, 1, 2, 8)))
        piece = self._random.choice((
            b"", bytes([self._random.randrange(256)]), self._random.choice(TOKENS).encode("utf-8"),
            data[position:end] * 2, b"\xed\xa0\x80", b"\xc0\x80", b"\xf4\x90\x80\x80", b"\xe2\x82"))
        return data[:position] + piece + data[end:]

    def sound(self, make):
        """The bytes of a reply that holds a record that `make` made."""
        return self.spell(make()).encode("utf-8")

    def reply(self, make):
        """A reply that is sound as often as not. Some changes leave it so."""
        chance = self._random.random()
        if chance < 0.5:
            return self.sound(make)
        if chance < 0.8:
            return self.spell(self._break_value(make())).encode("utf-8")
        if chance < 0.97:
            return self._break_bytes(self.sound(make))
        return self._random.choice((
            b"", b" ", b"[]", b"null", b"\xff\xfe{\x00}\x00", b"\xef\xbb\xbf" + self.sound(make),
            self.sound(make) + b"\0", self.sound(make) + self.sound(make),
            b'{"extra":' + b"[" * 511 + b"]" * 511 + b"," + self.sound(make).lstrip()[1:],
            b'{"extra":' + b"[" * 512 + b"]" * 512 + b"," + self.sound(make).lstrip()[1:],
            b"[" * 100000,
        ))
