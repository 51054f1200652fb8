"""Pages, row slots and usage maps of a file, read without any help of the engine."""
import struct

from formats import CODE_PAGES, Damaged, Jet3, format_of, u16, u32

LVAL = 0x4C41564C  # "LVAL"
MASK = bytes.fromhex("c7da396b")  # the key over the head of page 0


def keystream(key, count):
    """RC4."""
    box = list(range(256))
    j = 0
    for i in range(256):
        j = (j + box[i] + key[i % len(key)]) & 255
        box[i], box[j] = box[j], box[i]
    out = bytearray()
    i = j = 0
    for _ in range(count):
        i = (i + 1) & 255
        j = (j + box[i]) & 255
        box[i], box[j] = box[j], box[i]
        out.append(box[(box[i] + box[j]) & 255])
    return bytes(out)


def under(stream, data):
    """The data with a stream laid over it, or taken off."""
    return (int.from_bytes(stream, "little") ^ int.from_bytes(data, "little")).to_bytes(len(data), "little")


class Slots:
    """The row slots of one data page: list of (flags, offset, length)."""

    def __init__(self, file, number):
        page = file.page(number)
        if page[0] != 1:
            raise Damaged(f"page {number} should be a data page and is of type {page[0]}")
        self.number, self.page = number, page
        first, above = file.format.slots, file.format.page
        self.free, self.owner, self.token, count = file.format.data_head(page)
        if first + 2 * count > above or count > 255:
            raise Damaged(f"page {number} has {count} slots")
        self.rows = []
        for i in range(count):
            value = u16(page, first + 2 * i)
            offset, flags = value & 0x1FFF, value & 0xE000
            if flags & 0x2000:
                file.report(number, f"slot {i} has the unknown flag 0x2000")
            if offset > above or offset < first + 2 * count:
                raise Damaged(f"page {number}: slot {i} lies at {offset}, the one before at {above}")
            self.rows.append((flags, offset, above - offset))
            above = offset
        self.lowest, self.begin = above, first + 2 * count

    def bytes(self, slot):
        if slot >= len(self.rows):
            raise Damaged(f"page {self.number} has no slot {slot}")
        _, offset, length = self.rows[slot]
        return self.page[offset : offset + length]


