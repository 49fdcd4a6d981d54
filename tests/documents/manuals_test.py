"""The manual pages: sound, complete, and true."""

import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

import documents
from documents import Deployment, SessionTest, arguments

PAGES = ("man1/blindfoldctl.1", "man1/blindfold-devhelper.1", "man5/blindfold.5")


def source(page):
    return (arguments.sources / "share" / "man" / page).read_text()


def literal_blocks(page):
    """The literal displays of the page's examples, as a terminal shows them."""
    examples = source(page).split(".Sh EXAMPLES\n")[1].split("\n.Sh ")[0]
    blocks = re.findall(r"^\.Bd -literal[^\n]*\n(.*?)^\.Ed$", examples, re.DOTALL | re.MULTILINE)
    return [block.replace("\\e", "\\") for block in blocks]


def sentences_of(*patterns):
    """The sentences that stand as texts in these sources of the product."""
    sources = [path for pattern in patterns
               for path in (arguments.sources / "blindfold").glob(pattern)]
    return {sentence for path in sources
            for sentence in re.findall(r'"([A-Z][^"]* [^"]*[.])"', path.read_text())}


def labels_of_failures():
    """The lines of failure that the tool's page explains."""
    return re.findall(r'^\.It "(.*)"$', source("man1/blindfoldctl.1"), re.MULTILINE)


