"""One slice of a Mach-O program, read as far as the inspections need what LLVM's tools do not print."""

import hashlib
import struct

LC_SEGMENT_64 = 0x19
LC_CODE_SIGNATURE = 0x1D
LC_DYLD_CHAINED_FIXUPS = 0x80000034

CSMAGIC_EMBEDDED_SIGNATURE = 0xFADE0CC0
CSMAGIC_CODEDIRECTORY = 0xFADE0C02
CSSLOT_CODEDIRECTORY = 0
CS_ADHOC = 0x2
CS_LINKER_SIGNED = 0x20000
CS_EXECSEG_MAIN_BINARY = 0x1
CS_HASHTYPE_SHA256 = 2


class Slice:
    """A thin 64-bit Mach-O file whose pointers stand in it as addresses."""

    def __init__(self, contents):
        self.contents = contents
        magic, _, _, _, commands, _, _, _ = struct.unpack_from("<8I", contents)
        if magic != 0xFEEDFACF:
            raise ValueError("not a thin 64-bit Mach-O file")
        self.sections = {}
        self.segments = {}
        self.signatures = []
        offset = 32
        for _ in range(commands):
            command, size = struct.unpack_from("<2I", contents, offset)
            if command == LC_DYLD_CHAINED_FIXUPS:
                raise ValueError("pointers are chained fix-ups, not addresses")
            if command == LC_SEGMENT_64:
                self._read_segment(offset)
            if command == LC_CODE_SIGNATURE:
                self.signatures.append(struct.unpack_from("<2I", contents, offset + 8))
            offset += size

    def _read_segment(self, segment):
        (segment_name,) = struct.unpack_from("<16s", self.contents, segment + 8)
        file_range = struct.unpack_from("<2Q", self.contents, segment + 40)
        self.segments[segment_name.rstrip(b"\0").decode()] = file_range
        (count,) = struct.unpack_from("<I", self.contents, segment + 64)
        for index in range(count):
            at = segment + 72 + 80 * index
            section, name = struct.unpack_from("<16s16s", self.contents, at)
            address, size, offset = struct.unpack_from("<QQI", self.contents, at + 32)
            key = (name.rstrip(b"\0").decode(), section.rstrip(b"\0").decode())
            self.sections[key] = (address, size, offset)

    def _offset(self, address):
        for start, size, offset in self.sections.values():
            if start <= address < start + size:
                return offset + address - start
        raise ValueError(f"no section holds the address {address:#x}")

    def pointer(self, address):
        return struct.unpack_from("<Q", self.contents, self._offset(address))[0]

    def integers(self, address, count):
        return struct.unpack_from(f"<{count}I", self.contents, self._offset(address))

    def text(self, address):
        start = self._offset(address)
        return self.contents[start : self.contents.index(b"\0", start)].decode()

    def texts_of(self, segment, section):
        """Every string of a section of strings."""
        _, size, offset = self.sections[(segment, section)]
        return {each.decode() for each in self.contents[offset : offset + size].split(b"\0") if each}

    def sent_selectors(self):
        """Every selector that the program's code refers to."""
        address, size, _ = self.sections[("__DATA", "__objc_selrefs")]
        return {self.text(self.pointer(address + 8 * i)) for i in range(size // 8)}

    def protocols(self):
        """Every protocol of the Objective-C metadata: name and [(selector, extended types)]."""
        address, size, _ = self.sections[("__DATA", "__objc_protolist")]
        return [self._protocol(self.pointer(address + 8 * i)) for i in range(size // 8)]

    def _protocol(self, protocol):
        name = self.text(self.pointer(protocol + 8))
        methods = self.pointer(protocol + 24)
        others = [self.pointer(protocol + field) for field in (32, 40, 48)]
        if any(others):
            raise ValueError(f"{name} has methods that are not required instance methods")
        types = self.pointer(protocol + 72)
        entry_size, count = self.integers(methods, 2)
        return name, [
            (
                self.text(self.pointer(methods + 8 + entry_size * i)),
                self.text(self.pointer(types + 8 * i)),
            )
            for i in range(count)
        ]

    def signature(self):
        """The ad hoc signature, or None; one that breaks a rule is a ValueError."""
        if not self.signatures:
            return None
        if len(self.signatures) > 1:
            raise ValueError("several signatures")
        return Signature(self, *self.signatures[0])


def expect(condition, message):
    if not condition:
        raise ValueError(f"the signature's {message}")


class Signature:
    """A signature that a linker makes: one code directory without certificates.

    Every byte of it is compared with the rest of the slice, so that no byte of either can change
    unnoticed.
    """

    def __init__(self, program, offset, size):
        self._program = program
        self._check_place(offset, size)
        blob = program.contents[offset : offset + size]
        magic, length, count, slot, start = struct.unpack_from(">5I", blob)
        expect(magic == CSMAGIC_EMBEDDED_SIGNATURE, "magic number is another")
        expect((count, slot, start) == (1, CSSLOT_CODEDIRECTORY, 20), "index names other blobs")
        expect(length <= size and not any(blob[length:]), "end is not padding")
        self._read_directory(blob[start:length], offset)

    def _check_place(self, offset, size):
        start, length = self._program.segments["__LINKEDIT"]
        end = len(self._program.contents)
        expect(start <= offset, "place is outside __LINKEDIT")
        expect(offset + size == start + length == end, "place is not the end of __LINKEDIT")

    def _read_directory(self, directory, limit):
        (magic, length, version, self.flags, hashes, identifier, special, count, code_limit, size,
         kind, platform, page, *zeros) = struct.unpack_from(">9I4B4IQ", directory)
        expect(magic == CSMAGIC_CODEDIRECTORY and length == len(directory), "directory is cut")
        expect(version == 0x20400, f"version is {version:#x}")
        expect(self.flags & ~CS_LINKER_SIGNED == CS_ADHOC, f"flags are {self.flags:#x}")
        expect((size, kind, platform) == (32, CS_HASHTYPE_SHA256, 0), "hashes are not SHA-256")
        expect(not any(zeros), "unused fields are in use")
        expect(code_limit == limit, "hashes cover another part of the slice")
        expect(special == 0, "special slots are unexpected")
        self._check_executable_segment(directory)
        expect(hashes + 32 * count == length, "hashes are cut")
        self.identifier = directory[identifier : directory.index(b"\0", identifier)].decode()
        expect(identifier == 88 and hashes == identifier + len(self.identifier) + 1, "gaps")
        self._check_pages(directory[hashes:], limit, 1 << page)

    def _check_executable_segment(self, directory):
        segment = struct.unpack_from(">3Q", directory, 64)
        text = self._program.segments["__TEXT"]
        expect(segment == (*text, CS_EXECSEG_MAIN_BINARY), "executable segment is not __TEXT")

    def _check_pages(self, hashes, limit, page_size):
        pages = range(0, limit, page_size)
        expect(32 * len(pages) == len(hashes), "number of pages is another")
        for index, start in enumerate(pages):
            page = self._program.contents[start : min(start + page_size, limit)]
            expected = hashes[32 * index : 32 * index + 32]
            expect(hashlib.sha256(page).digest() == expected, f"hash of page {index} is another")
