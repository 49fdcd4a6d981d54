"""What is installed, where, and that nothing is left of it when it is removed."""

import argparse
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

import documents

parser = argparse.ArgumentParser()
parser.add_argument("--cmake", required=True)
parser.add_argument("--build", required=True)
parser.add_argument("--layout", choices=("gnu", "bundle"), required=True)
options = parser.parse_known_args()[0]

SCHEMAS = {
    f"share/blindfold/schemas/{record}{form}.json"
    for record in ("DetectionResult", "HoldState", "OperationResult", "HoldRequest")
    for form in ("", ".exact")
}

# The files of each component, relative to the prefix of the GNU layout.
COMPONENTS = {
    "programs": {"bin/blindfoldctl"},
    "manuals": {"share/man/man1/blindfoldctl.1", "share/man/man5/blindfold.5"},
    "completions": {
        "share/bash-completion/completions/blindfoldctl",
        "share/fish/vendor_completions.d/blindfoldctl.fish",
        "share/zsh/site-functions/_blindfoldctl",
    },
    "schemas": SCHEMAS,
    "documents": {"share/doc/blindfold/output.md", "share/doc/blindfold/scripting.md"},
}

# Of the library's own files, a word for each kind: see `abridged`.
DEVELOPMENT = {
    "bin/blindfold-devhelper",
    "share/man/man1/blindfold-devhelper.1",
    "the headers",
    "the library",
    "the package",
}

# What each installation has besides, so that it can be removed.
REMOVAL = {"share/blindfold/installed-files", "share/blindfold/uninstall"}


if options.layout == "gnu":
    COMPONENTS["development"] = DEVELOPMENT


def in_layout(files):
    """Where the files of the GNU layout are in the layout that is tested."""
    if options.layout == "gnu":
        return files
    return {"Contents/Resources/" + file.removeprefix("bin/") for file in files}


def abridged(files):
    """The files, with a word for those of the library."""
    words = (
        (r"include/blindfold/([a-z_/]+\.h|module\.modulemap)", "the headers"),
        (r"lib(/[^/]+-linux-gnu)?/libblindfold\.(a|so[.0-9]*)", "the library"),
        (r"lib(/[^/]+-linux-gnu)?/(cmake/Blindfold/.*|pkgconfig/blindfold\.pc)", "the package"),
    )
    result = set()
    for file in files:
        result.add(next((word for form, word in words if re.fullmatch(form, file)), file))
    return result


def files_below(directory):
    return {str(path.relative_to(directory)) for path in directory.rglob("*") if not path.is_dir()}


class InstallationTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        directory = self.enterContext(tempfile.TemporaryDirectory())
        self.prefix = pathlib.Path(directory).resolve() / "a prefix"
        self.prefix.mkdir()

    def install(self, *arguments, prefix=None, **environment):
        subprocess.run(
            [options.cmake, "--install", options.build, "--prefix", prefix or self.prefix,
             *arguments],
            env=os.environ | environment, stdout=subprocess.DEVNULL, check=True)

    def uninstall(self, prefix=None):
        (script,) = (prefix or self.prefix).rglob("uninstall")
        return subprocess.run(["sh", script], check=False, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)

    @property
    def expected(self):
        """What a plain installation has."""
        return in_layout(set().union(*COMPONENTS.values(), REMOVAL))

    def test_a_plain_installation_has_these_files(self):
        self.install()
        self.assertEqual(self.expected, abridged(files_below(self.prefix)))

    def test_each_component_has_its_files(self):
        for component, files in COMPONENTS.items():
            with self.subTest(component), tempfile.TemporaryDirectory() as directory:
                prefix = pathlib.Path(directory)
                self.install("--component", component, prefix=prefix)
                expected = in_layout(files | REMOVAL)
                self.assertEqual(expected, abridged(files_below(prefix)))

    def test_programs_can_be_run_and_files_read_by_everybody(self):
        self.install()
        for name in files_below(self.prefix):
            mode = (self.prefix / name).stat().st_mode & 0o777
            is_program = name.endswith(("/blindfoldctl", "/blindfold-devhelper", "/uninstall"))
            if "completions" in name:
                is_program = False
            if not name.endswith("installed-files") and not name.startswith("lib"):
                self.assertEqual(0o755 if is_program else 0o644, mode, name)

    def test_a_staged_installation_is_the_same_below_its_stage(self):
        stage = self.prefix
        self.install(prefix="/usr/local", DESTDIR=str(stage))
        self.assertEqual(self.expected, abridged(files_below(stage / "usr" / "local")))
        self.assertEqual(["usr"], os.listdir(stage))
        self.assertEqual(0, self.uninstall(stage).returncode)
        self.assertEqual(set(), files_below(stage))

    def test_nothing_is_left_after_uninstall(self):
        self.install()
        finished = self.uninstall()
        self.assertEqual((0, ""), (finished.returncode, finished.stdout))
        self.assertEqual([], list(self.prefix.iterdir()))

    def test_components_installed_one_by_one_are_removed_together(self):
        for component in COMPONENTS:
            self.install("--component", component)
        self.assertEqual(0, self.uninstall().returncode)
        self.assertEqual([], list(self.prefix.iterdir()))

    def test_files_of_others_stay(self):
        self.install()
        others = in_layout({"bin/other", "share/man/man1/other.1",
                            "share/blindfold/schemas/other.json"}) | {"Contents/Info.plist"}
        for other in others:
            (self.prefix / other).parent.mkdir(parents=True, exist_ok=True)
            (self.prefix / other).write_text("")
        self.assertEqual(0, self.uninstall().returncode)
        self.assertEqual(others, files_below(self.prefix))

    def test_a_moved_installation_is_removed_where_it_is(self):
        self.install()
        moved = self.prefix.rename(self.prefix.with_name("moved"))
        self.assertEqual(0, self.uninstall(moved).returncode)
        self.assertEqual([], list(moved.iterdir()))

    def test_a_list_that_names_files_elsewhere_is_refused(self):
        self.install()
        outside = self.prefix.with_name("outside")
        outside.write_text("")
        (files,) = self.prefix.rglob("installed-files")
        for name in ("../outside", str(outside)):
            lines = files.read_text().splitlines()
            files.write_text("\n".join([lines[0], name, *lines[1:]]) + "\n")
            self.assertEqual(1, self.uninstall().returncode)
            self.assertTrue(outside.exists())
            files.write_text("\n".join(lines) + "\n")

    def test_the_copy_in_the_sources_removes_nothing(self):
        script = documents.arguments.sources / "scripts" / "uninstall"
        finished = subprocess.run(["sh", script], check=False, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(1, finished.returncode)
        self.assertIn("run the installed copy", finished.stdout)


if __name__ == "__main__":
    documents.main()
