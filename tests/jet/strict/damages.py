"""One changed byte in every kind of structure of a sound file: the checker must see each."""
import struct
import tempfile

import strict_check
from formats import Damaged, Jet3
from pages import LVAL
from trees import Node, Walk

# What a map is of, by a word in what it is called.
WHOSE = (("free pages", "free pages"), ("(room)", "pages with room"), ("long values", "long values"), ("tree ", "a tree"))
UNREADABLE = (Damaged, struct.error, IndexError, KeyError, UnicodeDecodeError)


def row_places(file):
    """Of rows of the usual kind: what stands where in their trailers."""
    form = file.format
    for table in file.tables.values():
        for pointer, (row, number) in table.rows.items():
            slots = file.slots(number)
            flags, offset, length = slots.rows[pointer & 255]
            if flags or number != pointer >> 8 or length != len(row):
                continue
            at = number * form.page + offset
            mask_at = length - (form.columns_in(row) + 7) // 8
            yield "the column count of a row", at
            yield "the last byte of a row's mask", at + length - 1
            if not table.variable_columns:
                continue
            variable, begin = form.trailer(row, mask_at)
            yield "the number of variable columns of a row", at + mask_at - form.letter
            yield "the end of a row's values", at + begin
            if form is not Jet3:
                continue
            for k in range((length - 1) // 256):
                where = at + mask_at - 2 - k
                yield "an entry of a jump table" if row[mask_at - 2 - k] != 255 else "a jump that nothing reaches", where


def data_places(file, number):
    slots, page = file.slots(number), number * file.format.page
    whose = {LVAL: "long values", 0: "usage maps"}.get(slots.owner, "rows")
    first = file.format.slots
    for what, at in (("the type", 0), ("the free bytes", 2), ("the owner", 4), ("the number of slots", first - 2), ("the place of slot 0", first),
                     ("the flags of slot 0", first + 1)):
        yield f"{what} of a page of {whose}", page + at
    if slots.lowest > slots.begin:
        yield f"the free space of a page of {whose}", page + slots.begin


def index_places(file, table, position):
    walk = Walk(table, position)
    form = file.format
    waiting = [table.trees[position].root]
    while waiting:
        number = waiting.pop()
        node = Node(walk, number)
        page = number * form.page
        kind = "leaf" if node.leaf else "node"
        for what, at in form.index_fields:
            if what == "prefix" and len(node.entries) == 1:
                continue  # it says nothing there
            yield f"the {what} of a {kind}" + (" with a prefix" if node.prefix else ""), page + at
        if not node.entries:
            continue
        size = len(node.entries[0])
        yield f"the bits of the ends in a {kind}", page + form.index_bits + size // 8
        yield f"the first byte of a key in a {kind}", page + form.entries
        yield f"the last byte of a key in a {kind}", page + form.entries + size - (9 if not node.leaf else 5)
        yield f"the row of an entry in a {kind}", page + form.entries + size - (5 if not node.leaf else 1)
        if not node.leaf:
            yield "the child of an entry", page + form.entries + size - 1
            waiting += [struct.unpack(">I", raw[-4:])[0] for raw in node.entries] + [node.tail]


def definition_places(file, table):
    form, page = file.format, table.page * file.format.page
    head = form.definition_head
    count_size, column_size, tree_size, index_size = form.blocks
    columns = head + count_size * len(table.trees)
    for what, at in form.definition_fields:
        yield f"the {what} of a definition", page + at
    if len(table.pages) > 1 or columns + column_size > form.page:
        return
    for what, at in form.column_fields:
        yield f"the {what} of a column", page + columns + at
    names = columns + column_size * len(table.columns)
    yield "the length of a name", page + names
    trees = names + sum((len(c.name) + 1) * form.letter for c in table.columns)
    if table.trees and trees + tree_size + index_size < form.page:
        for what, at in form.tree_fields:
            yield f"the {what} of a tree", page + trees + at
        for what, at in form.logical_fields:
            yield f"the {what} of an index", page + trees + tree_size * len(table.trees) + at
    if table.long_maps:
        yield "the map of long values", page + len(table.stream) - 2 - 10 + 2
        yield "the mark at the end of a definition", page + len(table.stream) - 1


def map_places(file):
    size = file.format.page
    for pointer, owner in file.map_rows.items():
        slots = file.slots(pointer >> 8)
        _, offset, length = slots.rows[pointer & 255]
        row, at = slots.bytes(pointer & 255), (pointer >> 8) * size + offset
        if not any(row[1:]):
            continue  # nothing in it
        whose = next((name for word, name in WHOSE if word in owner), "a table")
        yield f"the form of the map of {whose}", at
        if row[0] == 0:
            yield f"the begin of the map of {whose}", at + 1
            yield f"a bit of the map of {whose}", at + 5 + next((i for i, byte in enumerate(row[5:]) if byte), 0)
        else:
            yield f"a reference of the map of {whose}", at + 1
    for number, owner in file.owner.items():
        if owner.startswith("the bitmap"):
            yield "the head of a page of bits", number * size
            yield "a bit of a page of bits", number * size + 4 + file.count // 16


def places(file):
    """(what, offset in the file) of each kind of structure, several of one kind."""
    form = file.format
    yield from (("the name of the engine", 4), ("the version", 0x14), ("the row of the map of free pages", 0x18), ("the gap of the header", 0x31),
                ("the code page", 0x3C), ("the empty part of the header", 0x200), ("the commit bytes", form.page - 512))
    yield from row_places(file)
    for number, slots in list(file.slot_cache.items()):
        if slots.rows:
            yield from data_places(file, number)
    for table in file.tables.values():
        yield from definition_places(file, table)
        for position in range(len(table.trees)):
            yield from index_places(file, table, position)
        for column in table.columns:
            if not column.long:
                continue
            for pointer, (row, number) in table.rows.items():
                stored = table.decode(row, number)[1][column.number]
                slots = file.slots(number)
                if stored is None or number != pointer >> 8 or slots.rows[pointer & 255][0]:
                    continue
                at = number * form.page + slots.rows[pointer & 255][1] + row.index(stored)
                kind = {2: "in its row", 1: "on a page", 0: "in a chain"}[stored[3] >> 6]
                yield f"the length of a long value {kind}", at
                yield f"the kind of a long value {kind}", at + 3
                yield f"the pointer of a long value {kind}", at + 4
                yield f"the last word of a long value {kind}", at + 8
                if stored[3] >> 6 == 0:
                    first = struct.unpack_from("<I", stored, 4)[0]
                    yield "the pointer of a piece", (first >> 8) * form.page + file.slots(first >> 8).rows[first & 255][1]
    yield from map_places(file)
    at = file.data.find(form.properties)
    while at >= 0:
        yield "the mark of a property map", at
        yield "the length of a block of a property map", at + 4
        yield "the kind of a block of a property map", at + 8
        yield "the length of a name in a property map", at + 10
        at = file.data.find(form.properties, at + 1)


def unseen(path, wanted=None):
    """What of a file made by the engine can be damaged unseen; and the kinds that were tried. wanted: kinds whose names have that."""
    sound = strict_check.run(path, True)
    if sound.findings or sound.key:
        raise Damaged(f"{path} is not sound or encoded")
    kinds = {}
    for what, at in places(sound):
        kinds.setdefault(what, []).append(at)
    missed = []
    with tempfile.NamedTemporaryFile(suffix=".mdb") as changed:
        for what, found in sorted(kinds.items()):
            if wanted and wanted not in what:
                continue
            at = found[len(found) // 2]
            for bit in (1, 2, 0x40):
                damaged = bytearray(sound.data)
                damaged[at] ^= bit
                changed.seek(0)
                changed.write(damaged)
                changed.flush()
                try:
                    if not strict_check.run(changed.name, True).findings:
                        missed.append(f"{what} at {at:#x}, bit {bit:#x}")
                except UNREADABLE:
                    pass
    return missed, {what for what in kinds if not wanted or wanted in what}
