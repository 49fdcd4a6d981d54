"""Every inspection of the macOS program passes it, and fails a program that is wrong in that point.

The wrong programs are the right one with a few bytes changed.
"""

import argparse
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

import inspect_program

LC_SEGMENT_64 = 0x19
LC_BUILD_VERSION = 0x32
MH_PIE = 0x200000

options = None


def command_offset(contents, wanted):
    """Where the first load command of a kind stands in a thin slice."""
    (count,) = struct.unpack_from("<I", contents, 16)
    offset = 32
    for _ in range(count):
        command, size = struct.unpack_from("<2I", contents, offset)
        if command == wanted:
            return offset
        offset += size
    raise AssertionError("no such load command")


def second_segment(contents):
    """The offset of __TEXT, which follows the empty page."""
    first = command_offset(contents, LC_SEGMENT_64)
    (size,) = struct.unpack_from("<I", contents, first + 4)
    return first + size


class InspectionTest(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.thin = self.path("thin")
        inspect_program.llvm("llvm-lipo", "-thin", "x86_64", options.program, "-output", self.thin)

    def path(self, name):
        return pathlib.Path(self.directory.name, name)

    def assert_fails(self, check, **changes):
        """The check fails once these options are changed, and passes as they are."""
        inspect_program.CHECKS[check](inspect_program.Program(options, self.directory.name))
        changed = argparse.Namespace(**{**vars(options), **changes})
        with self.assertRaises((inspect_program.Failure, ValueError)):
            inspect_program.CHECKS[check](inspect_program.Program(changed, self.directory.name))

    def changed(self, change):
        """A copy of a slice, changed in place."""
        contents = bytearray(self.thin.read_bytes())
        change(contents)
        path = self.path("changed")
        path.write_bytes(contents)
        return path

    def replaced(self, old, new):
        def replace(contents):
            self.assertIn(old, contents)
            contents[:] = contents.replace(old, new)

        return self.changed(replace)

    def test_a_missing_slice(self):
        self.assert_fails("slices", program=self.thin)

    def test_another_minimum_system(self):
        def change(contents):
            at = command_offset(contents, LC_BUILD_VERSION)
            struct.pack_into("<I", contents, at + 12, 13 << 16)

        self.assert_fails("minimum_system", program=self.changed(change))

    def test_another_property_list(self):
        shipped = pathlib.Path(options.property_list).read_bytes()
        self.path("list").write_bytes(shipped + b"\n")
        self.assert_fails("property_list", property_list=self.path("list"))
        self.path("list").write_bytes(shipped.replace(b"14.0", b"14.1"))
        self.assert_fails("property_list", property_list=self.path("list"))

    def test_a_library_from_elsewhere(self):
        program = self.replaced(b"/usr/lib/libobjc.A.dylib", b"/opt/lib/libobjc.A.dylib")
        self.assert_fails("libraries", program=program)

    def test_a_symbol_that_no_stub_names(self):
        copy = self.path("declarations")
        shutil.copytree(options.declarations, copy)
        (stub,) = copy.rglob("Security.tbd")
        stub.write_text(stub.read_text().replace("      - _SecCodeCopySelf\n", ""))
        self.assert_fails("undefined_symbols", declarations=copy)

    def test_a_symbol_of_another_library(self):
        self.assert_fails("defining_libraries", program=self.replaced(b"_CFRelease", b"_NSRelease"))

    def test_a_block_that_takes_no_reply(self):
        program = self.replaced(b'v16@?0@"NSData"8', b'v16@?0@"NSDate"8')
        self.assert_fails("reply_block", program=program)

    def test_a_changed_byte_of_the_signed_slice(self):
        signed = self.path("signed")
        inspect_program.llvm("llvm-lipo", "-thin", "arm64", options.program, "-output", signed)
        self.assert_fails("signature", program=self.flipped(signed, 0x1000))
        contents = signed.read_bytes()
        code, signature = range(0, len(contents), 4099), range(len(contents) - 400, len(contents))
        for offset in [*code, *signature]:
            with self.subTest(offset=offset):
                with self.assertRaises((inspect_program.Failure, ValueError, KeyError)):
                    inspect_program.require_signature(self.flipped(signed, offset))

    def flipped(self, program, offset):
        """A copy of a program with one byte changed."""
        contents = bytearray(program.read_bytes())
        contents[offset] ^= 0x40
        path = self.path("flipped")
        path.write_bytes(contents)
        return path

    def test_a_fixed_address(self):
        def change(contents):
            (flags,) = struct.unpack_from("<I", contents, 24)
            struct.pack_into("<I", contents, 24, flags & ~MH_PIE)

        self.assert_fails("position_independent", program=self.changed(change))

    def test_writable_code(self):
        for protection in (56, 60):

            def change(contents, field=protection):
                struct.pack_into("<I", contents, second_segment(contents) + field, 7)

            self.assert_fails("segments", program=self.changed(change))

    def test_a_large_slice(self):
        padding = bytes(inspect_program.MAXIMUM_SLICE_SIZE)
        self.assert_fails("size", program=self.changed(lambda contents: contents.extend(padding)))

    def test_another_selector(self):
        self.assert_fails("protocol", program=self.replaced(b"installStatus:", b"installStatuz:"))

    def test_another_type(self):
        self.assert_fails("protocol", program=self.replaced(b'@"NSString"16', b'@"NSNumber"16'))

    def test_another_reply(self):
        self.assert_fails("protocol", program=self.replaced(b'<v@?@"NSData">', b'<v@?@"NSDate">'))

    def test_another_order(self):
        one, other, neither = b"installStatus:", b"detectTargets:", b"neitherOfBoth:"

        def swap(contents):
            swapped = contents.replace(one, neither).replace(other, one)
            contents[:] = swapped.replace(neither, other)

        self.assert_fails("protocol", program=self.changed(swap))

    def test_a_machine_path(self):
        here = str(pathlib.Path(inspect_program.__file__).resolve()).encode()
        self.assert_fails("machine_paths", program=self.changed(lambda each: each.extend(here)))

    def test_an_offered_symbol(self):
        source = self.path("offered.cpp")
        source.write_text("namespace blindfold { void hidden(); void offered() { hidden(); } }\n"
                          "__attribute__((visibility(\"hidden\"))) void blindfold::hidden() {}\n")
        offering = self.path("offered.o")
        compiler = [options.compiler, "c++", "-target", "aarch64-macos.14.0"]
        subprocess.run([*compiler, "-c", source, "-o", offering], check=True)
        self.assert_fails("hidden_symbols", objects=[offering])

    def test_every_check_has_a_program_that_fails_it(self):
        contents = pathlib.Path(__file__).read_text()
        for check in inspect_program.CHECKS:
            self.assertIn(f'assert_fails("{check}"', contents)


if __name__ == "__main__":
    compiler = sys.argv.pop(1)
    options = inspect_program.parse(["slices", *sys.argv[1:]])
    options.compiler = compiler
    unittest.main(argv=sys.argv[:1])
