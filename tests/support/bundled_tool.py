"""The tool in a deployment of its own: a bundle whose property list names a service of this process."""

import contextlib
import dataclasses
import itertools
import os
import pathlib
import shutil
import subprocess
import tempfile

PROPERTY_LIST = """<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
  <key>CFBundleExecutable</key>
  <string>blindfoldctl</string>
  <key>BlindfoldHelperInstallPath</key>
  <string>{installed}</string>
  <key>BlindfoldHelperMachServiceName</key>
  <string>{service}</string>
</dict>
</plist>
"""

# The tool's commands, each with the time limit of its longest request in seconds.
COMMANDS = {
    ("status",): 5.0,
    ("detect",): 5.0,
    ("hold-built-in",): 12.0,
    ("release",): 12.0,
    ("restore",): 12.0,
    ("renew", "LEASE"): 12.0,
    ("mute",): 12.0,
    ("unmute",): 12.0,
}

# Before the command line of a program that ends with the thread that starts it, however that ends.
ENDING_WITH_PARENT = ("setpriv", "--pdeathsig", "KILL")

_counter = itertools.count()


@dataclasses.dataclass(frozen=True)
class Run:
    """How a run ended. A negative status is the signal that killed it; None is a run that was
    still going when its time was over."""

    status: int | None
    output: bytes
    errors: bytes


class BundledTool:
    """A copy of the tool in a bundle in `directory`, which takes `installed` for its helper."""

    def __init__(self, tool, services, directory, installed="/bin/true"):
        self.service = f"test.{os.getpid()}.{next(_counter)}"
        self.socket_path = pathlib.Path(services) / self.service
        contents = pathlib.Path(directory) / f"{self.service}.app" / "Contents"
        self.executable = contents / "MacOS" / "blindfoldctl"
        self.executable.parent.mkdir(parents=True)
        shutil.copy2(tool, self.executable)
        list_text = PROPERTY_LIST.format(installed=installed, service=self.service)
        (contents / "Info.plist").write_text(list_text, encoding="utf-8")

    def start(self, words, prefix=(), **options):
        """Starts the tool with `words`, by way of the command line `prefix`."""
        return RunningTool([*prefix, str(self.executable), *words], **options)


class RunningTool:
    """A run under way. What it writes goes to files, which never make it wait."""

    def __init__(self, command_line, **options):
        self._output = tempfile.TemporaryFile()
        self._errors = tempfile.TemporaryFile()
        streams = {"stdin": subprocess.DEVNULL, "stdout": self._output, "stderr": self._errors}
        self.process = subprocess.Popen(command_line, **(streams | options))

    def finish(self, seconds):
        """Waits until the run ends, no longer than `seconds`."""
        try:
            status = self.process.wait(timeout=seconds)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            status = None
        with self._output, self._errors:
            self._output.seek(0)
            self._errors.seek(0)
            return Run(status, self._output.read(), self._errors.read())


def is_one_line(data):
    """Whether `data` is one line of UTF-8 that a terminal shows as it stands."""
    try:
        text = data.decode("utf-8")
    except UnicodeDecodeError:
        return False
    line = text[:-1]
    acted_on = any(ord(character) < 0x20 and character != "\t" or 0x7F <= ord(character) < 0xA0
                   for character in line)
    return text.endswith("\n") and not acted_on


@contextlib.contextmanager
def temporary_directory():
    """A directory for one run of a test, gone at its end."""
    with tempfile.TemporaryDirectory(prefix="blindfold-") as directory:
        yield pathlib.Path(directory)
