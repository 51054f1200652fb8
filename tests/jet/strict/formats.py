"""What the formats differ in: Jet 4 (Access 2000 to 2003), .accdb, which is Jet 4 with more types, and Jet 3 (Access 97). The walk over a file stands elsewhere, once.

Each format has the same attributes and functions. Texts become tuples of UTF-16 units in both: those of Jet 3 by their column's code page,
in which each byte stands for one character and the bytes without one for the control character of their number.
"""
import struct
from types import SimpleNamespace


class Damaged(Exception):
    """Something that makes reading on impossible."""


def u16(data, at):
    return struct.unpack_from("<H", data, at)[0]


def u32(data, at):
    return struct.unpack_from("<I", data, at)[0]


def i32(data, at):
    return struct.unpack_from("<i", data, at)[0]


def units_of(raw):
    return struct.unpack(f"<{len(raw) // 2}H", raw)


def decompress(raw):
    """The units of a stored Jet 4 text, and what is odd about it."""
    if raw[:2] != b"\xff\xfe":
        return units_of(raw[: len(raw) & ~1]), "an odd length" if len(raw) % 2 else None
    units, at, narrow, odd = [], 2, True, None
    while at < len(raw):
        if raw[at] == 0:
            narrow = not narrow
            at += 1
        elif narrow:
            units.append(raw[at])
            at += 1
        else:
            if at + 1 >= len(raw):
                odd = "half a unit at the end"
                break
            units.append(raw[at] | raw[at + 1] << 8)
            at += 2
    if len(raw) == 2:
        odd = "nothing behind the mark"
    return tuple(units), odd


_pages = {}


def code_page(number):
    """The 256 units of a code page, and the bytes by unit."""
    if number not in _pages:
        units = []
        for byte in range(256):
            try:
                decoded = bytes([byte]).decode(f"cp{number}")
            except (LookupError, UnicodeDecodeError):
                decoded = chr(byte)
            units.append(ord(decoded) if len(decoded) == 1 else byte)
        _pages[number] = units, {unit: byte for byte, unit in enumerate(units)}
    return _pages[number]


# The code pages of languages whose columns or files name none.
CODE_PAGES = {0x041F: 1254, 0x0415: 1250, 0x0405: 1250, 0x040E: 1250, 0x0419: 1251, 0x0408: 1253, 0x040D: 1255, 0x0401: 1256}


