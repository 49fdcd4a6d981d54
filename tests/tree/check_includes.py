#!/usr/bin/env python3
"""Compares what each room includes with what it declares that it uses.

usage: check_includes.py TREE

A room is a folder that has a library: blindfold_library(ROOM [SYSTEM] SOURCES ... USES ...) in a
CMakeLists.txt below TREE/blindfold or TREE/devhelper. Its files may include the headers of their own
room, of the rooms named by USES, and of C++'s standard library; those of the operating system only
with SYSTEM. Uses go one way, and a use that no file needs is one too many.

Prints each violation on a line of its own and ends with status 1 if there is one.
"""

import pathlib
import re
import sys

STANDARD_HEADERS = frozenset("""
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono
    cinttypes climits clocale cmath codecvt compare complex concepts condition_variable coroutine
    csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque
    exception execution filesystem format forward_list fstream functional future initializer_list
    iomanip ios iosfwd iostream istream iterator latch limits list locale map memory memory_resource
    mutex new numbers numeric optional ostream queue random ranges ratio regex scoped_allocator
    semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf
    string string_view strstream syncstream system_error thread tuple type_traits typeindex typeinfo
    unordered_map unordered_set utility valarray variant vector version
    stdbool.h stddef.h
""".split())

TOP_FOLDERS = ("blindfold", "devhelper")
SOURCE_SUFFIXES = frozenset((".cpp", ".h", ".mm"))
LIBRARY = re.compile(r"^\s*blindfold_library\(([^)]*)\)", re.MULTILINE)
INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"]')


class Room:
    """What one library declares: its folder, the rooms that it uses, whether it uses the system."""

    def __init__(self, name, arguments):
        keyword = None
        self.name = name
        self.folder = name if name.split("/")[0] in TOP_FOLDERS else f"blindfold/{name}"
        self.system = False
        self.uses = []
        for argument in arguments:
            if argument in ("SYSTEM", "SOURCES", "USES"):
                keyword = argument
                self.system = self.system or argument == "SYSTEM"
            elif keyword == "USES":
                self.uses.append(argument)


def declared_rooms(tree):
    """The rooms of the tree by their folders."""
    rooms = {}
    for top in TOP_FOLDERS:
        for path in sorted((tree / top).rglob("CMakeLists.txt")):
            text = re.sub(r"#.*", "", path.read_text(encoding="utf-8"))
            for declaration in LIBRARY.finditer(text):
                name, *arguments = declaration.group(1).split()
                room = Room(name, arguments)
                rooms[room.folder] = room
    return rooms


def room_of(path, rooms):
    """The room whose folder holds the path of a file, the innermost first; None for none."""
    for parent in pathlib.PurePosixPath(path).parents:
        if str(parent) in rooms:
            return rooms[str(parent)]
    return None


def includes(path):
    """Each include of a file: its line's number, whether it is in angle brackets, the header."""
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), start=1):
        found = INCLUDE.match(line)
        if found:
            yield number, found.group(1) == "<", found.group(2)


def violation_of_include(tree, rooms, room, in_brackets, header):
    """The rule that one include of a room breaks; None for none."""
    if in_brackets:
        if header in STANDARD_HEADERS or room.system:
            return None
        return f"<{header}> is the operating system's, which {room.name} does not use"
    if not (tree / header).is_file():
        return f'there is no "{header}" in the tree'
    used = room_of(header, rooms)
    if used is None:
        return f'"{header}" is in no room'
    if used is not room and used.name not in room.uses:
        return f'"{header}" is in {used.name}, which {room.name} does not declare that it uses'
    return None


def cycle(graph):
    """One cycle of a graph (a dictionary of lists) as a list that ends where it begins, or None."""
    finished = set()

    def visit(node, path):
        if node in path:
            return path[path.index(node):] + [node]
        if node in finished:
            return None
        for successor in graph.get(node, []):
            found = visit(successor, path + [node])
            if found:
                return found
        finished.add(node)
        return None

    for start in sorted(graph):
        found = visit(start, [])
        if found:
            return found
    return None


def violations(tree):
    """Each violation of the tree as one line of text."""
    rooms = declared_rooms(tree)
    if not rooms:
        yield "no room is declared"
    names = {room.name for room in rooms.values()}
    for room in rooms.values():
        for used in room.uses:
            if used not in names:
                yield f"{room.name} declares that it uses {used}, which is no room"
    around = cycle({room.name: room.uses for room in rooms.values()})
    if around:
        yield "rooms use each other: " + " -> ".join(around)

    needed = {room.name: set() for room in rooms.values()}
    headers = {}
    for top in TOP_FOLDERS:
        for path in sorted((tree / top).rglob("*")):
            if path.suffix not in SOURCE_SUFFIXES:
                continue
            file = path.relative_to(tree).as_posix()
            room = room_of(file, rooms)
            if room is None:
                yield f"{file} is in no room"
                continue
            for number, in_brackets, header in includes(path):
                broken = violation_of_include(tree, rooms, room, in_brackets, header)
                if broken:
                    yield f"{file}:{number}: {broken}"
                elif not in_brackets:
                    needed[room.name].add(room_of(header, rooms).name)
                    headers.setdefault(file, []).append(header)
    around = cycle(headers)
    if around:
        yield "files include each other: " + " -> ".join(around)
    for room in rooms.values():
        for used in room.uses:
            if used in names and used not in needed[room.name]:
                yield f"{room.name} declares that it uses {used} and includes nothing of it"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    found = list(violations(pathlib.Path(sys.argv[1])))
    for line in found:
        print(line)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
