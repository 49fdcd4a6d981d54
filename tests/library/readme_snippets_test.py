#!/usr/bin/env python3
"""Compiles the C++ of README.md.

usage: readme_snippets_test.py COMPILER SOURCES
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


def main():
    compiler, sources = sys.argv[1:]
    page = (pathlib.Path(sources) / "README.md").read_text(encoding="utf-8")
    snippets = re.findall(r"^```cpp\n(.*?)^```$", page, re.DOTALL | re.MULTILINE)
    if len(snippets) != 4:
        sys.exit(f"README.md shows {len(snippets)} ways to run an operation instead of four")
    subprocess.run(
        [compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-I", sources,
         "-x", "c++", "-"],
        input=INCLUDES + "\n".join(snippets), encoding="utf-8", check=True)


if __name__ == "__main__":
    main()
