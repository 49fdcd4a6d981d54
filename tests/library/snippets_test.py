#!/usr/bin/env python3
"""Compiles the C++ of README.md and docs/client-library.md.

usage: snippets_test.py COMPILER SOURCES
"""

import pathlib
import re
import subprocess
import sys

INCLUDES = """\
#include <cstdio>
#include "blindfold/helperclient/helper_client.h"
using namespace blindfold;
"""


def snippets(page):
    text = page.read_text(encoding="utf-8")
    for block in re.finditer(r"^```cpp\n(.*?)^```$", text, re.DOTALL | re.MULTILINE):
        line = text.count("\n", 0, block.start(1)) + 1
        yield f'#line {line} "{page.name}"\n{block.group(1)}'


def compile_snippets(compiler, sources, name, count):
    """The page has so many snippets, and they compile as one source file."""
    found = list(snippets(sources / name))
    if len(found) != count:
        sys.exit(f"{name} has {len(found)} snippets of C++ instead of {count}")
    subprocess.run(
        [compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-I", sources,
         "-x", "c++", "-"],
        input=INCLUDES + "".join(found), encoding="utf-8", check=True)


def main():
    compiler, sources = sys.argv[1], pathlib.Path(sys.argv[2])
    compile_snippets(compiler, sources, "README.md", 4)  # the ways to run an operation
    compile_snippets(compiler, sources, "docs/client-library.md", 9)


if __name__ == "__main__":
    main()