class ManualsTest(SessionTest):
    maxDiff = None

    def test_every_page_is_listed_here(self):
        directory = arguments.sources / "share" / "man"
        found = {str(path.relative_to(directory)) for path in directory.glob("man?/*")}
        self.assertEqual(set(PAGES), found)

    def test_mandoc_has_nothing_to_say(self):
        documents.require("mandoc", "makewhatis")
        with tempfile.TemporaryDirectory() as directory:
            # References between the pages are looked up where manuals are installed.
            tree = Path(directory) / "man"
            shutil.copytree(arguments.sources / "share" / "man", tree)
            subprocess.run(["makewhatis", tree], check=True)
            finished = subprocess.run(
                ["mandoc", "-Tlint", "-Wstyle", *(tree / page for page in PAGES)],
                env={"MANPATH": str(tree), "PATH": "/usr/bin:/bin"}, text=True,
                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            self.assertEqual("", finished.stdout)
            self.assertEqual(0, finished.returncode)

    def test_the_pages_need_no_wide_terminal(self):
        documents.require("mandoc")
        for page in PAGES:
            finished = subprocess.run(
                ["mandoc", "-Tutf8", "-Owidth=78", arguments.sources / "share" / "man" / page],
                stdout=subprocess.PIPE, text=True, check=True)
            text = re.sub(r".\x08", "", finished.stdout)
            filled = [line for line in text.splitlines() if not line.startswith(" " * 10)]
            self.assertLessEqual(max(map(len, filled)), 80, page)

    def test_the_examples_of_the_tool_are_true(self):
        documents.require("jq")
        with Deployment() as deployment:
            deployment.start_helper()
            self.check_session(deployment, "".join(literal_blocks("man1/blindfoldctl.1")))

    def test_the_examples_of_the_development_helper_are_true(self):
        for block in literal_blocks("man1/blindfold-devhelper.1"):
            with Deployment() as deployment:
                self.check_session(deployment, block)

    def test_the_example_of_a_property_list_is_what_the_tool_reads(self):
        page = literal_blocks("man5/blindfold.5")[-1]
        with Deployment() as deployment:
            helper = "/Library/PrivilegedHelperTools/com.example.helper"
            self.assertIn(helper, page)
            page = page.replace(helper, str(deployment.bin / "blindfold-devhelper"))
            page = page.replace("com.example.helper", deployment.service)
            (deployment.directory / "Blindfold.app/Contents/Info.plist").write_text(page)
            deployment.start_helper()
            finished = deployment.run("blindfoldctl", "status")
            self.assertEqual((0, ""), (finished.returncode, finished.stderr))

    def test_every_word_of_the_usage_has_its_paragraph(self):
        with Deployment() as deployment:
            usage = deployment.run("blindfoldctl", "no-such-word").stderr
        words = usage.split("[")[1].split("]")[0].split("|")
        description = source("man1/blindfoldctl.1").split(".Sh DESCRIPTION")[1]
        for word in words:
            item = re.sub(r" <(.*)>", r" Ar \1", word)
            self.assertIn(f"\n.It Cm {item}\n", description)

    def test_every_option_of_the_development_helper_has_its_paragraph(self):
        options = set(re.findall(r'"--([a-z-]+)"', "".join(
            path.read_text() for path in (arguments.sources / "devhelper").rglob("*.cpp"))))
        self.assertIn("service", options)
        for option in options:
            self.assertRegex(source("man1/blindfold-devhelper.1"), rf"\n\.It Fl -{option}\b")

    def test_every_setting_has_its_paragraph(self):
        settings = set(re.findall(r'"(Blindfold[A-Za-z]+)"', "".join(
            path.read_text() for path in (arguments.sources / "blindfold/config").glob("*.cpp"))))
        self.assertIn("BlindfoldHelperInstallPath", settings)
        for key in settings - {"BlindfoldHelper"}:
            self.assertIn(f"\n.It Va {key} Pq ", source("man5/blindfold.5"))

    def test_every_sentence_of_failure_is_explained(self):
        sentences = sentences_of("cli/*.cpp", "helperclient/*.cpp")
        self.assertIn("Protection service took too long to respond.", sentences)
        diagnostics = source("man1/blindfoldctl.1").split(".Sh DIAGNOSTICS\n")[1]
        for sentence in sentences - {"An unknown error occurred."}:
            self.assertIn(f'.It "{sentence}"\n', diagnostics)

    def test_the_lines_of_failure_are_the_tools_own(self):
        not_provoked = {
            "Out of memory.",
            "Protection service returned an invalid response.",
            "This app copy is not authorized to control the installed protection service.",
        }
        seen = set()
        for failure in FAILURES:
            with Deployment() as deployment:
                seen.add(failure(deployment))
        self.assertEqual(sorted(labels_of_failures()), sorted(seen | not_provoked))

    def test_the_page_about_macos_explains_the_same_lines(self):
        page = (arguments.sources / "docs/macos.md").read_text()
        table = page.split("\n## What the tool says\n")[1].split("\n## ")[0]
        rows = re.findall(r"^\| `([^`]*)` \|", table.replace("\\|", "|"), re.MULTILINE)
        patterns = {row: re.escape(row).replace("…", ".*") for row in rows}
        with Deployment() as deployment:
            usage = deployment.run("blindfoldctl", "no-such-word").stderr.strip()
        lines = sentences_of("cli/*.cpp", "helperclient/*.cpp", "platform/macos/*.mm")
        lines |= {usage, *labels_of_failures()}
        self.assertIn("The connection to the helper could not be made.", lines)
        for line in lines:
            found = [row for row in rows if re.fullmatch(patterns[row], line)]
            self.assertEqual(1, len(found), line)
        for row in rows:
            self.assertTrue(any(re.fullmatch(patterns[row], line) for line in lines), row)

    def test_the_program_carries_its_version(self):
        command = re.search(r"^\.Ql (strings .*)$", source("man1/blindfoldctl.1"), re.MULTILINE)
        documents.require("strings")
        with Deployment() as deployment:
            tool = deployment.bin / "blindfoldctl"
            found = deployment.run(
                "sh", "-c", command.group(1).replace("blindfoldctl", f"'{tool}'")).stdout
        version = re.search(r"^project\(\w+\s+VERSION ([\d.]+)",
                            (arguments.sources / "CMakeLists.txt").read_text(), re.MULTILINE)
        self.assertEqual(f"@(#)PROGRAM:blindfoldctl  PROJECT:Blindfold-{version.group(1)}\n", found)


def line_of_failure(deployment, *words, script=None, options=()):
    if script is not None:
        path = deployment.directory / "script"
        path.write_text(script)
        options = ("--script", path)
    deployment.start_helper(*options)
    return deployment.run("blindfoldctl", *words).stderr.strip()


def not_installed(deployment):
    (deployment.bin / "blindfold-devhelper").unlink()
    return deployment.run("blindfoldctl").stderr.strip()


def not_running(deployment):
    return deployment.run("blindfoldctl").stderr.strip()


def silent(deployment):
    return line_of_failure(deployment, "status", script="currentState: silent\n")


def detection(cameras="", selected="", states=""):
    return (f'detectTargets: reply {{"cameras":[{cameras}],"notes":[],"resolvedTargets":[],'
            f'{selected}"serviceStates":[{states}]}}\n')


def no_camera(deployment):
    return line_of_failure(deployment, "hold-built-in", script=detection())


def another_camera(deployment):
    return line_of_failure(deployment, "hold-built-in", options=("--kind", "externalUSB"))


CAMERA = ('{"id":"1","localizedName":"","modelID":"","uniqueID":"","transportType":"",'
          '"isConnected":true,"isSuspended":false,"isInUseByAnotherApplication":false,'
          '"kind":"builtIn","isExperimental":false}')


def no_targets(deployment):
    return line_of_failure(deployment, "hold-built-in",
                           script=detection(CAMERA, '"selectedCameraID":"1",'))


def duplicate_label(deployment):
    target = '{"controlMode":"sigstop","domain":"system","label":"a","priority":0}'
    states = ",".join(f'{{"domain":"{domain}","label":"com.apple.example","pid":1}}'
                      for domain in ("system", "gui"))
    script = detection(CAMERA, '"selectedCameraID":"1",', states)
    script = script.replace('"resolvedTargets":[]', f'"resolvedTargets":[{target}]')
    return line_of_failure(deployment, "hold-built-in", script=script)


def no_lease(deployment):
    return line_of_failure(deployment, "renew")


def full_disk(deployment):
    deployment.start_helper()
    return deployment.run("sh", "-c", "exec blindfoldctl status >/dev/full").stderr.strip()


def missing_field(deployment):
    reply = 'restoreAll: reply {"success":true,"message":"","holdState":{}}\n'
    return line_of_failure(deployment, "restore", script=reply)


def no_json(deployment):
    return line_of_failure(deployment, "mute", script="muteMic: reply \n")


FAILURES = (not_installed, not_running, silent, no_camera, another_camera, no_targets,
            duplicate_label, no_lease, full_disk, missing_field, no_json)


class ExitStatusTest(unittest.TestCase):
    def test_the_statuses_are_what_a_shell_sees(self):
        page = source("man1/blindfoldctl.1").split(".Sh EXIT STATUS")[1].split(".Sh ")[0]
        documented = set(map(int, re.findall(r"^\.It (\d+)$", page, re.MULTILINE)))
        statuses = set()
        for command, script in (
                ("blindfoldctl", None),
                ("blindfoldctl renew", None),
                ("blindfoldctl none", None),
                ("blindfoldctl | true; echo ${PIPESTATUS[0]}", "currentState: delay 0.5 reply " +
                 '{"mode":"idle"}\n'),
                ("blindfoldctl hold-built-in", duplicate_label)):
            with Deployment() as deployment:
                options = ()
                if callable(script):
                    script(deployment)
                else:
                    if script:
                        (deployment.directory / "script").write_text(script)
                        options = ("--script", "script")
                    deployment.start_helper(*options)
                finished = deployment.run("bash", "-c", f"ulimit -c 0; {command}; exit $?")
                piped = "PIPESTATUS" in command
                statuses.add(int(finished.stdout) if piped else finished.returncode)
        self.assertEqual(documented, statuses)


if __name__ == "__main__":
    documents.main()
