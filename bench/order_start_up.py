"""Writes the order of the code that runs of the tool execute; see scripts/order-start-up."""

import argparse
import bisect
import os
import pathlib
import re
import subprocess
import sys

parser = argparse.ArgumentParser()
parser.add_argument("--build", type=pathlib.Path, required=True)
parser.add_argument("--services", type=pathlib.Path, required=True)
parser.add_argument("--order", type=pathlib.Path, required=True)
options = parser.parse_args()

PROGRAMS = options.build / "bench"
SERVICE = "bench"
COMMANDS = ("status", "detect", "hold-built-in", "renew any", "release", "restore", "mute",
            "unmute")


class Section:
    """A section of code of an object, as the linker has placed it."""

    def __init__(self, address, size, name, file):
        self.address, self.end, self.name = address, address + size, name
        member = re.search(r"([^/]*\.a)\(([^)]*)\)$", file)
        self.file = ":".join(member.groups()) if member else pathlib.Path(file).name
        self.commands = set()

    def line(self):
        return f"    *{self.file}({self.name})\n"

    def rank(self):
        """Sections of all commands come first, then those of each command that the first one does
        not have, in the order of the commands."""
        is_everywhere = len(self.commands) == len(COMMANDS)
        return (0 if is_everywhere else 1 + min(self.commands), -len(self.commands), self.address)


def sections(linker_map):
    """The sections of code of a linker's map, by address."""
    text = linker_map.read_text()
    text = text[text.index("Linker script and memory map"):]
    rows = re.findall(r"^ (\.text\S*)\s+0x([0-9a-f]+)\s+0x([0-9a-f]+)\s(\S.*)$", text,
                      flags=re.MULTILINE)
    found = [Section(int(address, 16), int(size, 16), name, file)
             for name, address, size, file in rows]
    return sorted((each for each in found if each.end > each.address and each.address > 0),
                  key=lambda each: each.address)


def executed_addresses(command):
    run = subprocess.run([PROGRAMS / "executed_code", PROGRAMS / "blindfoldctl", *command.split()],
                         stdout=subprocess.PIPE, check=True, text=True)
    return [int(line, 16) for line in run.stdout.splitlines()]


def main():
    placed = sections(PROGRAMS / "blindfoldctl.map")
    addresses = [each.address for each in placed]
    os.chdir(options.services)
    with subprocess.Popen([options.build / "blindfold-devhelper", "--service", SERVICE],
                          stdout=subprocess.PIPE) as helper:
        if not helper.stdout.readline():
            sys.exit("The development helper did not start.")
        for number, command in enumerate(COMMANDS):
            for address in executed_addresses(command):
                section = placed[bisect.bisect(addresses, address) - 1]
                if section.address <= address < section.end:
                    section.commands.add(number)
        helper.terminate()

    executed = sorted((each for each in placed if each.commands), key=Section.rank)
    page = options.order.read_text()
    page, count = re.subn(r"(/\* executed \*/\n).*(    /\* end \*/\n)",
                          lambda marks: marks.group(1) + "".join(each.line() for each in executed)
                          + marks.group(2), page, flags=re.DOTALL)
    if count != 1:
        sys.exit(f"{options.order} has no place for the order.")
    options.order.write_text(page)
    size = sum(each.end - each.address for each in executed)
    print(f"{len(executed)} sections of code, {size / 1024:.0f} KiB")


if __name__ == "__main__":
    main()
