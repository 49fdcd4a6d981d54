#!/usr/bin/env python3
"""Checks that each test that a document names, as `SuiteTest.Name`, is in the tree.

usage: check_named_tests.py TREE

Prints each name without a test on a line of its own and ends with status 1 if there is one.
"""

import pathlib
import re
import sys

NAME = re.compile(r"`(\w+Test)\.(\w+)`")
DEFINITION = re.compile(r"\b(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)")


def missing_tests(tree):
    """The names in the documents that no test has, as "DOCUMENT: SUITE.NAME"."""
    defined = set()
    for source in (tree / "tests").rglob("*_test.cpp"):
        defined.update(DEFINITION.findall(source.read_text()))
    return [
        f"{document.name}: {'.'.join(name)}"
        for document in sorted((tree / "docs").rglob("*.md"))
        for name in NAME.findall(document.read_text())
        if name not in defined
    ]


def main():
    missing = missing_tests(pathlib.Path(sys.argv[1]))
    print("\n".join(missing), end="\n" if missing else "")
    sys.exit(bool(missing))


if __name__ == "__main__":
    main()
