"""Prints which lines, branches and conditions of the product the tests reach, file by file.

usage: report.py --export FILE --exceptions FILE

`--export` is what `llvm-cov export` writes. A file may miss what `--exceptions` allows it: lines of
PATH, tab, lines, tab, branches, tab, conditions, tab, reason. Ends with status 1 when a file misses
more, or there is no such file. A file that misses less is marked only: some of what is allowed takes
threads that happen to meet.
"""

import argparse
import json
import pathlib
import sys

COUNTED = ("lines", "branches", "mcdc")


def read_exceptions(path):
    """What each file may miss: (lines, branches, conditions)."""
    exceptions = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            name, *counts, reason = line.split("\t")
            assert reason, f"{name} has no reason"
            exceptions[name] = tuple(map(int, counts))
    return exceptions


def measured_files(export, tree):
    """Of each product file: its path and, for lines, branches and conditions, (count, covered)."""
    for entry in export["data"][0]["files"]:
        path = pathlib.Path(entry["filename"])
        if not path.is_relative_to(tree):
            continue
        name = str(path.relative_to(tree))
        if name.startswith(("blindfold/", "devhelper/")) and "/macos/" not in name:
            summary = entry["summary"]
            yield name, [(summary[kind]["count"], summary[kind]["covered"]) for kind in COUNTED]


def percent(count, covered):
    return "    -  " if count == 0 else f"{100 * covered / count:6.2f}%"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--export", type=pathlib.Path, required=True)
    parser.add_argument("--exceptions", type=pathlib.Path, required=True)
    options = parser.parse_args()
    tree = pathlib.Path(__file__).resolve().parent.parent.parent
    exceptions = read_exceptions(options.exceptions)
    export = json.loads(options.export.read_text(encoding="utf-8"))
    totals = [[0, 0] for _ in COUNTED]
    wrong = []
    print("  lines  branches conditions  file")
    for name, measures in sorted(measured_files(export, tree)):
        missed = tuple(count - covered for count, covered in measures)
        for total, (count, covered) in zip(totals, measures):
            total[0] += count
            total[1] += covered
        allowed = exceptions.pop(name, (0, 0, 0))
        mark = "" if missed == (0, 0, 0) else f"  misses {missed}"
        if missed != allowed:
            mark += f", {allowed} allowed" if mark else f"  {allowed} allowed"
        if any(count > most for count, most in zip(missed, allowed)):
            wrong.append(name)
        print(*(percent(*measure) for measure in measures), "", name + mark)
    print(*(percent(*total) for total in totals), "", "all")
    wrong += [f"{name} (no such file)" for name in exceptions]
    if wrong:
        print("More than tests/coverage/exceptions.tsv allows: " + ", ".join(wrong), file=sys.stderr)
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
