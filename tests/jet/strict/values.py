"""Stored bytes of one column to a value, and the long values behind them.

Texts become tuples of UTF-16 units, numerics (negative, magnitude), GUIDs their stored bytes; the others what Python has.
"""
import math
import re
import struct

from formats import Damaged, u32
from pages import LVAL
from tables import EXTENDED_DATE

EXTENDED = re.compile(rb"[0-9]{19}:[0-9]{19}:7\0")


class LongPages:
    """The long value pages of one column: every piece is named once."""

    def __init__(self, table, column):
        self.table, self.column, self.file = table, column, table.file
        owned, free = table.long_maps[column.number]
        self.what = f'the long values of "{column.name}" of "{table.name}"'
        self.owned = self.file.usage_map(owned, self.what)
        self.free = self.file.usage_map(free, self.what + " (room)") if free else set()
        self.no_free = not free
        if not self.free <= self.owned:
            table.report(f"the room map of {self.what} has pages that it does not own")
        self.seen, self.tokens = {}, {}
        for number in sorted(self.owned):
            if self.file.claim(number, self.what):
                self.file.check_data_page(number, LVAL)

    def piece(self, pointer, where):
        page, slot = pointer >> 8, pointer & 255
        if page not in self.owned:
            raise Damaged(f"{self.what}: a piece lies on page {page}, which is not theirs")
        slots = self.file.slots(page)
        data = slots.bytes(slot)
        if slots.rows[slot][0]:
            self.table.report(f"the piece {slot} on page {page} has the flags {slots.rows[slot][0]:#x}", page)
        if pointer in self.seen:
            self.table.report(f"the piece {slot} on page {page} is used by rows of pages {self.seen[pointer]} and {where}", page)
        self.seen[pointer] = where
        return data

    def read(self, stored, where):
        if len(stored) < 12:
            raise Damaged(f"{self.what}: a definition of {len(stored)} bytes")
        head, first, token = struct.unpack_from("<III", stored)
        length, kind = head & 0x3FFFFFFF, head >> 30
        report = lambda text: self.table.report(f"{self.what}: {text}", where)
        if kind == 2:
            if first or token or len(stored) != 12 + length:
                report(f"inline, {length} bytes in {len(stored)}, first {first:#x}, token {token:#x}")
            if self.file.made and length > 64:
                report(f"{length} bytes stand in the row")
            return stored[12 : 12 + length]
        if len(stored) != 12:
            report(f"a definition of {len(stored)} bytes")
        if kind == 1:
            data = self.piece(first, where)
            if len(data) != length or token or length > self.file.format.piece or not length:
                report(f"one piece of {len(data)} bytes for {length}, token {token:#x}")
            return data
        if kind == 3:
            raise Damaged(f"{self.what}: a value of kind 3")
        out, pointer, pieces = bytearray(), first, 0
        while pointer:
            data = self.piece(pointer, where)
            slots = self.file.slots(pointer >> 8)
            if pieces == 0:
                self.tokens[pointer >> 8] = token
                if token != slots.token:
                    report(f"the token {token:#x} is {slots.token:#x} on page {pointer >> 8}")
            elif slots.token and (pointer >> 8) not in self.tokens:
                report(f"page {pointer >> 8} of a chain has the token {slots.token:#x}")
            if len(data) < 5 or len(data) > self.file.format.piece:
                raise Damaged(f"{self.what}: a piece of {len(data)} bytes")
            pointer = u32(data, 0)
            if pointer and len(data) != self.file.format.piece:
                report(f"a piece of {len(data)} bytes in the middle")
            out += data[4:]
            pieces += 1
        if len(out) != length:
            report(f"{len(out)} bytes in the chain for {length}")
        return bytes(out)

    def finish(self):
        for number in sorted(self.owned):
            slots = self.file.slots(number)
            live = 0
            for i, (flags, _, length) in enumerate(slots.rows):
                if flags == 0xC000:
                    if self.file.made and length:
                        self.table.report(f"a deleted piece keeps {length} bytes", number)
                    continue
                live += 1
                if (number << 8 | i) not in self.seen:
                    self.table.report(f"nobody names the piece {i} of {self.what}", number)
            if self.file.made:
                if not live:
                    self.table.report(f"a page of {self.what} has no piece and is not free", number)
                if number in self.free and slots.free < 70:
                    self.table.report(f"{self.what}: a page with {slots.free} free bytes is listed", number)
            if slots.token and number not in self.tokens:
                self.file.note(f"page {number}: a token without a chain")


class Decoder:
    """Values of the rows of one table."""

    def __init__(self, table):
        self.table, self.format = table, table.file.format
        self.long = {c.number: LongPages(table, c) for c in table.columns if c.long}

    def value(self, column, stored, where):
        if stored is None or column.kind == 1:
            return stored
        report = lambda text: self.table.report(f'"{column.name}": {text}', where)
        kind = column.kind
        raw = self.long[column.number].read(stored, where) if column.long else stored
        if column.calculated:
            if len(raw) < 23 or any(raw[:16]) or struct.unpack_from("<I", raw, 16)[0] != len(raw) - 23 or any(raw[-3:]):
                report(f"a calculated value of {len(raw)} bytes: {raw[:24].hex()}")
            return raw
        if kind == EXTENDED_DATE:
            if not EXTENDED.fullmatch(stored):
                report(f"an extended date {stored}")
            return stored
        if kind > EXTENDED_DATE:
            return stored  # nobody knows the type
        if column.long:
            if kind == 11:
                return raw
            units, odd = self.format.text(raw, column)
            if odd:
                report(odd)
            return units
        if kind == 10:
            units, odd = self.format.text(stored, column)
            if odd:
                report(odd)
            if len(units) > column.characters and not column.fixed:
                report(f"a text of {len(units)} characters in a column of {column.characters}")
            if self.table.file.made:
                odd = self.format.packing(stored, units, column)
                if odd:
                    report(odd)
            return units
        if kind in (9, 17):
            if len(stored) > column.length:
                report(f"{len(stored)} bytes in a column of {column.length}")
            return stored
        if len(stored) != {1: 0, 2: 1, 3: 2, 4: 4, 5: 8, 6: 4, 7: 8, 8: 8, 15: 16, 16: 17, 18: 4, 19: 8}[kind]:
            raise Damaged(f'{self.table.name}: "{column.name}" has {len(stored)} bytes')
        if kind == 15:
            return stored
        if kind == 16:
            magnitude = 0
            for part in struct.unpack_from("<IIII", stored, 1):
                magnitude = magnitude << 32 | part
            if stored[0] not in (0, 0x80) or stored[0] and not magnitude:
                report(f"a number with the sign byte {stored[0]:#x}")
            if magnitude >= 10 ** column.sort[0]:
                report(f"{magnitude} has more than {column.sort[0]} digits")
            return bool(stored[0]), magnitude
        value = struct.unpack({2: "<B", 3: "<h", 4: "<i", 5: "<q", 6: "<f", 7: "<d", 8: "<d", 18: "<i", 19: "<q"}[kind], stored)[0]
        if kind in (6, 7, 8) and not math.isfinite(value):
            report(f"the number {value}")
        if kind in (6, 7, 8) and self.table.file.made and value == 0 and math.copysign(1, value) < 0:
            report("minus zero")
        if kind == 8 and not -657435 < value < 2958466:
            report(f"the date {value}")
        return value

    def finish(self):
        for pages in self.long.values():
            pages.finish()
