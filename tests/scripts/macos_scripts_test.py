"""The scripts for a Mac: the commands that they run, in order, and that nothing of theirs stays.

Every command that only a Mac has is a stand-in that records its arguments, and fails when it is told
to. The clone stands in a directory whose name needs quoting, and so does the temporary directory.
"""

import itertools
import json
import pathlib
import plistlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = None

LABEL = "app.blindfold.helper.dev"
DIRECTORY = f"/var/run/{LABEL}"
PROPERTY_LIST = f"{DIRECTORY}/{LABEL}.plist"

# A stand-in: records its name and arguments, fails or interrupts if it is the one that is to, and does
# the little that the scripts need of it. A terminal interrupts whatever runs in it; kill(1), and a pipe
# that nobody reads any more, interrupt the script alone.
STAND_IN = """\
#!/bin/sh
name=${0##*/}
{ printf '%s' "$name"; for each in "$@"; do printf '\\037%s' "$each"; done; echo; } >>"$LOG"
number=$(grep -c '' "$LOG")
if [ "$number" = "$FAILS" ]; then echo "$name fails" >&2; exit 1; fi
if [ "$number" = "$INTERRUPTS" ]; then
  case $SIGNAL in HUP | INT) kill -s "$SIGNAL" 0 ;; *) kill -s "$SIGNAL" "$SCRIPT" ;; esac
fi
bootstraps=$(grep -c bootstrap "$LOG")
case "$name $*" in
  uname*) echo Darwin ;;
  "launchctl print "*) [ -n "$REGISTERED" ] ;;
  "brew --prefix") echo "$PREFIX" ;;
  sysctl*) echo 4 ;;
  lipo*) echo x86_64 arm64 ;;
  nm*) { grep -o 'blindfold_[a-z_]*(' blindfold/library/blindfold.h; printf '%s' "$EXPORTED"; } | sed 's/^/_/; s/($//' ;;
  otool*) echo "<string>app.blindfold.cli</string>" ;;
  vtool*) echo "    minos 14.0" ;;
  "codesign --verify "*) echo "satisfies its Designated Requirement" ;;
  codesign*) echo Identifier=app.blindfold.cli ;;
  "sudo install "*.plist) shift 7; cat "$1" >"$LOG.$number.plist" ;;
  "cmake --build --preset macos" | "cmake --build --preset macos "*)
    mkdir -p build/macos/dev
    for each in blindfoldctl blindfold-devhelper dev/blindfoldctl; do cp "$0" "build/macos/$each"; done ;;
  "blindfoldctl fly") echo "usage: blindfoldctl [...]" >&2; exit 64 ;;
  "blindfoldctl renew") echo "usage: blindfoldctl renew <lease-id>" >&2; exit 1 ;;
  blindfoldctl*)
    if tail -n 3 "$LOG" | grep -q bootout; then echo "Protection service is unavailable." >&2; exit 1; fi
    case "$bootstraps $1" in
      "2 status") echo "Protection service took too long to respond." >&2; exit 1 ;;
      "2 unmute" | "2 restore") echo "Protection service is unavailable." >&2; exit 1 ;;
      "2 mute") echo '{"message":"late","success":true}' ;;
      "1 detect") echo '{"resolvedTargets":[]}' ;;
      "1 status" | "1 ") echo '{"leaseID":"LEASE","mode":"idle"}' ;;
      *) case "$*" in *no-such-lease) echo '{"success":false}' ;; *) echo '{"success":true}' ;; esac ;;
    esac ;;
esac
"""

STAND_INS = ["brew", "cmake", "codesign", "ctest", "launchctl", "lipo", "ninja", "nm", "otool", "sudo",
             "sysctl", "uname", "vtool", "xcrun"]

# Of what bash has and POSIX has not, all that the scripts use. Bash 3.2, which macOS ships, has it.
IN_BASH_3_2 = re.compile(r"'local' is undefined|set option pipefail is undefined|BASH_SOURCE")

# What shellcheck takes for POSIX, or for what stands above, and bash 3.2 lacks.
UNSEEN_BY_SHELLCHECK = re.compile(r"&>>|;;?&|local -[An]|\$\{\w+@|%\([^)]*\)T")