class Jet4:
    version, page, mask, name = 1, 4096, 128, "JET4"
    slots, map_row, longest_row = 14, 69, 4060
    piece = 4076  # of a long value on a page of its own; four bytes less in a chain
    longest_text, longest_binary = 510, 510
    index_bits, entries = 27, 480
    kinds = frozenset({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15, 16, 17})
    system_streams = {"MSysObjects": 1050, "MSysACEs": 335, "MSysQueries": 525, "MSysRelationships": 813}
    tree_flags_always = 0x80
    row_head = 2
    properties = b"MR2\0"
    clear_accounts = False
    queries_have_extra, system_by_number = True, False
    definition_head = 63
    # Bytes of the blocks of a definition: counts of a tree, column, tree, index.
    blocks = 12, 25, 52, 28
    letter = 2  # bytes of a name's letter, of its length, and of the counts in rows
    # Fields by name and offset in their page or block, for those who damage them.
    index_fields = (("free bytes", 2), ("owner", 4), ("page before", 12), ("page behind", 16), ("tail", 20), ("prefix", 24), ("level", 26))
    definition_fields = (("free bytes", 2), ("length", 8), ("rows", 16), ("type", 40), ("largest number of columns", 41), ("variable columns", 43),
                         ("columns", 45), ("indexes", 47), ("trees", 51), ("map of pages", 55), ("map of pages with room", 59))
    column_fields = (("type", 0), ("magic", 1), ("number", 5), ("flags", 15), ("length", 23))
    tree_fields = (("column", 4), ("order", 6), ("map", 34), ("root", 38), ("flags", 46))
    logical_fields = (("magic", 0), ("number", 4), ("tree", 8), ("side", 12), ("partner", 13), ("kind", 23))

    @staticmethod
    def data_head(page):
        """Free bytes, owner, token of a chain, number of slots."""
        return struct.unpack_from("<HIIH", page, 2)

    @staticmethod
    def index_head(page):
        """Free bytes, owner, zero, previous, next, tail, prefix, level."""
        return struct.unpack_from("<HIIIIIHB", page, 2)

    @staticmethod
    def definition_free(length, part, first):
        """What stands in the free bytes of a definition's page; part: bytes of the definition on it."""
        return max(0, 4096 - 8 - length if first else 4096 - 16 - part)

    @staticmethod
    def definition(s):
        """The fields of a definition's head, and what is wrong with it."""
        wrong = [] if u32(s, 12) == 1625 else [f"the magic is {u32(s, 12)}"]
        if s[24] != 1:
            wrong.append(f"the counter flag is {s[24]}")
        return SimpleNamespace(rows=u32(s, 16), last=i32(s, 20), kind=chr(s[40]), counts=struct.unpack_from("<HHHII", s, 41), owned=u32(s, 55),
                               free=u32(s, 59), unknown=s[25:40]), wrong

    @staticmethod
    def name_at(stream, at, file):
        size = u16(stream, at)
        raw = stream[at + 2 : at + 2 + size]
        if size % 2 or len(raw) != size or not size:
            raise Damaged("a name of a definition is broken")
        return raw.decode("utf-16-le"), at + 2 + size

    @staticmethod
    def tree_counts(stream, at):
        return struct.unpack_from("<III", stream, at)

    @staticmethod
    def column(block, file):
        kind, magic, number, variable, again = struct.unpack_from("<BIHHH", block, 0)
        rest, offset, length = struct.unpack_from("<IHH", block, 17)
        wrong = [f"the magic {magic}"] if magic != 1625 else []
        if rest:
            wrong.append(f"in bytes 17 to 20 {rest:#x}")
        if kind in (10, 12) and block[13]:
            wrong.append(f"the order {block[11:15].hex()}")
        return SimpleNamespace(kind=kind, number=number, variable=variable, again=again, sort=block[11:15], flags=block[15], extra=block[16],
                               offset=offset, length=length, characters=length // 2), wrong

    @staticmethod
    def column_flags(kind, flags, made):
        """False where a type cannot have such flags."""
        return not (flags & 4 and kind != 4 or flags & 0x40 and kind != 15 or flags & 0x80 and kind != 12)

    @staticmethod
    def tree(block):
        """Where the ten columns stand, the map, the root, flags, what is unknown, and what is wrong."""
        map_, root, unknown = struct.unpack_from("<III", block, 34)
        wrong = [f"has the magic {u32(block, 0)}"] if u32(block, 0) != 1923 else []
        if any(block[47:52]):
            wrong.append(f"ends with {block[47:52].hex()}")
        return SimpleNamespace(at=4, map=map_, root=root, unknown=unknown, flags=block[46], tail=block[47:52]), wrong

    @staticmethod
    def index(block):
        """Number, tree, side, partner, its page, cascades (two), type; and what is wrong."""
        magic, *fields, rest = struct.unpack("<IIIBiIBBBI", block)
        return fields, [f"has the magic {magic}, rest {rest}"] if magic != 1625 or rest else []

    @staticmethod
    def trailer(row, mask_at):
        """Number of variable columns of a row, and where the table of their offsets begins."""
        variable = u16(row, mask_at - 2)
        return variable, mask_at - 4 - 2 * variable

    @staticmethod
    def offsets(row, mask_at, variable):
        """Begin of each variable column and end of the last, and what is wrong."""
        return [u16(row, mask_at - 4 - 2 * k) for k in range(variable + 1)], None

    @staticmethod
    def columns_in(row):
        return u16(row, 0)

    @staticmethod
    def text(raw, column):
        """The units of a stored text, and what is odd about it."""
        return decompress(raw)

    @staticmethod
    def packing(raw, units, column):
        """What is wrong with how the engine has stored a text."""
        packed = raw[:2] == b"\xff\xfe"
        wide = any(unit == 0 or unit > 255 for unit in units)
        if packed != (bool(column.extra & 1) and len(units) >= 3 and not wide) and not (units and units[0] == 0xFEFF):
            return f"{'packed' if packed else 'plain'}: {len(units)} characters, flag {column.extra}"
        return None

    @staticmethod
    def property_text(raw, file):
        return raw.decode("utf-16-le")

    odd_property_text = False

    @staticmethod
    def check_header(file, want):
        """Fields of page 0 beyond those that both formats have; the password."""
        header = file.header
        want(0x30, bytes(12), "the gap")
        want(0x6C, bytes(2), "the gap")
        if file.made:
            want(0x6E, b"\x09\x04\0\0", "the text order")
        want(0x7A, bytes(30), "the gap")
        want(0x98, struct.pack("<I", 1620), "the constant")
        want(0x9C, b"4.0\0", "the version's text")
        want(0xA0, bytes(0xE00 - 0xA0), "the empty part")
        created = struct.unpack_from("<d", header, 0x72)[0]
        if not 36000 < created < 60000:
            file.report(0, f"the file was made on day {created}")
            return ""
        day = struct.pack("<i", int(created)) * 10
        return bytes(a ^ b for a, b in zip(day, header[0x42:0x6A])).decode("utf-16-le").rstrip("\0")

    @staticmethod
    def identity(header):
        """What a compacted copy keeps of page 0."""
        return header[0x3C:0x3E] + header[0x42:0x6E] + header[0x72:0x7A]


class Ace(Jet4):
    kinds = frozenset(range(1, 256))  # a test file has types that nobody knows

    @staticmethod
    def column_flags(kind, flags, made):
        return not (flags & 4 and kind not in (4, 18) or flags & 0x40 and kind != 15 or flags & 0x80 and kind != 12)

    @staticmethod
    def tree(block):
        fields, wrong = Jet4.tree(block)
        return fields, [text for text in wrong if not text.startswith("ends")]  # that depends on its columns


class Jet3:
    version, page, mask, name = 0, 2048, 126, "JET3"
    slots, map_row, longest_row = 10, 133, 2012
    piece = 2036
    longest_text, longest_binary = 255, 255
    index_bits, entries = 22, 248
    kinds = frozenset({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 15})
    system_streams = {"MSysObjects": 708, "MSysACEs": 223, "MSysQueries": 319, "MSysRelationships": 526}
    tree_flags_always = 0
    row_head = 1
    properties = b"KKD\0"
    clear_accounts = True
    queries_have_extra, system_by_number = False, True
    definition_head = 43
    blocks = 8, 18, 39, 20
    letter = 1
    index_fields = (("free bytes", 2), ("owner", 4), ("page before", 8), ("page behind", 12), ("tail", 16), ("prefix", 20), ("level", 21))
    definition_fields = (("free bytes", 2), ("length", 8), ("rows", 12), ("type", 20), ("largest number of columns", 21), ("variable columns", 23),
                         ("columns", 25), ("indexes", 27), ("trees", 31), ("map of pages", 35), ("map of pages with room", 39))
    column_fields = (("type", 0), ("number", 1), ("order", 7), ("flags", 13), ("length", 16))
    tree_fields = (("column", 0), ("order", 2), ("map", 30), ("root", 34), ("flags", 38))
    logical_fields = (("number", 0), ("tree", 4), ("side", 8), ("partner", 9), ("kind", 19))

    @staticmethod
    def data_head(page):
        free, owner, count = struct.unpack_from("<HIH", page, 2)
        return free, owner, 0, count

    @staticmethod
    def index_head(page):
        free, owner, previous, next_, tail, prefix, level = struct.unpack_from("<HIIIIBB", page, 2)
        return free, owner, 0, previous, next_, tail, prefix, level

    @staticmethod
    def definition_free(length, part, first):
        return u16(b"VC", 0)

    @staticmethod
    def definition(s):
        return SimpleNamespace(rows=u32(s, 12), last=i32(s, 16), kind=chr(s[20]), counts=struct.unpack_from("<HHHII", s, 21), owned=u32(s, 35),
                               free=u32(s, 39), unknown=b""), []

    @staticmethod
    def name_at(stream, at, file):
        size = stream[at]
        raw = stream[at + 1 : at + 1 + size]
        if len(raw) != size or not size:
            raise Damaged("a name of a definition is broken")
        units = code_page(file.code_page)[0]
        return "".join(chr(units[byte]) for byte in raw), at + 1 + size

    @staticmethod
    def tree_counts(stream, at):
        return (*struct.unpack_from("<II", stream, at), 0)

    @staticmethod
    def column(block, file):
        kind, number, variable, again, second = struct.unpack_from("<BHHHH", block, 0)
        flags, offset, length = struct.unpack_from("<BHH", block, 13)
        # Before language and code page as in the header: 1 in the files of later releases, 0 in those of earlier ones.
        wrong = [f"in bytes 7 and 8 {second}, the header has {u16(file.header, 0x38)}"] if second != u16(file.header, 0x38) else []
        return SimpleNamespace(kind=kind, number=number, variable=variable, again=again, sort=block[9:13], flags=flags, extra=0, offset=offset,
                               length=length, characters=length), wrong

    @staticmethod
    def column_flags(kind, flags, made):
        # 0x40 stands on columns of several types in real files, what for is not known.
        return not (flags & 4 and kind != 4 or flags & 0x80 and kind != 12 or flags & 0x40 and made)

    @staticmethod
    def tree(block):
        map_, root = struct.unpack_from("<II", block, 30)
        return SimpleNamespace(at=0, map=map_, root=root, unknown=0, flags=block[38]), []

    @staticmethod
    def index(block):
        return list(struct.unpack("<IIBiIBBB", block)), []

    @staticmethod
    def trailer(row, mask_at):
        variable = row[mask_at - 1]
        return variable, mask_at - 2 - (len(row) - 1) // 256 - variable

    @staticmethod
    def offsets(row, mask_at, variable):
        # The low bytes; the jump table says from which offset on 256 more are to be added, FF where none is so far.
        count = (len(row) - 1) // 256
        jumps = [row[mask_at - 2 - k] for k in range(count)]
        offsets = [row[mask_at - 2 - count - k] + 256 * sum(jump <= k for jump in jumps) for k in range(variable + 1)]
        wanted = [next((k for k, offset in enumerate(offsets) if offset >= 256 * j), 255) for j in range(1, count + 1)]
        return offsets, f"the jump table is {jumps} instead of {wanted}" if jumps != wanted else None

    @staticmethod
    def columns_in(row):
        return row[0]

    @staticmethod
    def text(raw, column):
        units = code_page(column.code_page)[0]
        return tuple(units[byte] for byte in raw), None

    @staticmethod
    def packing(raw, units, column):
        return None

    @staticmethod
    def property_text(raw, file):
        units = code_page(file.code_page)[0]
        return "".join(chr(units[byte]) for byte in raw)

    odd_property_text = True

    @staticmethod
    def check_header(file, want):
        header = file.header
        want(0x30, bytes(8), "the gap")
        if u16(header, 0x38) > 1:
            file.report(0, f"the word at 0x38 is {u16(header, 0x38)}")
        if file.made:
            want(0x3A, b"\x09\x04", "the text order")
        want(0x58, bytes(0x600 - 0x58), "the empty part")
        raw = header[0x42:0x56]
        password = raw.rstrip(b"\0")
        if 0 in password:
            file.report(0, f"the password is {raw.hex()}")
        return password.decode(f"cp{file.code_page}", "replace")

    @staticmethod
    def identity(header):
        return header[0x38:0x3E] + header[0x42:0x58]


def format_of(data):
    """The format of a file by its first page; what is neither is read as Jet 4 and told by its version."""
    if data[4:20] == b"Standard ACE DB\0":
        return Ace
    return Jet3 if len(data) > 0x18 and u32(data, 0x14) == Jet3.version else Jet4
