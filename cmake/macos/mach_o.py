# SPDX-License-Identifier: MIT
# SPDX-FileCopyrightText: 2026 the Wicket helper authors
"""Reads what no tool of LLVM prints from a 64-bit Mach-O file of one architecture: the protocols and classes that its
Objective-C sections describe, with the extended types that XPC goes by."""

import struct

SEGMENT_64 = 0x19
MAGIC_64 = 0xFEEDFACF
HEADER_SIZE = 32
SECTION_SIZE = 80
POINTER_SIZE = 8
SMALL_METHODS = 0x80000000


class MachO:
    def __init__(self, data):
        self.data = data
        magic, *_, command_count, _, _, _ = struct.unpack_from("<8I", data)
        if magic != MAGIC_64:
            raise ValueError("not a 64-bit Mach-O file of one architecture")
        self.segments = []  # (address, size, offset in the file)
        self.sections = {}  # (segment, section) -> (address, size)
        offset = HEADER_SIZE
        for _ in range(command_count):
            command, size = struct.unpack_from("<2I", data, offset)
            if command == SEGMENT_64:
                self._read_segment(offset)
            offset += size

    def _read_segment(self, offset):
        address, _, file_offset, file_size, _, _, count, _ = struct.unpack_from("<4Q4I", self.data, offset + 24)
        self.segments.append((address, file_size, file_offset))
        for index in range(count):
            at = offset + 72 + index * SECTION_SIZE
            section, segment, address, size = struct.unpack_from("<16s16s2Q", self.data, at)
            self.sections[text(segment), text(section)] = (address, size)

    def at(self, address):
        for start, size, offset in self.segments:
            if start <= address < start + size:
                return address - start + offset
        raise ValueError(f"no segment holds the address {address:#x}")

    def section(self, segment, name):
        """None if there is none."""
        if (segment, name) not in self.sections:
            return None
        address, size = self.sections[segment, name]
        start = self.at(address)
        return self.data[start:start + size]

    def section_anywhere(self, name):
        segments = [segment for segment, section in self.sections if section == name]
        return self.section(segments[0], name) if segments else b""

    def string(self, address):
        start = self.at(address)
        return self.data[start:self.data.index(0, start)].decode()

    def pointer(self, address):
        return struct.unpack_from("<Q", self.data, self.at(address))[0]

    def pointers(self, section):
        content = self.section_anywhere(section)
        return struct.unpack(f"<{len(content) // POINTER_SIZE}Q", content)

    def protocols(self):
        """Name -> selector -> extended type, for all required and optional methods."""
        return {self.string(self.pointer(address + 8)): self._methods_of_protocol(address)
                for address in self.pointers("__objc_protolist")}

    def _methods_of_protocol(self, address):
        selectors = []
        for field in (24, 32, 40, 48):  # instance, class, optional instance, optional class
            selectors += self._selectors(self.pointer(address + field))
        types = self.pointer(address + 72)
        return {selector: self.string(self.pointer(types + index * POINTER_SIZE))
                for index, selector in enumerate(selectors)}

    def _selectors(self, methods):
        if methods == 0:
            return []
        entry_size, count = struct.unpack_from("<2I", self.data, self.at(methods))
        if entry_size & SMALL_METHODS:
            raise ValueError("lists of relative methods are not understood")
        return [self.string(self.pointer(methods + 8 + index * entry_size)) for index in range(count)]

    def classes(self):
        """Name -> names of the protocols that the class itself adopts."""
        return dict(self._class(address) for address in self.pointers("__objc_classlist"))

    def _class(self, address):
        constants = self.pointer(address + 32) & ~7
        protocols = self.pointer(constants + 40)
        count = self.pointer(protocols) if protocols else 0
        adopted = [self.pointer(protocols + 8 + index * POINTER_SIZE) for index in range(count)]
        return self.string(self.pointer(constants + 24)), [self.string(self.pointer(each + 8)) for each in adopted]


def text(padded):
    return padded.rstrip(b"\0").decode()