# What bash learned after 3.2, and what it did otherwise until then: an array without elements counts
# as unset.
NEWER_THAN_BASH_3_2 = [
    "coproc cat", "mapfile -t lines", "readarray lines", "cat file |& cat", "echo &>>file",
    "case x in x) ;;& y) ;; esac", "case x in x) ;& y) ;; esac", 'echo "${x^^}"', 'echo "${x,}"',
    'echo "${x@Q}"', "declare -A map", "declare -g x=1", "f() { local -A map; }",
    "f() { local -n other=x; }", "[[ -v x ]]", "wait -n", "read -r -t 0.5 x", "read -r -N 3 x",
    "printf '%(%s)T'", 'x=(); echo "${x[@]}"', 'echo "${x[-1]}"', 'echo "${x: -3:-1}"',
    "echo {01..10}", "exec {file}<list", 'echo "$BASHPID"', 'echo "$EPOCHSECONDS"',
    "shopt -s globstar",
]


def newer_than_bash_3_2(script):
    """What bash 3.2 may lack of a script's text."""
    checked = subprocess.run(["shellcheck", "--shell=sh", "--format=json1", "-"], input=script,
                             capture_output=True, text=True, check=False)
    lines = script.splitlines()
    found = [remark["message"] for remark in json.loads(checked.stdout)["comments"]
             if 3000 <= remark["code"] < 4000 and not IN_BASH_3_2.search(remark["message"])
             and "BASH_SOURCE[0]" not in lines[remark["line"] - 1]]
    return found + UNSEEN_BY_SHELLCHECK.findall(script)


class ScriptRun:
    """One run of a script in a clone of its own."""

    def __init__(self, test, script, **settings):
        directory = tempfile.TemporaryDirectory(prefix="a clone of é & <b> ")
        test.addCleanup(directory.cleanup)
        root = pathlib.Path(directory.name)
        self.clone, tools, temporary = root / "clone", root / "tools", root / "temporary files"
        for each in (self.clone, tools, temporary):
            each.mkdir()
        shutil.copytree(SOURCE / "scripts", self.clone / "scripts")
        header = self.clone / "blindfold/library/blindfold.h"
        header.parent.mkdir(parents=True)
        shutil.copy(SOURCE / "blindfold/library/blindfold.h", header)
        for name in set(STAND_INS) - set(settings.pop("missing", [])):
            (tools / name).write_text(STAND_IN)
            (tools / name).chmod(0o755)
        # Of the machine's own commands, those that a Mac has too.
        for name in ("bash", "cat", "cp", "dirname", "grep", "id", "mkdir", "mktemp", "rm", "sed", "sort",
                     "tail", "tr"):
            (tools / name).symlink_to(shutil.which(name))
        old_bash = root / "old-bash"
        old_bash.write_text("BASH_COMPAT=3.2\nenable -n mapfile readarray 2>/dev/null || true\n")
        log = root / "log"
        log.touch()
        environment = {"PATH": str(tools), "TMPDIR": str(temporary), "BASH_ENV": str(old_bash),
                       "LOG": str(log), "PREFIX": str(root / "homebrew"),
                       "LC_ALL": "C.UTF-8", **settings}
        self.result = subprocess.run(
            [tools / "bash", "-c", 'SCRIPT=$$ exec bash "$0"', self.clone / "scripts" / script],
            env=environment, cwd=root, capture_output=True, text=True, timeout=60,
            start_new_session=True)
        self.status = self.result.returncode
        self.errors = self.result.stderr
        self.log = [line.split("\x1f") for line in log.read_text().splitlines()]
        self.property_lists = [plistlib.loads(path.read_bytes())
                               for path in sorted(root.glob("log.*.plist"))]
        self.left_over = sorted(temporary.iterdir())

    def commands(self, *names):
        """The recorded commands of these names, or all, as lists of words."""
        return [each for each in self.log if not names or each[0] in names]


REMOVAL = [["sudo", "launchctl", "bootout", f"system/{LABEL}"], ["sudo", "rm", "-rf", DIRECTORY]]


# Signals, and the status of a script that one ends.
INTERRUPTIONS = (("HUP", 129), ("INT", 130), ("PIPE", 141), ("TERM", 143))


