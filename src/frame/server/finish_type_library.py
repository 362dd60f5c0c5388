#!/usr/bin/env python3
"""Completes a type library that widl compiled: adds the help texts of record fields, which
widl does not support, and removes the build time, so that the same sources always produce
the same bytes.

The description marks a help text as FIELD_HELP("text") in front of the field.
Usage: finish_type_library.py DESCRIPTION COMPILED FINISHED
"""

import re
import struct
import sys

HEADER_SIZE = 0x54
TYPE_COUNT = 0x20  # in the header
SEGMENTS = 15
TYPES, NAMES, STRINGS = 0, 7, 8  # indexes of segments in the directory
# The size of a type entry and the offsets of its members.
ENTRY_SIZE, KIND, MEMBERS, COUNTS, NAME = 0x64, 0x00, 0x04, 0x18, 0x34
RECORD_KIND = 1
# The size of a variable record without its optional members (help context, help text).
PLAIN_VARIABLE = 0x14
# Custom data: a text that contains the build time, then the build time as a number.
BUILD_TIME = re.compile(rb"(Created by WIDL version [^\0\n]*\n)(W*\x13\0)(.{4})", re.DOTALL)


class TypeLibrary:
    def __init__(self, data):
        self.data = bytearray(data)
        if self.data[:4] != b"MSFT":
            raise SystemExit("not a type library")
        self.directory = HEADER_SIZE + 4 * self.read(TYPE_COUNT)

    def read(self, position):
        return struct.unpack_from("<I", self.data, position)[0]

    def write(self, position, value):
        struct.pack_into("<I", self.data, position, value)

    def segment(self, number):
        """The position of a segment's directory entry: its offset and its length."""
        return self.directory + 16 * number

    def entries(self):
        start = self.read(self.segment(TYPES))
        return [start + ENTRY_SIZE * i for i in range(self.read(TYPE_COUNT))]

    def name_at(self, offset):
        start = self.read(self.segment(NAMES)) + offset
        length = self.data[start + 8]
        return self.data[start + 12 : start + 12 + length].decode("ascii")

    def insert(self, position, new):
        """Inserts bytes at a position and adjusts every offset after it."""
        self.data[position:position] = new
        references = [self.segment(i) for i in range(SEGMENTS)]
        moved = [r for r in references if position <= self.read(r) < 0xFFFFFFFF]
        for reference in moved:
            self.write(reference, self.read(reference) + len(new))
        for entry in self.entries():
            if self.read(entry + MEMBERS) >= position:
                self.write(entry + MEMBERS, self.read(entry + MEMBERS) + len(new))

    def add_string(self, text):
        """Adds a text to the string table and returns its offset in the table."""
        encoded = struct.pack("<H", len(text)) + text.encode("ascii")
        encoded += b"W" * max(-len(encoded) % 4, 8 - len(encoded))
        segment = self.segment(STRINGS)
        offset = self.read(segment + 4)
        self.write(segment + 4, offset + len(encoded))
        self.insert(self.read(segment) + offset, encoded)
        return offset

    def set_field_help(self, record, helps):
        """Adds help texts to the fields of one record; `helps` maps field names to texts."""
        entry = next(
            e
            for e in self.entries()
            if self.read(e + KIND) & 0xF == RECORD_KIND
            and self.name_at(self.read(e + NAME)) == record
        )
        offsets = {field: self.add_string(text) for field, text in helps.items()}
        count = self.read(entry + COUNTS) >> 16
        grown = 0
        for i in range(count):
            members = self.read(entry + MEMBERS)
            tables = members + 4 + self.read(members)
            field = self.name_at(self.read(tables + 4 * (count + i)))
            variable = self.read(tables + 4 * (2 * count + i)) + grown
            self.write(tables + 4 * (2 * count + i), variable)
            if field in offsets:
                start = members + 4 + variable
                info = self.read(start)
                if info & 0xFFFF != PLAIN_VARIABLE:
                    raise SystemExit(f"{record}.{field} has attributes already")
                help_fields = struct.pack("<II", 0, offsets.pop(field))
                self.write(start, info + len(help_fields))
                self.write(members, self.read(members) + len(help_fields))
                self.insert(start + PLAIN_VARIABLE, help_fields)
                grown += len(help_fields)
        if offsets:
            raise SystemExit(f"{record} has no field {', '.join(offsets)}")

    def remove_build_time(self):
        found = BUILD_TIME.search(self.data)
        if not found:
            raise SystemExit("the build time is not at its expected position")
        text, between, number = found.groups()
        # The replacement has the same length, so that no offset changes.
        same = b"Created by WIDL".ljust(len(text)) + between + bytes(len(number))
        self.data[found.start() : found.end()] = same


def helps_of(description):
    """Returns the help texts: record name -> field name -> text."""
    helps = {}
    for body, record in re.findall(r"struct \w+\s*\{([^}]*)\}\s*(\w+);", description):
        fields = re.findall(r'FIELD_HELP\("([^"]*)"\)\s*\w+\s+(\w+);', body)
        if fields:
            helps[record] = {field: text for text, field in fields}
    return helps


def main(description, compiled, finished):
    with open(compiled, "rb") as file:
        library = TypeLibrary(file.read())
    with open(description, encoding="ascii") as file:
        for record, helps in helps_of(file.read()).items():
            library.set_field_help(record, helps)
    library.remove_build_time()
    with open(finished, "wb") as file:
        file.write(library.data)


if __name__ == "__main__":
    main(*sys.argv[1:])
