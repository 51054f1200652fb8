"""Table definitions and rows."""
import struct

from formats import CODE_PAGES, Damaged, u16, u32

LENGTHS = {1: 1, 2: 1, 3: 2, 4: 4, 5: 8, 6: 4, 7: 8, 8: 8, 15: 16, 16: 17}
COMPLEX, BIG_INTEGER, EXTENDED_DATE = 18, 19, 20  # of .accdb files
LENGTHS |= {COMPLEX: 4, BIG_INTEGER: 8, EXTENDED_DATE: 42}
CALCULATED, HISTORY, OWNER = 0xC0, 0x20, 0x08


class Column:
    """kind, number, variable, again, sort, flags, extra, offset, length, characters as the format has them; code_page: of a text."""

    def __init__(self, file, block, name):
        fields, self.wrong = file.format.column(block, file)
        self.__dict__.update(vars(fields))
        self.block, self.name, self.format = block, name, file.format
        self.fixed = bool(self.flags & 1)
        self.long = self.kind in (11, 12)
        self.calculated = self.extra & CALCULATED == CALCULATED
        self.counts = self.flags & 4 and self.kind != COMPLEX
        self.code_page = u16(self.sort, 2) or CODE_PAGES.get(u16(self.sort, 0), file.code_page)


class Tree:
    def __init__(self, file, block, counts):
        fields, self.wrong = file.format.tree(block)
        self.__dict__.update(vars(fields))
        self.block, self.counts = block, counts
        self.columns = []
        for i in range(10):
            number, order = struct.unpack_from("<HB", block, self.at + 3 * i)
            if number != 0xFFFF:
                self.columns.append((number, order))
        self.unique, self.ignore, self.required = self.flags & 1, self.flags & 2, self.flags & 8


class Index:
    def __init__(self, file, block, name):
        self.block, self.name = block, name
        fields, self.wrong = file.format.index(block)
        self.number, self.tree, self.side, self.partner, self.partner_page, self.updates, self.deletes, self.kind = fields


