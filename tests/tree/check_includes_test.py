#!/usr/bin/env python3
"""Shows that check_includes.py finds each kind of violation in a tree made for it."""

import pathlib
import tempfile
import unittest

import check_includes


class CheckIncludesTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.tree = pathlib.Path(directory.name)
        self.write("blindfold/text/CMakeLists.txt", "blindfold_library(text SOURCES utf8.cpp)\n")
        self.write("blindfold/text/utf8.h", "#pragma once\n#include <string>\n")
        self.write("blindfold/text/utf8.cpp", '#include "blindfold/text/utf8.h"\n')
        self.write("blindfold/model/CMakeLists.txt",
                   "blindfold_library(model\n  SOURCES hold.cpp\n  USES text)\n")
        self.write("blindfold/model/hold.cpp", '#include "blindfold/text/utf8.h"\n')
        self.write("devhelper/CMakeLists.txt",
                   "blindfold_library(devhelper SYSTEM SOURCES main.cpp USES model text)\n")
        self.write("devhelper/main.cpp", '#include <unistd.h>\n#include "blindfold/text/utf8.h"\n'
                   '#include "blindfold/model/hold.cpp"\n')

    def write(self, name, text):
        path = self.tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def append(self, name, text):
        path = self.tree / name
        path.write_text(path.read_text(encoding="utf-8") + text, encoding="utf-8")

    def assert_violations(self, *lines):
        self.assertEqual(list(check_includes.violations(self.tree)), list(lines))

    def test_a_sound_tree_has_none(self):
        self.assert_violations()

    def test_a_room_that_is_not_declared_as_used(self):
        self.write("blindfold/text/one_line.cpp", '#include "blindfold/model/hold.cpp"\n')
        self.assert_violations('blindfold/text/one_line.cpp:1: "blindfold/model/hold.cpp" is in '
                               "model, which text does not declare that it uses")

    def test_an_import_counts_as_an_include(self):
        self.write("blindfold/text/one_line.mm", '\n#  import "blindfold/model/hold.cpp"\n')
        self.assert_violations('blindfold/text/one_line.mm:2: "blindfold/model/hold.cpp" is in '
                               "model, which text does not declare that it uses")

    def test_a_system_header_in_a_room_without_system(self):
        self.append("blindfold/model/hold.cpp", "#include <unistd.h>\n")
        self.assert_violations("blindfold/model/hold.cpp:2: <unistd.h> is the operating system's, "
                               "which model does not use")

    def test_a_framework_header_in_a_room_without_system(self):
        self.append("blindfold/text/utf8.h", "#import <Foundation/Foundation.h>\n")
        self.assert_violations("blindfold/text/utf8.h:3: <Foundation/Foundation.h> is the operating "
                               "system's, which text does not use")

    def test_a_room_inside_another_has_rules_of_its_own(self):
        self.write("blindfold/text/linux/CMakeLists.txt",
                   "blindfold_library(text/linux SYSTEM SOURCES a.cpp USES text)\n")
        self.write("blindfold/text/linux/a.h",
                   '#include <unistd.h>\n#include "blindfold/text/utf8.h"\n')
        self.append("blindfold/text/utf8.cpp", '#include "blindfold/text/linux/a.h"\n')
        self.assert_violations('blindfold/text/utf8.cpp:2: "blindfold/text/linux/a.h" is in '
                               "text/linux, which text does not declare that it uses")

    def test_a_header_that_is_not_there(self):
        self.append("blindfold/model/hold.cpp", '#include "utf8.h"\n')
        self.assert_violations('blindfold/model/hold.cpp:2: there is no "utf8.h" in the tree')

    def test_a_header_outside_the_rooms(self):
        self.write("tests/fake.h", "")
        self.append("blindfold/model/hold.cpp", '#include "tests/fake.h"\n')
        self.assert_violations('blindfold/model/hold.cpp:2: "tests/fake.h" is in no room')

    def test_a_file_outside_the_rooms(self):
        self.write("blindfold/stray.cpp", "")
        self.assert_violations("blindfold/stray.cpp is in no room")

    def test_rooms_that_use_each_other(self):
        self.write("blindfold/text/CMakeLists.txt",
                   "blindfold_library(text SOURCES utf8.cpp USES model)\n")
        self.write("blindfold/text/one_line.cpp", '#include "blindfold/model/hold.cpp"\n')
        self.assert_violations("rooms use each other: model -> text -> model")

    def test_files_that_include_each_other(self):
        self.append("blindfold/text/utf8.h", '#include "blindfold/text/ascii.h"\n')
        self.write("blindfold/text/ascii.h", '#include "blindfold/text/utf8.h"\n')
        self.assert_violations("files include each other: blindfold/text/utf8.h -> "
                               "blindfold/text/ascii.h -> blindfold/text/utf8.h")

    def test_a_declared_use_that_nobody_needs(self):
        self.write("blindfold/model/hold.cpp", "")
        self.assert_violations("model declares that it uses text and includes nothing of it")

    def test_a_declared_use_of_no_room(self):
        self.write("blindfold/text/CMakeLists.txt",
                   "blindfold_library(text SOURCES utf8.cpp USES words)\n")
        self.assert_violations("text declares that it uses words, which is no room")

    def test_a_comment_declares_nothing(self):
        self.write("blindfold/model/CMakeLists.txt",
                   "blindfold_library(model SOURCES hold.cpp) # USES text\n")
        self.assert_violations('blindfold/model/hold.cpp:1: "blindfold/text/utf8.h" is in text, '
                               "which model does not declare that it uses")

    def test_a_tree_without_rooms(self):
        self.tree = self.tree / "empty"
        self.assert_violations("no room is declared")


if __name__ == "__main__":
    unittest.main()
