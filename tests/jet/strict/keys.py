"""Keys of index entries, composed from values; the codes of texts come from the published tables of the "General" orders."""
import lzma
import os
import struct

from formats import Jet3, code_page, u16

_codes = None
_codes_97 = None


def codes():
    """For each UTF-16 unit: (kind, inline bytes, extra bytes, flag, code)."""
    global _codes
    if _codes is None:
        path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "general_order.tsv.xz")
        _codes = []
        with lzma.open(path, "rt", encoding="ascii") as lines:
            next(lines)
            for line in lines:
                _, kind, inline, extra, flag, code = (line.rstrip("\n").split("\t") + [""] * 6)[:6]
                _codes.append((kind, bytes.fromhex(inline), bytes.fromhex(extra), int(flag or 0), bytes.fromhex(code)))
    return _codes


def codes_97():
    """For each byte of Access 97 texts: (codes, how many of them are counted, weight)."""
    global _codes_97
    if _codes_97 is None:
        path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "access_97_order.tsv")
        with open(path, encoding="ascii") as lines:
            next(lines)
            fields = [line.rstrip("\n").split("\t") for line in lines]
        _codes_97 = [(bytes.fromhex(codes_), int(counted), int(weight or "0", 16)) for _, codes_, counted, weight in fields]
    return _codes_97


class UnknownOrder(Exception):
    """The order of a column, or the place of a character in it, is not published: keys cannot be compared."""


LETTERS = set(bytes.fromhex("4a4c4d4f51535557595b5c5e6062646668696b6d6f7173757678"))
GENERAL, FRENCH, TURKISH, SWEDISH, SPANISH, TRADITIONAL, POLISH, KOREAN, CHINESE, TAIWAN = (
    0x0409, 0x040C, 0x041F, 0x041D, 0x0C0A, 0x040A, 0x0415, 0x0412, 0x0804, 0x0404)
NO_PLACE = {
    TURKISH: "çÇğĞöÖşŞüÜİÌÍÎÏìíîï",
    SWEDISH: "åÅäÄöÖæÆøØüÜðÐþÞ",
}


def elements(units, order):
    """The texts' elements as (kind, inline, extra, flag, code, positions)."""
    table = codes()
    at = 0
    while at < len(units):
        unit = units[at]
        kind, inline, extra, flag, code = table[unit]
        if order not in (GENERAL, FRENCH):
            highest = {TURKISH: 0x250, SWEDISH: 0x100}.get(order, 0x80)
            if unit == 0 or unit >= highest or chr(unit) in NO_PLACE.get(order, ""):
                raise UnknownOrder(f"U+{unit:04X} in the order {order:04X}")
        if order == TURKISH and unit in (0x49, 0x131):
            kind, inline, extra = "simple", b"\x58\x06", b""
        if order == SWEDISH and unit in (0x57, 0x77):
            kind, inline, extra = "international", b"\x71", b"\x03"
        if order == KOREAN and chr(unit | 0x20) in "abcdefghijklmnopqrstuvwxyz":
            inline = bytes([inline[0] + 0x72])
        if order == TRADITIONAL:
            pair = "".join(chr(u | 0x20) for u in units[at : at + 2])
            if pair == "ll":
                raise UnknownOrder("ll in traditional Spanish")
            if pair == "ch":
                inline = b"\x4e\x04"
                at += 1
        at += 1
        expands = len(inline) > 1 and set(inline) <= LETTERS
        yield kind, inline, extra, flag, code, len(inline) if expands else 1 if inline else 0


def text_body(units, order=GENERAL, once=False):
    """The key of a text without its flag and its last 00. once: as some programs write it, with one position for each character."""
    units = units[:255]
    while units and units[-1] == 0x20:
        units = units[:-1]
    inline, weights, flags, specials = bytearray(), None, [], bytearray()
    seen = covered = lead = 0
    for kind, bytes_, extra, flag, code, positions in elements(units, order):
        here = seen
        inline += bytes_
        positions = min(positions, 1) if once else positions
        seen += positions
        if kind == "unprintable":
            position = here if weights is None else len(weights) + here - covered - lead
            specials += struct.pack(">H", (0x8000 | 7 + 4 * position) & 0xFFFF) + b"\x06" + code
            continue
        if kind == "unprintable-ext":
            weights = bytearray() if weights is None else weights
            while covered < here:
                weights.append(2)
                covered += 1
            value = extra[0] if extra else code[0]
            if weights:
                weights[-1] = (weights[-1] + value) & 255
            else:
                weights.append(value)
                lead = 1
            continue
        if extra:
            weights = bytearray() if weights is None else weights
            while covered < here:
                weights.append(2)
                covered += 1
            weights += extra
            covered += len(extra) if positions > 1 else 1
        if kind == "international-ext" and flag:
            flags.append(flag)
    out = inline + b"\x01"
    tail = bytes(weights or b"")
    if order == FRENCH and weights is not None:
        tail = (tail + b"\x02" * (seen - covered))[::-1]
    while tail and tail[-1] <= 2:
        tail = tail[:-1]
    out += tail
    if flags or specials:
        out += b"\x01\x01"
        if flags:
            while flags and flags[-1] == 3:
                flags.pop()
            for i in range(0, len(flags), 3):
                three = (flags[i : i + 3] + [0, 0])[:3]
                out.append(0x80 | three[0] << 4 | three[1] << 2 | three[2])
            out += b"\xff\x02\x80\xff\x80"
            if specials:
                out.append(0xFF)
        if specials:
            out += b"\x01" + specials
    return bytes(out)