class Table:
    """The definition that begins on a page, checked as it is read."""

    def __init__(self, file, page, name):
        self.file, self.page, self.name = file, page, name
        self.rows = {}
        self.read_stream()
        self.parse()

    def report(self, text, page=None):
        self.file.report(self.page if page is None else page, f'table "{self.name}": {text}')

    def read_stream(self):
        file = self.file
        first = file.page(self.page)
        length = u32(first, 8)
        stream, number, left = bytearray(), self.page, length
        self.pages = []
        while True:
            page = file.page(number)
            if page[0] != 2 or page[1] != 1 or number in self.pages:
                raise Damaged(f"page {number} is no page of the definition of {self.name}")
            self.pages.append(number)
            file.claim(number, f'the definition of "{self.name}"')
            header = 0 if len(self.pages) == 1 else 8
            part = min(left, file.format.page - header)
            stream += page[header : header + part]
            left -= part
            free = file.format.definition_free(length, part, len(self.pages) == 1)
            if u16(page, 2) != free:
                self.report(f"the free bytes of a definition page are {u16(page, 2)} instead of {free}", number)
            if file.made and any(page[header + part :]):
                file.report(number, "old bytes behind the definition")
            number = u32(page, 4)
            if not number:
                break
            if not left:
                self.report("the definition has a page too many", number)
                break
        if left:
            raise Damaged(f"the definition of {self.name} ends {left} bytes early")
        self.stream = bytes(stream)

    def parse(self):
        s = self.stream
        form = self.file.format
        head, wrong = form.definition(s)
        for text in wrong:
            self.report(text)
        self.row_count, self.last_number, self.kind = head.rows, head.last, head.kind
        if self.kind not in "NS" or (self.kind == "S") != (self.name in form.system_streams):
            self.report(f"the type is {self.kind!r}")
        if len(s) != form.system_streams.get(self.name, len(s)):
            self.report(f"the definition has {len(s)} bytes")
        if self.file.made and any(head.unknown):
            self.report(f"bytes 25 to 39 are {head.unknown.hex()}")
        self.max_columns, self.variable_columns, live, logical, real = head.counts
        self.owned_map, self.free_map = head.owned, head.free
        if live > 255 or logical > 64 or real > 32 or self.max_columns > 255:
            raise Damaged(f"the definition of {self.name} has impossible counts")
        at = form.definition_head
        count_size, column_size, tree_size, index_size = form.blocks
        counts = [form.tree_counts(s, at + count_size * i) for i in range(real)]
        at += count_size * real
        blocks = [s[at + column_size * i : at + column_size * (i + 1)] for i in range(live)]
        at += column_size * live
        self.columns = []
        for block in blocks:
            name, at = form.name_at(s, at, self.file)
            self.columns.append(Column(self.file, block, name))
        self.trees = [Tree(self.file, s[at + tree_size * i : at + tree_size * (i + 1)], counts[i]) for i in range(real)]
        at += tree_size * real
        blocks = [s[at + index_size * i : at + index_size * (i + 1)] for i in range(logical)]
        at += index_size * logical
        self.indexes = []
        for block in blocks:
            name, at = form.name_at(s, at, self.file)
            self.indexes.append(Index(self.file, block, name))
        self.long_maps = {}
        while u16(s, at) != 0xFFFF:
            number, owned, free = struct.unpack_from("<HII", s, at)
            if number in self.long_maps:
                self.report(f"the maps of column {number} stand twice")
            self.long_maps[number] = (owned, free)
            at += 10
        if at + 2 != len(s):
            self.report(f"the definition ends at {at + 2} and says {len(s)}")
        self.by_number = {column.number: column for column in self.columns}
        for column in self.columns:
            if column.calculated:  # a memo's type in the block is that of a text
                column.long = column.number in self.long_maps
        self.check_columns()
        self.check_indexes()

    def check_columns(self):
        system = self.kind == "S"
        names, variables, spans = set(), {}, []
        form = self.file.format
        longest_text, longest_binary = form.longest_text, form.longest_binary
        for c in self.columns:
            what = f'column "{c.name}"'
            if c.kind not in form.kinds or c.calculated and (c.fixed or not self.file.ace):
                self.report(f"{what} is of type {c.kind}, flags {c.flags:#x}, {c.extra:#x}")
            for wrong in c.wrong:
                self.report(f"{what} has {wrong}")
            if c.name.casefold() in names or len(c.name) > 64:
                self.report(f"{what}: the name is there twice or too long")
            names.add(c.name.casefold())
            if c.number >= self.max_columns:
                self.report(f"{what} has the number {c.number} of {self.max_columns}")
            if self.file.made and c.again != (0 if system else c.number):
                self.report(f"{what} has the second number {c.again}")
            if not c.flags & 2 or c.flags & 8:
                self.report(f"{what} has the flags {c.flags:#x}")
            if system != bool(c.flags & 0x10) and (system or self.file.made):
                self.report(f"{what} has the flags {c.flags:#x} in a table of type {self.kind}")
            if not form.column_flags(c.kind, c.flags, self.file.made):
                self.report(f"{what} of type {c.kind} has the flags {c.flags:#x}")
            if c.kind in LENGTHS and c.length != LENGTHS[c.kind] and (c.fixed or self.file.made):
                self.report(f"{what} of type {c.kind} has the length {c.length}")
            longest = None if c.calculated else {9: longest_binary, 10: longest_text}.get(c.kind)
            if longest and (not 0 < c.length <= longest or c.kind == 10 and c.length != c.characters * form.letter):
                self.report(f"{what} of type {c.kind} has the length {c.length}")
            if c.long and not c.calculated and (c.length or c.fixed):
                self.report(f"{what} is long and has the length {c.length}, flags {c.flags:#x}")
            if c.kind == 16 and not c.calculated and not (1 <= c.sort[0] <= 28 and c.sort[1] <= c.sort[0] and (self.file.ace or not any(c.sort[2:]))):
                self.report(f"{what} has the precision {c.sort.hex()}")
            if self.file.made and (c.extra & ~1 or c.extra and c.kind not in (10, 12)):
                self.report(f"{what} has the second flags {c.extra:#x}")
            if c.fixed or c.kind == 1:
                if self.file.made and not c.fixed:
                    self.report(f"{what} is a Yes/No column without the fixed flag")
                if c.kind != 1:
                    spans.append((c.offset, c.offset + c.length, what))
                before = sum(1 for o in self.columns if not o.fixed and o.kind != 1 and o.number < c.number)
                if self.file.made and c.variable < before:
                    self.report(f"{what} counts {c.variable} variable columns before it, there are {before}")
            else:
                if c.variable >= self.variable_columns or c.variable in variables:
                    self.report(f"{what} has the variable place {c.variable} of {self.variable_columns}")
                variables[c.variable] = c.number
                if self.file.made and c.offset:
                    self.report(f"{what} is variable and has the offset {c.offset}")
            if c.long != (c.number in self.long_maps):
                self.report(f"{what}: long value maps are there or not against its type")
        for number in set(self.long_maps) - set(self.by_number):
            self.report(f"long value maps of column {number}, which is not there")
        # The second number is the place in the design: distinct, or 0 everywhere in tables of Access' own. Access counts it from 0 or
        # from 1, and leaves gaps where columns have been moved or dropped.
        places = [c.again for c in self.columns if not c.extra & HISTORY]
        if any(places) and (len(set(places)) != len(places) or self.file.made and max(places) >= self.max_columns) or system and any(places):
            self.report(f"the second numbers are {places} of {self.max_columns}")
        order = [variables[place] for place in sorted(variables)]
        if order != sorted(order):
            self.report("variable places do not rise with the numbers")
        spans.sort()
        for one, two in zip(spans, spans[1:]):
            if two[0] < one[1]:
                self.report(f"{one[2]} and {two[2]} overlap")
        self.fixed_size = max([end for _, end, _ in spans], default=0)
        if self.fixed_size > self.file.format.longest_row:
            self.report(f"the fixed part has {self.fixed_size} bytes")
        numbers = [c.number for c in self.columns]
        by_name = [c.name.lower() for c in self.columns]
        if numbers != sorted(numbers) and by_name != sorted(by_name):
            self.report("columns stand neither by number nor by name") if self.file.made else self.file.note(f"{self.name}: order of columns")
        if sum(1 for c in self.columns if c.counts) > 1:
            self.report("has two counters")

    def check_indexes(self):
        for i, tree in enumerate(self.trees):
            for wrong in tree.wrong:
                self.report(f"tree {i} {wrong}")
            if not tree.columns or len({number for number, _ in tree.columns}) != len(tree.columns):
                self.report(f"tree {i} has the columns {tree.columns}")
            gap = False
            for k in range(10):
                number, order = struct.unpack_from("<HB", tree.block, tree.at + 3 * k)
                if number == 0xFFFF:
                    gap = True
                elif gap or order > 1:
                    self.report(f"tree {i}: column {k} is {number}, order {order}")
                elif number not in self.by_number or self.by_number[number].kind in (11, 17):
                    self.report(f"tree {i} is over column {number}")
            always = self.file.format.tree_flags_always
            if tree.flags & always != always and self.kind == "N" or tree.flags & ~(0x0B | always):
                self.report(f"tree {i} has the flags {tree.flags:#x}")
            if self.file.ace:
                complex_ = any(number in self.by_number and self.by_number[number].kind == COMPLEX for number, _ in tree.columns)
                if any(tree.tail[complex_:]) or complex_ and tree.tail[0] not in (0, 2):
                    self.report(f"tree {i} ends with {tree.tail.hex()}")
            if self.file.made and (tree.unknown or tree.counts[0] or tree.counts[2]):
                self.report(f"tree {i} has unknown bytes {tree.unknown:#x}, counts {tree.counts}")
            if tree.counts[2]:
                self.report(f"tree {i} has the third count {tree.counts[2]}")
            if i not in {index.tree for index in self.indexes}:
                self.report(f"no index uses tree {i}")
        names = [index.name.lower() for index in self.indexes]
        if names != sorted(names) and [n.replace("_", "\x60") for n in names] != sorted(n.replace("_", "\x60") for n in names):
            # Where a name has a character that is no letter, the order is that of the file's texts, which is not looked into here.
            text = f"indexes are not in the order of their names: {[i.name for i in self.indexes]}"
            if self.file.made or all(n.strip(".").replace("_", "").isalnum() for n in names):
                self.report(text)
            else:
                self.file.note(f"{self.name}: {text}")
        if len(set(names)) != len(names) or len({i.number for i in self.indexes}) != len(names):
            self.report("two indexes have one name or number")
        if sum(1 for index in self.indexes if index.kind == 1) > 1:
            self.report("has two primary keys")
        for index in self.indexes:
            what = f'index "{index.name}"'
            for wrong in index.wrong:
                self.report(f"{what} {wrong}")
            if index.tree >= len(self.trees):
                raise Damaged(f"{self.name}: {what} names tree {index.tree}")
            if index.kind > 2 or index.kind == 1 and not self.trees[index.tree].unique:
                self.report(f"{what} is of kind {index.kind} over flags {self.trees[index.tree].flags:#x}")
            if index.kind == 1 and self.kind == "N" and not self.trees[index.tree].required:
                self.report(f"{what} is primary and takes nulls")
            if index.kind == 2:
                if index.side not in (1, 2) or index.partner < 0 or index.updates > 1 or index.deletes > 2:
                    self.report(f"{what}: side {index.side}, partner {index.partner}, cascades {index.updates} {index.deletes}")
                if (index.side == 1) != (index.name.startswith(".r")):
                    self.report(f"{what} is on side {index.side}")
            elif self.file.made and (index.updates, index.deletes) != (4, 4):
                self.report(f"{what} has the cascades {index.updates} {index.deletes}")
            elif index.side or index.partner != -1 or index.partner_page or index.updates not in (0, 4) or index.deletes not in (0, 4):
                self.report(f"{what} is no foreign key: {index.block.hex()}")

    # ----- rows

    def read_rows(self):
        file = self.file
        what = f'the table "{self.name}"'
        self.owned = file.usage_map(self.owned_map, what)
        free = file.usage_map(self.free_map, what + " (room)")
        if not free <= self.owned:
            self.report(f"the room map has pages that the table does not own: {sorted(free - self.owned)[:5]}")
        pointers, moved = {}, {}
        live = 0
        for number in sorted(self.owned):
            if not file.claim(number, what):
                continue
            slots = file.check_data_page(number, self.page)
            if file.made:
                if number in free and slots.free < 70:
                    self.report(f"page {number} with {slots.free} free bytes is listed for new rows")
                if number not in free and slots.free > 371 and len(slots.rows) < 255:
                    self.report(f"page {number} with {slots.free} free bytes is not listed for new rows")
                if all(flags == 0xC000 for flags, _, _ in slots.rows):
                    self.report(f"page {number} has no live row and is not free")
            for i, (flags, _, length) in enumerate(slots.rows):
                here = number << 8 | i
                if flags == 0xC000:
                    if file.made and length:
                        self.report(f"the deleted row {i} of page {number} keeps {length} bytes")
                elif flags == 0x4000:
                    if length < 4:
                        raise Damaged(f"the pointer {i} on page {number} has {length} bytes")
                    pointers[here] = u32(slots.bytes(i), 0)
                elif flags == 0x8000:
                    moved[here] = slots.bytes(i)
                else:
                    self.rows[here] = (slots.bytes(i), number)
        for here, target in pointers.items():
            if target not in moved:
                self.report(f"the pointer {here & 255} on page {here >> 8} leads to no moved row ({target:#x})")
                continue
            self.rows[here] = (moved.pop(target), target >> 8)
        for target in moved:
            self.report(f"nobody points at the moved row {target & 255} on page {target >> 8}")
        live = len(self.rows)
        own = self.name.startswith("MSys")  # Access' own tables are of the usual kind, and their counts go stale too
        if self.kind == "N" and live != self.row_count and (file.made or not own):
            self.report(f"counts {self.row_count} rows, there are {live}")
        elif live != self.row_count:
            (self.report if file.made else lambda t: file.note(f"{self.name}: {t}"))(f"counts {self.row_count} rows, there are {live}")
        self.free_pages = free

    def decode(self, row, page):
        """Number of columns in the row, and for each column number the stored bytes (None: null; Yes/No: the bit)."""
        if len(row) < 2:
            raise Damaged(f"page {page}: a row of {len(row)} bytes")
        form = self.file.format
        count = form.columns_in(row)
        mask_at = len(row) - (count + 7) // 8
        if not 0 < count <= self.max_columns or mask_at < form.row_head:
            raise Damaged(f"page {page}: a row of {count} columns")
        mask = row[mask_at:]

        def bit(number):
            return number < count and mask[number // 8] >> number % 8 & 1

        for number in range(count, 8 * len(mask)):
            if mask[number // 8] >> number % 8 & 1:
                text = f"the mask of a row has bit {number} of {count} columns"
                self.file.note(f"{self.name}: {text}") if self.file.ace and not self.file.made else self.report(text, page)
        variable, offsets, end_of_fixed = 0, [], mask_at
        if self.variable_columns:
            variable, table = form.trailer(row, mask_at)
            if variable > self.variable_columns or table < form.row_head:
                raise Damaged(f"page {page}: a row of {variable} variable columns")
            offsets, wrong = form.offsets(row, mask_at, variable)
            if offsets != sorted(offsets) or offsets[-1] > table:
                raise Damaged(f"page {page}: the offsets of a row are {offsets}, table at {table}")
            if wrong:
                self.report(f"a row of {len(row)} bytes: {wrong}", page)
            if offsets[-1] != table and self.file.made:
                self.report(f"a row has a gap of {table - offsets[-1]} bytes behind its values", page)
            end_of_fixed = offsets[0]
        fixed = max([c.offset + c.length for c in self.columns if c.fixed and c.kind != 1 and c.number < count], default=0)
        if end_of_fixed < form.row_head + fixed:
            self.report(f"the fixed part of a row ends at {end_of_fixed} of {form.row_head + fixed}", page)
        if self.file.made and len(row) > form.longest_row:
            self.report(f"a row of {len(row)} bytes", page)
        values = {}
        used = set()
        for c in self.columns:
            if c.kind == 1:
                values[c.number] = bool(bit(c.number))
                continue
            stored = None
            if c.fixed:
                if bit(c.number):
                    stored = row[form.row_head + c.offset : form.row_head + c.offset + c.length]
                elif self.file.made and c.number < count and any(row[form.row_head + c.offset : form.row_head + c.offset + c.length]):
                    self.report(f'"{c.name}" is null and its place is not empty', page)
            elif c.variable < variable:
                used.add(c.variable)
                piece = row[offsets[c.variable] : offsets[c.variable + 1]]
                if bit(c.number):
                    stored = piece
                elif piece:
                    self.report(f'"{c.name}" is null and has {len(piece)} bytes', page)
            elif bit(c.number):
                self.report(f'"{c.name}" is not null and has no place in the row', page)
            values[c.number] = stored
        for number in range(count):
            if number not in self.by_number and bit(number):
                # Dropping a column does not touch the rows.
                self.file.note(f"{self.name}: a row has the bit of a dropped column")
        return count, values
