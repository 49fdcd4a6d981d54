"""The shared library for a Mac exports the functions of blindfold.h and no others.

Its objects are linked with the list that Apple's linker gets, by a linker that honours it. Names that
are defined elsewhere stay undefined: which are exported does not depend on them.
"""

import argparse
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import inspect_program

MINIMUM_SYSTEM = inspect_program.MINIMUM_SYSTEM

options = None


def link(exported, directory):
    """The library, linked with a list of exported functions."""
    library = pathlib.Path(directory, "libblindfold.dylib")
    archives = sorted(pathlib.Path(options.build, "blindfold").glob("*/*.a"))
    subprocess.run(
        [options.linker, "-dylib", "-arch", options.architecture, "-platform_version", "macos",
         MINIMUM_SYSTEM, MINIMUM_SYSTEM, "-undefined", "dynamic_lookup", "-fatal_warnings",
         "-exported_symbols_list", exported, "-all_load", *archives, "-o", library],
        check=True)
    return library


def exports(library):
    listing = inspect_program.llvm("llvm-objdump", "--macho", "--exports-trie", library)
    return re.findall(r"^0x\w+ +_(\S+)", listing, re.MULTILINE)


class ExportedFunctionsTest(unittest.TestCase):
    def setUp(self):
        self.directory = self.enterContext(tempfile.TemporaryDirectory())
        self.list = pathlib.Path(options.library, "exported_functions.txt")
        header = pathlib.Path(options.library, "blindfold.h").read_text(encoding="utf-8")
        self.declared = sorted(set(re.findall(r"\b(blindfold_[a-z_]+)\(", header)))

    def test_the_functions_of_the_header_and_no_others(self):
        self.assertGreater(len(self.declared), 10)
        self.assertEqual(sorted(exports(link(self.list, self.directory))), self.declared)

    def test_the_list_decides(self):
        shorter = pathlib.Path(self.directory, "list")
        shorter.write_text("_blindfold_client_*\n", encoding="utf-8")
        self.assertEqual(sorted(exports(link(shorter, self.directory))),
                         [each for each in self.declared if each.startswith("blindfold_client_")])


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("linker", "architecture", "library", "build"):
        parser.add_argument(f"--{name}", required=True)
    options = parser.parse_args()
    unittest.main(argv=sys.argv[:1])