def installation(property_list):
    return [
        ["sudo", "install", "-d", "-o", "root", "-g", "wheel", "-m", "0755", DIRECTORY],
        ["sudo", "install", "-o", "root", "-g", "wheel", "-m", "0755",
         "build/macos/blindfold-devhelper", f"{DIRECTORY}/blindfold-devhelper"],
        ["sudo", "install", "-o", "root", "-g", "wheel", "-m", "0644", property_list, PROPERTY_LIST],
        ["sudo", "launchctl", "bootstrap", "system", PROPERTY_LIST],
    ]


class ScriptsTest(unittest.TestCase):
    def assert_removed(self, run):
        """Whatever the script has made with sudo, it has removed."""
        sudo = run.commands("sudo")
        if any(each[1] == "install" for each in sudo):
            self.assertEqual(sudo[-2:], REMOVAL)
        self.assertEqual(run.left_over, [])

    def test_the_demonstration_registers_runs_every_command_and_removes(self):
        run = ScriptRun(self, "demo")
        self.assertEqual(run.status, 0, run.errors)
        self.assertEqual(run.commands()[0], ["uname"])
        sudo = run.commands("sudo")
        list_path = sudo[2][-2]
        self.assertEqual(sudo, [*installation(list_path), *REMOVAL, *REMOVAL])
        tool = [each[1:] for each in run.commands("blindfoldctl")]
        self.assertEqual(tool, [["status"], ["detect"], ["hold-built-in"], ["status"],
                                ["renew", "LEASE"], ["renew", "no-such-lease"], ["mute"], ["unmute"],
                                ["release"], ["restore"], ["renew"], ["fly"], ["status"]])
        self.assertEqual(run.left_over, [])

    def test_what_sudo_is_for_is_said_before_it_is_used(self):
        run = ScriptRun(self, "demo", FAILS="9999")
        self.assertIn("sudo\nmay ask for your password", run.result.stdout)
        self.assertIn(f"system/{LABEL}", run.result.stdout)

    def test_the_daemon_runs_as_the_user_under_the_development_label(self):
        (daemon,) = ScriptRun(self, "demo").property_lists
        user = subprocess.run(["id", "-un"], capture_output=True, text=True).stdout.strip()
        self.assertEqual(daemon, {
            "Label": LABEL,
            "MachServices": {LABEL: True},
            "UserName": user,
            "ProgramArguments": [f"{DIRECTORY}/blindfold-devhelper", "--service", LABEL],
        })

    def test_the_checks_run_the_tests_the_inspections_and_the_conversations(self):
        run = ScriptRun(self, "test")
        self.assertEqual(run.status, 0, run.errors)
        self.assertIn("Every check has passed", run.result.stdout)
        self.assertEqual(run.commands("ctest"),
                         [["ctest", "--preset", "macos-test", "--parallel", "4", "--no-tests=error"]])
        inspections = [each[0] for each in run.commands("nm", "lipo", "otool", "vtool", "codesign")]
        self.assertEqual(inspections, ["nm", "nm", "lipo", "otool", "vtool", "vtool",
                                       "codesign", "codesign", "codesign"])
        self.assert_removed(run)

    def test_the_daemon_gets_paths_as_they_are(self):
        first, second = ScriptRun(self, "test").property_lists
        for daemon in (first, second):
            option, script = daemon["ProgramArguments"][-2:]
            self.assertEqual(option, "--script")
            self.assertRegex(script, r"/a clone of é & <b> .*/temporary files/blindfold\.\w+/script$")

    def test_a_failure_at_any_step_ends_the_script_and_leaves_nothing(self):
        for script in ("demo", "test"):
            commands = ScriptRun(self, script).commands()
            self.assertGreater(len(commands), 20)
            for number, command in enumerate(commands[1:], start=2):
                # What the tool says is the demonstration's content; the checks expect some failures.
                if command[0] == "blindfoldctl" or command in REMOVAL:
                    continue
                with self.subTest(script=script, number=number, command=command):
                    run = ScriptRun(self, script, FAILS=str(number))
                    self.assert_removed(run)
                    if command[:2] != ["launchctl", "print"]:
                        self.assertNotEqual(run.status, 0)

    def test_a_library_that_exports_more_than_its_header_ends_the_checks(self):
        run = ScriptRun(self, "test", EXPORTED="blindfold_internal")
        self.assertEqual(run.status, 1)
        self.assertIn("blindfold_internal", run.errors)
        self.assertEqual(run.commands("sudo"), [])

    def test_a_tool_that_fails_ends_the_checks(self):
        commands = ScriptRun(self, "test").commands()
        number = next(n for n, each in enumerate(commands, 1) if each == ["blindfoldctl", "detect"])
        run = ScriptRun(self, "test", FAILS=str(number))
        self.assertEqual(run.status, 1)
        self.assertIn("blindfoldctl detect ended with 1: blindfoldctl fails", run.errors)
        self.assert_removed(run)

    def test_an_interruption_at_any_step_leaves_nothing(self):
        for script in ("demo", "test"):
            steps = len(ScriptRun(self, script).commands()) - len(REMOVAL)
            # Neighbours differ, so that each signal comes in each part of a script.
            for number, (name, status) in zip(range(1, steps + 1), itertools.cycle(INTERRUPTIONS)):
                with self.subTest(script=script, signal=name, number=number):
                    run = ScriptRun(self, script, INTERRUPTS=str(number), SIGNAL=name)
                    # Until there is something to remove, the signal itself ends the script.
                    self.assertIn(run.status, (status, 128 - status))
                    self.assert_removed(run)

    def test_an_interruption_of_the_removal_does_not_end_it(self):
        for script in ("demo", "test"):
            last = len(ScriptRun(self, script).commands())
            for number in (last - 1, last):
                for name, _ in INTERRUPTIONS:
                    with self.subTest(script=script, signal=name, number=number):
                        run = ScriptRun(self, script, INTERRUPTS=str(number), SIGNAL=name)
                        self.assertEqual(run.status, 0)
                        self.assert_removed(run)

    def test_what_is_missing_is_named_with_the_command_that_installs_it(self):
        for missing, command in (("xcrun", "xcode-select --install"), ("cmake", "brew install cmake"),
                                 ("ninja", "brew install ninja")):
            with self.subTest(missing):
                run = ScriptRun(self, "demo", missing=[missing])
                self.assertEqual(run.status, 1)
                self.assertEqual(len(run.errors.splitlines()), 1, run.errors)
                self.assertIn(command, run.errors)
                self.assertEqual(run.commands("sudo"), [])

    def test_a_missing_library_of_the_tests_is_named_too(self):
        commands = ScriptRun(self, "test").commands()
        number = commands.index(["brew", "--prefix", "--installed", "googletest"]) + 1
        run = ScriptRun(self, "test", FAILS=str(number))
        self.assertEqual(run.status, 1)
        self.assertEqual(len(run.errors.splitlines()), 1, run.errors)
        self.assertIn("brew install googletest", run.errors)
        self.assertEqual(run.commands("cmake", "sudo"), [])

    def test_a_helper_that_is_registered_already_is_left_alone(self):
        run = ScriptRun(self, "demo", REGISTERED="yes")
        self.assertEqual(run.status, 1)
        self.assertEqual(len(run.errors.splitlines()), 1)
        self.assertIn(f"sudo launchctl bootout system/{LABEL}", run.errors)
        self.assertEqual(run.commands("sudo"), [])

    @unittest.skipUnless(shutil.which("shellcheck"), "shellcheck is not installed")
    def test_the_scripts_keep_to_what_bash_3_2_has(self):
        scripts = {path.name: path.read_text() for path in (SOURCE / "scripts/macos").iterdir()}
        for name in ("demo", "test"):
            # On a Mac bash reads no further.
            start, on_a_mac, _ = re.split(r"(?<=\n)(.*Darwin.*exec.*\n)",
                                          (SOURCE / "scripts" / name).read_text())
            scripts[f"start of {name}"] = start + on_a_mac
        self.assertEqual(len(scripts), 5)
        for name, script in scripts.items():
            with self.subTest(name):
                self.assertEqual(newer_than_bash_3_2(script), [])

    @unittest.skipUnless(shutil.which("shellcheck"), "shellcheck is not installed")
    def test_what_bash_3_2_lacks_is_seen(self):
        for construct in NEWER_THAN_BASH_3_2:
            with self.subTest(construct):
                self.assertNotEqual(newer_than_bash_3_2(f"#!/bin/bash\n{construct}\n"), [])


if __name__ == "__main__":
    SOURCE = pathlib.Path(sys.argv.pop())
    unittest.main(argv=sys.argv[:1])