class File:
    """One file: bytes, findings, and what each page is for."""

    def __init__(self, path, made):
        with open(path, "rb") as stream:
            self.data = stream.read()
        self.path, self.made = path, made
        self.ace = self.data[4:20] == b"Standard ACE DB\0"
        self.findings, self.notes = [], []
        self.password = ""
        self.format = format_of(self.data)
        size = self.format.page
        if len(self.data) % size or not self.data:
            raise Damaged(f"the length {len(self.data)} is no multiple of {size}")
        self.count, self.bitmap_pages = len(self.data) // size, (size - 4) * 8
        masked = slice(0x18, 0x18 + self.format.mask)
        self.header = self.data[:0x18] + under(keystream(MASK, self.format.mask), self.data[masked]) + self.data[masked.stop : size]
        self.key = u32(self.header, 0x3E)
        self.code_page = u16(self.header, 0x3C)
        if not self.code_page and self.format is Jet3:
            self.code_page = CODE_PAGES.get(u16(self.header, 0x3A), 1252)
        self.decoded = {}
        self.owner = {}
        self.map_rows = {}
        self.map_pages = set()
        self.slot_cache = {}
        self.untold = set()  # pages without a bit in the map of free pages

    def report(self, page, text):
        self.findings.append(f"page {page}: {text}")

    def note(self, text):
        self.notes.append(text)

    def page(self, number):
        if not 0 <= number < self.count:
            raise Damaged(f"page {number} lies outside the file of {self.count} pages")
        page = self.data[number * self.format.page : (number + 1) * self.format.page]
        if not self.key or not number or not any(page):  # a page of zeros was never written
            return page
        if number not in self.decoded:
            self.decoded[number] = under(keystream(struct.pack("<I", self.key ^ number), self.format.page), page)
        return self.decoded[number]

    def slots(self, number):
        if number not in self.slot_cache:
            self.slot_cache[number] = Slots(self, number)
        return self.slot_cache[number]

    def claim(self, number, owner):
        if not 0 < number < self.count:
            self.report(number, f"{owner} names a page outside the file")
            return False
        if number in self.owner:
            self.report(number, f"belongs to {self.owner[number]} and to {owner}")
            return False
        self.owner[number] = owner
        return True

    def check_data_page(self, number, owner):
        """Header and slots of a data page that belongs to the owner (a number)."""
        slots = self.slots(number)
        if slots.page[1] != 1:
            self.report(number, f"the second byte is {slots.page[1]}")
        if slots.owner != owner:
            self.report(number, f"the owner field is {slots.owner:#x} instead of {owner:#x}")
        expected = slots.lowest - slots.begin
        if slots.free != expected:
            self.report(number, f"the free bytes are {slots.free} instead of {expected}")
        if owner != LVAL and slots.token:
            self.report(number, f"bytes 8 to 11 are {slots.token:#x}")
        if self.made and any(slots.page[slots.begin : slots.lowest]):
            self.report(number, "old bytes in the free space")
        return slots

    def map_row(self, pointer, owner):
        """The bytes of a usage map's row; each row may be named once."""
        page, slot = pointer >> 8, pointer & 255
        if pointer in self.map_rows:
            self.report(page, f"the map row {slot} is named by {self.map_rows[pointer]} and by {owner}")
        self.map_rows[pointer] = owner
        slots = self.slots(page)
        row = slots.bytes(slot)
        if slots.rows[slot][0]:
            self.report(page, f"the map row {slot} of {owner} has the flags {slots.rows[slot][0]:#x}")
        if page not in self.map_pages:
            self.map_pages.add(page)
            if page != 1:
                self.claim(page, "usage maps")
                self.check_data_page(page, 0)
        if self.made and len(row) != self.format.map_row:
            self.report(page, f"the map row {slot} of {owner} has {len(row)} bytes")
        return row

    def usage_map(self, pointer, owner, unset=False):
        """The pages of a map as a set, and the first page beyond which everything counts as `unset`."""
        row = self.map_row(pointer, owner)
        where = pointer >> 8
        if len(row) < 5 or row[0] > 1:
            raise Damaged(f"page {where}: the map of {owner} has no known form")
        pages = set()
        if row[0] == 0:
            start = u32(row, 1)
            if start % 8 and not (row[5] & 1 and not any(row[6:])):
                self.report(where, f"the map of {owner} begins at page {start}")
            collect(row[5:], start, pages)
            if unset:
                # What lies before the bits is in use, whoever uses it; behind them there is nothing that the map could tell.
                end = start + 8 * (len(row) - 5)
                self.untold = set(range(0, min(start, self.count))) | set(range(end, max(end, self.count)))
        else:
            if (len(row) - 1) % 4:
                self.report(where, f"the map of {owner} has a broken list")
            for k in range((len(row) - 1) // 4):
                reference = u32(row, 1 + 4 * k)
                if reference == 0 or reference >= self.count:
                    if reference and self.made:
                        self.report(where, f"the map of {owner} names the bitmap page {reference}")
                    if unset:
                        self.untold |= set(range(k * self.bitmap_pages, min((k + 1) * self.bitmap_pages, self.count)))
                    continue
                self.claim(reference, f"the bitmap of {owner}")
                bitmap = self.page(reference)
                if bitmap[:4] != b"\x05\x01\0\0":
                    self.report(reference, f"the bitmap page begins with {bitmap[:4].hex()}")
                collect(bitmap[4:], k * self.bitmap_pages, pages)
        if not unset:
            beyond = sorted(page for page in pages if page >= self.count)
            if beyond:
                self.report(where, f"the map of {owner} has page {beyond[0]} beyond the end of the file")
            if 0 in pages:
                self.report(where, f"the map of {owner} has page 0")
        return pages

    def check_map_pages(self):
        """Each live row of a map page must be a map that somebody names."""
        for page in sorted(self.map_pages):
            slots = self.slots(page)
            live = 0
            for i, (flags, _, length) in enumerate(slots.rows):
                named = (page << 8 | i) in self.map_rows
                if flags == 0xC000:
                    if self.made and length:
                        self.report(page, f"the deleted map row {i} keeps {length} bytes")
                    continue
                live += 1
                if not named:
                    (self.report if self.made else lambda p, t: self.note(f"page {p}: {t}"))(page, f"nobody names the map row {i}")
            if self.made and not live:
                self.report(page, "a map page without maps is not free")

    def check_free_map(self, allowed):
        """The global map: free are exactly the pages that nobody claims."""
        pointer = u32(self.header, 0x18)
        free = self.usage_map(pointer, "the map of free pages", unset=True)
        second = self.usage_map(u32(self.header, 0x1C), "the second map")
        if second:
            self.report(1, "the second map is not empty")
        self.check_map_pages()
        lost = []
        for number in range(self.count):
            claimed = number in (0, 1) or number in self.owner
            if claimed and number in free:
                self.report(number, f"is free and belongs to {self.owner.get(number, 'the frame')}")
            if not claimed and number not in free and number not in self.untold:
                lost.append(number)
        kinds = {}
        for number in lost:
            page = self.page(number)
            kind = "zero" if not any(page) else f"type {page[0]}"
            kinds.setdefault(kind, []).append(number)
        for kind, numbers in kinds.items():
            text = f"{len(numbers)} pages in use belong to nobody ({kind}): {numbers[:12]}"
            # Engines lengthen files by several pages at a time, and pages of the kinds 8 and 9 are not understood.
            if self.made or (kind not in ("zero", "type 8", "type 9") and len(lost) > allowed):
                self.report(numbers[0], text)
            else:
                self.note(text)
        row = self.slots(1).bytes(pointer & 255)
        if row[0] == 0:
            start = u32(row, 1)
            for i in range(max(0, self.count - start), 8 * (len(row) - 5)):
                if not row[5 + i // 8] >> i % 8 & 1:
                    (self.report if self.made else lambda p, t: self.note(t))(1, f"page {start + i} beyond the end of the file is not free")
                    break
        else:
            for k in range((len(row) - 1) // 4):
                reference = u32(row, 1 + 4 * k)
                if not 0 < reference < self.count:
                    continue
                first = max(0, self.count - k * self.bitmap_pages)
                bits = self.page(reference)[4:]
                for i in range(first, self.bitmap_pages):
                    if not bits[i // 8] >> i % 8 & 1:
                        text = f"page {k * self.bitmap_pages + i} beyond the end of the file is not free"
                        (self.report if self.made else lambda p, t: self.note(t))(reference, text)
                        break
        if self.made and self.count > 1 and self.count - 1 in free:
            self.note("the last page of the file is free")

    def check_header(self):
        header = self.header

        def want(at, value, what):
            if header[at : at + len(value)] != value:
                self.report(0, f"{what} at {at:#x} is {header[at:at + len(value)].hex()} instead of {value.hex()}")

        if self.ace:
            if header[0x14] not in (2, 3, 5, 6) or header[0x15] > 1 or any(header[0x16:0x18]):
                self.report(0, f"the version at 0x14 is {header[0x14:0x18].hex()}")
        else:
            want(0, b"\0\x01\0\0Standard Jet DB\0", "the name of the engine")
            want(0x14, struct.pack("<I", self.format.version), "the version")
        want(0x18, struct.pack("<6I", 0x100, 0x101, 2, 3, 4, 5), "the first row pointers and pages")
        if not 1250 <= self.code_page <= 1258:
            self.report(0, f"the code page is {self.code_page}")
        self.password = self.format.check_header(self, want)
        if self.password:
            self.note("there is a password")
        if self.made:
            want(0x3C, struct.pack("<H", 1252), "the code page")
            want(self.format.page - 512, b"\0\x01" * 256, "the commit bytes")
        one = self.check_data_page(1, 1)
        if len(one.rows) != 2 or any(flags for flags, _, _ in one.rows):
            self.report(1, f"has {len(one.rows)} rows")


def collect(bitmap, start, pages):
    for i, byte in enumerate(bitmap):
        if byte:
            for bit in range(8):
                if byte >> bit & 1:
                    pages.add(start + 8 * i + bit)
