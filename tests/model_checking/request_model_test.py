"""Checks the model of a request in every interleaving of its threads.

usage: request_model_test.py --spin FILE --compiler FILE [--events N]

The model as it stands has no error; each of its broken variants has one. Prints the number of states
of each.
"""

import argparse
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

MODEL = pathlib.Path(__file__).resolve().parent / "request.pml"

# The variants: BROKEN and IN_PIECES. The first two are the model as it stands.
SOUND = [(0, 1), (0, 0)]
BROKEN = [(1, 1), (2, 1), (3, 1), (4, 0), (5, 1), (6, 1)]


def check(options, events, broken, in_pieces):
    """The number of errors and of states of one variant."""
    with tempfile.TemporaryDirectory() as directory:
        def run(*command):
            return subprocess.run(command, cwd=directory, check=True, capture_output=True, text=True)

        # Under its own name: spin hands the path to a shell.
        shutil.copy(MODEL, directory)
        run(options.spin, f"-DEVENTS={events}", f"-DBROKEN={broken}", f"-DIN_PIECES={in_pieces}",
            "-a", MODEL.name)
        run(options.compiler, "-O2" if events > 2 else "-O0", "-w", "-DSAFETY", "-DCOLLAPSE",
            "-o", "pan", "pan.c")
        output = run("./pan", "-m100000").stdout
    if "error: max search depth" in output:
        raise AssertionError("the search was cut off")
    errors = int(re.search(r"errors: (\d+)", output)[1])
    return errors, int(re.search(r"(\d+) states, stored", output)[1])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--spin", required=True)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--events", type=int, default=3)
    options = parser.parse_args()
    status = 0
    for broken, in_pieces in SOUND + BROKEN:
        # A defect shows with few outcomes already.
        events = 2 if broken else options.events
        errors, states = check(options, events, broken, in_pieces)
        is_right = (errors > 0) == (broken > 0)
        print(f"BROKEN={broken} IN_PIECES={in_pieces} EVENTS={events}: {states} states, "
              f"{errors} errors{'' if is_right else ': WRONG'}", flush=True)
        status = status if is_right else 1
    return status


if __name__ == "__main__":
    sys.exit(main())