def complement(data):
    return bytes(byte ^ 255 for byte in data)


_text_keys = {}


def text_key(units, descending, order=GENERAL, once=False):
    key = (units, descending, order, once)
    if key not in _text_keys:
        body = text_body(units, order, once)
        if len(_text_keys) > 200000:
            _text_keys.clear()
        _text_keys[key] = b"\x80" + complement(body + b"\0") + b"\0" if descending else b"\x7f" + body + b"\0"
    return _text_keys[key]


def text_body_97(raw):
    """The key of an Access 97 text without its flag: codes of its bytes, then 00 or a row of half bytes, the first and the last of them 0."""
    codes_, halves, pending = bytearray(), [0], 0
    for byte in raw[:255].rstrip(b" "):
        inline, counted, weight = codes_97()[byte]
        codes_ += inline
        if weight:
            halves += [2] * pending + [weight]
            pending = 0
        else:
            pending += counted
    if len(halves) == 1:
        return bytes(codes_) + b"\0"
    halves += [0] * (1 + (len(halves) + 1) % 2)
    return bytes(codes_) + bytes(high << 4 | low for high, low in zip(halves[::2], halves[1::2]))


def text_key_97(units, descending, column):
    language, page = u16(column.sort, 0), u16(column.sort, 2)
    if language != GENERAL or page != 1252:
        raise UnknownOrder(f"the order {language:04X} of Access 97, code page {page}")
    body = text_body_97(bytes(code_page(page)[1][unit] for unit in units))
    return b"\x80" + complement(body) if descending else b"\x7f" + body


def binary_groups(data, descending):
    out = bytearray()
    for at in range(0, len(data), 8):
        group = data[at : at + 8]
        last = at + 8 >= len(data)
        padded = group.ljust(8, b"\0")
        count = len(group) if last else 9
        if descending:
            padded = complement(padded)
            count = count ^ 255 if last else 9
        out += padded + bytes([count])
    return bytes(out)


def order_of(column):
    """The order of a text column by language and version. Version 1 and languages without published keys raise UnknownOrder."""
    language, version = column.sort[0] | column.sort[1] << 8, column.sort[3]
    if version or language not in (GENERAL, FRENCH, TURKISH, SWEDISH, SPANISH, TRADITIONAL, POLISH, KOREAN, CHINESE, TAIWAN):
        raise UnknownOrder(f"the order {language:04X}, version {version}")
    return language


def column_key(kind, value, descending, column=None, once=False):
    """Flag and bytes of one column. The value: None, or as values.py decodes it; without a column texts go in the General order."""
    if kind == 1:
        plain = b"\0" if value else b"\xff"
        return b"\x80" + complement(plain) if descending else b"\x7f" + plain
    if value is None:
        return b"\xff" if descending else b"\0"
    flag = b"\x80" if descending else b"\x7f"
    if kind in (10, 12) and column and column.format is Jet3:
        return text_key_97(value, descending, column)
    if kind in (10, 12):
        return text_key(value, descending, order_of(column) if column else GENERAL, once)
    if kind in (9, 20):
        return flag + binary_groups(value, descending)
    if kind == 15:
        ordered = value[3::-1] + value[5:3:-1] + value[7:5:-1] + value[8:]
        return flag + binary_groups(ordered, descending)
    if kind == 16:
        negative, magnitude = value
        body = magnitude.to_bytes(16, "big")
        return flag + (b"\0" if negative else b"\xff") + (complement(body) if negative != descending else body)
    if kind == 2:
        plain = bytes([value])
    elif kind in (3, 4, 5, 18, 19):
        size = {3: 2, 4: 4, 5: 8, 18: 4, 19: 8}[kind]
        plain = (value + (1 << 8 * size - 1)).to_bytes(size, "big")
    elif kind in (6, 7, 8):
        plain = struct.pack(">f" if kind == 6 else ">d", value)
        plain = complement(plain) if plain[0] & 0x80 else bytes([plain[0] | 0x80]) + plain[1:]
    else:
        raise UnknownOrder(f"a column of type {kind} has no keys that are known")
    return flag + (complement(plain) if descending else plain)
