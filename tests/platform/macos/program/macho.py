"""One slice of a Mach-O program, read as far as the inspections need what LLVM's tools do not print."""

import struct

LC_SEGMENT_64 = 0x19
LC_DYLD_CHAINED_FIXUPS = 0x80000034


class Slice:
    """A thin 64-bit Mach-O file whose pointers stand in it as addresses."""

    def __init__(self, contents):
        self.contents = contents
        magic, _, _, _, commands, _, _, _ = struct.unpack_from("<8I", contents)
        if magic != 0xFEEDFACF:
            raise ValueError("not a thin 64-bit Mach-O file")
        self.sections = {}
        offset = 32
        for _ in range(commands):
            command, size = struct.unpack_from("<2I", contents, offset)
            if command == LC_DYLD_CHAINED_FIXUPS:
                raise ValueError("pointers are chained fix-ups, not addresses")
            if command == LC_SEGMENT_64:
                self._read_sections(offset)
            offset += size

    def _read_sections(self, segment):
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
