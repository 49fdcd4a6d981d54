"""The tool and its development helper as the tests of the documents use them.

A test program calls `main`, whose arguments name the sources and the programs. Its exit status is
SKIPPED when a test was skipped because something that reads our files is not installed.
"""

import argparse
import itertools
import os
import pathlib
import plistlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "support"))

from bundled_tool import ENDING_WITH_PARENT  # noqa: E402

SKIPPED = 77

# Nothing here takes longer than the tool's own limits; a command that does has hung.
DEADLINE = 300

_counter = itertools.count()
arguments = argparse.Namespace()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sources", type=pathlib.Path, required=True)
    parser.add_argument("--tool", help="the tool without a linked property list")
    parser.add_argument("--devhelper")
    parser.add_argument("--record-reference", help="the program that writes docs/output.md")
    parser.add_argument("--random-records", help="the program that prints random records")
    parser.parse_known_args(namespace=arguments)
    program = unittest.main(argv=sys.argv[:1], verbosity=2, exit=False)
    if not program.result.wasSuccessful():
        sys.exit(1)
    sys.exit(SKIPPED if program.result.skipped else 0)


def require(*programs):
    """Skips the calling test, saying why, unless the programs are installed."""
    missing = [program for program in programs if shutil.which(program) is None]
    if missing:
        raise unittest.SkipTest(f"not installed: {', '.join(missing)}")


class Deployment:
    """A deployment of its own: `blindfoldctl` and `blindfold-devhelper` on a PATH of its own, with
    a service that no other test uses. A context manager; leaving it ends the helper."""

    def __init__(self):
        self._directory = tempfile.TemporaryDirectory()
        self.directory = pathlib.Path(self._directory.name).resolve()
        self.service = f"test.documents.{os.getpid()}.{next(_counter)}"
        self.helper = None
        self.variables = {}
        self.bin = self.directory / "bin"
        self.bin.mkdir()
        self._install_tool()
        self._install_helper()

    def _install_tool(self):
        contents = self.directory / "Blindfold.app" / "Contents"
        (contents / "MacOS").mkdir(parents=True)
        settings = {
            "CFBundleIdentifier": "app.blindfold.cli",
            "BlindfoldHelperMachServiceName": self.service,
            "BlindfoldHelperInstallPath": str(self.bin / "blindfold-devhelper"),
        }
        (contents / "Info.plist").write_bytes(plistlib.dumps(settings))
        tool = contents / "MacOS" / "blindfoldctl"
        shutil.copy(arguments.tool, tool)
        (self.bin / "blindfoldctl").symlink_to(tool)

    def _install_helper(self):
        helper = self.bin / "blindfold-devhelper"
        helper.write_text(
            "#!/bin/sh\n"
            f'exec {shlex.quote(str(arguments.devhelper))} --service {self.service} "$@"\n'
        )
        helper.chmod(0o755)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop_helper()
        self._directory.cleanup()

    @property
    def environment(self):
        inherited = {name: os.environ[name] for name in ("PATH", "TMPDIR") if name in os.environ}
        inherited["PATH"] = f"{self.bin}:{inherited['PATH']}"
        own = {"HOME": str(self.directory), "LC_ALL": "C.UTF-8", "TERM": "dumb"}
        return inherited | own | self.variables

    def start_helper(self, *options):
        self.helper = subprocess.Popen(
            [*ENDING_WITH_PARENT, self.bin / "blindfold-devhelper", *options],
            stdout=subprocess.PIPE, text=True, env=self.environment, cwd=self.directory)
        if self.helper.stdout.readline() != "ready\n":
            raise RuntimeError("the development helper did not start")

    def stop_helper(self):
        if self.helper is None:
            return
        self.helper.terminate()
        self.helper.wait(DEADLINE)
        self.helper.stdout.close()
        self.helper = None

    def run(self, *command, **options):
        """The finished process of the command, its output captured as text."""
        return subprocess.run(
            command, env=self.environment, cwd=self.directory, text=True,
            timeout=options.pop("timeout", DEADLINE),
            stdout=subprocess.PIPE, stderr=options.pop("stderr", subprocess.PIPE),
            stdin=options.pop("stdin", subprocess.DEVNULL), check=False, **options)

    def write_program(self, name, text):
        program = self.bin / name
        program.write_text(text)
        program.chmod(0o755)


def without_chance(text):
    """The text with every lease identifier and date replaced by a word."""
    text = re.sub(r"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}", "LEASE", text)
    return re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", "DATE", text)


def commands_of_session(session):
    """The pairs of command and expected output of a terminal session: a command stands after a
    dollar sign, its here-document and its output on the lines after it."""
    commands = []
    end_of_document = None
    for line in session.splitlines():
        if end_of_document is not None:
            commands[-1][0] += line + "\n"
            if line == end_of_document:
                end_of_document = None
        elif line.startswith("$ "):
            commands.append([line[2:] + "\n", ""])
            document = re.search(r"<<'?(\w+)'?", line)
            end_of_document = document and document.group(1)
        else:
            commands[-1][1] += line + "\n"
    return commands


_SESSION_START = r"""
# show_first_line FILE: shows what a command in the background has written, once it is there.
show_first_line() {
  for ((tries = 0; tries < 100; ++tries)); do
    [ ! -s "$1" ] || break
    sleep 0.05
  done
  cat "$1"
}
"""


def run_session(deployment, commands):
    """Runs the commands in one shell, one after the other; returns the output of each."""
    mark = "== end of command =="
    script = _SESSION_START
    for index, (command, expected) in enumerate(commands):
        background = command.removesuffix("&\n")
        if background != command and expected:
            output = f"background.{index}"
            script += f"{background} >{output} 2>&1 &\nshow_first_line {output}\n"
        else:
            script += f"{{\n{command}}} 2>&1\n"
        script += f"status=$?; echo '{mark}'; (exit $status)\n"
    script += "kill $(jobs -p) 2>/dev/null; wait\n"
    finished = deployment.run("bash", "-c", script)
    outputs = finished.stdout.split(mark + "\n")
    return outputs[:len(commands)]


class SessionTest(unittest.TestCase):
    """A test that runs the sessions of a document."""

    def check_session(self, deployment, session, tab=8):
        commands = commands_of_session(session)
        self.assertTrue(commands, "the session has no command")
        outputs = run_session(deployment, commands)
        self.assertEqual(len(outputs), len(commands))
        for (command, expected), output in zip(commands, outputs):
            output = without_chance(output.expandtabs(tab))
            self.assertEqual(without_chance(expected), output, command)
