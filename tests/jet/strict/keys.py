"""Keys of index entries, composed from values; the codes of texts come from the published table of the "General" order."""
import lzma
import os
import struct

_codes = None


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


def text_body(units):
    """The key of a text without its flag and its last 00."""
    table = codes()
    units = units[:255]
    while units and units[-1] == 0x20:
        units = units[:-1]
    inline, weights, flags, specials = bytearray(), None, [], bytearray()
    seen = covered = lead = 0
    for unit in units:
        kind, bytes_, extra, flag, code = table[unit]
        here = seen
        inline += bytes_
        if bytes_:
            seen += 1
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
            covered += 1
        if kind == "international-ext" and flag:
            flags.append(flag)
    out = inline + b"\x01"
    tail = bytes(weights or b"")
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


def text_key(units, descending):
    key = (units, descending)
    if key not in _text_keys:
        body = text_body(units)
        if len(_text_keys) > 200000:
            _text_keys.clear()
        _text_keys[key] = b"\x80" + complement(body + b"\0") + b"\0" if descending else b"\x7f" + body + b"\0"
    return _text_keys[key]


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


def column_key(kind, value, descending):
    """Flag and bytes of one column. The value: None, or as rows.py decodes it."""
    if kind == 1:
        plain = b"\0" if value else b"\xff"
        return b"\x80" + complement(plain) if descending else b"\x7f" + plain
    if value is None:
        return b"\xff" if descending else b"\0"
    flag = b"\x80" if descending else b"\x7f"
    if kind in (10, 12):
        return text_key(value, descending)
    if kind == 9:
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
    elif kind in (3, 4, 5):
        size = {3: 2, 4: 4, 5: 8}[kind]
        plain = (value + (1 << 8 * size - 1)).to_bytes(size, "big")
    elif kind in (6, 7, 8):
        plain = struct.pack(">f" if kind == 6 else ">d", value)
        plain = complement(plain) if plain[0] & 0x80 else bytes([plain[0] | 0x80]) + plain[1:]
    else:
        raise ValueError(f"a column of type {kind} has no keys")
    return flag + (complement(plain) if descending else plain)
