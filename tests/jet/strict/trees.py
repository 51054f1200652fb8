"""Index pages: shape of the trees, and their entries against keys recomputed from the rows."""
import struct

from keys import UnknownOrder, column_key
from formats import Damaged


class Node:
    def __init__(self, walk, number):
        page = walk.file.page(number)
        self.number, self.leaf = number, page[0] == 4
        report = lambda text: walk.report(text, number)
        begin, room = walk.file.format.entries, walk.room
        if page[0] not in (3, 4) or page[1] != 1:
            raise Damaged(f"page {number} is no index page: {page[:2].hex()}")
        self.free, self.owner, self.zero, self.previous, self.next, self.tail, self.prefix, self.level = walk.file.format.index_head(page)
        if self.owner != walk.table.page or self.zero:
            report(f"owner {self.owner}, bytes 8 to 11 {self.zero:#x}")
        mask = int.from_bytes(page[walk.file.format.index_bits : begin], "little")
        ends = []
        while mask:
            low = mask & -mask
            ends.append(low.bit_length() - 1)
            mask ^= low
        used = ends[-1] if ends else 0
        if ends and (ends[0] == 0 or used > room):
            raise Damaged(f"page {number}: entries end at {ends[:1]} and {used}")
        if self.free != room - used:
            report(f"the free bytes are {self.free} instead of {room - used}")
        if walk.file.made and any(page[begin + used :]):
            report("old bytes behind the entries")
        start, self.entries, first = begin, [], None
        trailer = 4 if self.leaf else 8
        for end in ends:
            raw = page[start : begin + end]
            if first is None:
                first = raw
                if self.prefix > max(0, len(raw) - trailer + 3):
                    raise Damaged(f"page {number}: a prefix of {self.prefix} bytes in an entry of {len(raw)}")
            else:
                raw = first[: self.prefix] + raw
            if len(raw) <= trailer:
                raise Damaged(f"page {number}: an entry of {len(raw)} bytes")
            self.entries.append(raw)
            start = begin + end
        if self.leaf and (self.tail or self.level):
            report(f"a leaf with the tail {self.tail}, level {self.level}")
        if not ends and self.prefix:
            report(f"an empty page with a prefix of {self.prefix}")
        if not self.leaf and not self.entries and not (self.tail and not walk.file.made):
            report("a node without entries")


class Walk:
    def __init__(self, table, position):
        self.table, self.file, self.position = table, table.file, position
        self.tree = table.trees[position]
        self.room = self.file.format.page - self.file.format.entries
        self.names = [index.name for index in table.indexes if index.tree == position]

    def report(self, text, page):
        self.table.report(f"tree {self.position} {self.names}: {text}", page)

    def pages(self):
        """Walks the tree from the root; the leaves in order."""
        self.visited = []
        root = Node(self, self.tree.root)
        if root.previous or root.next:
            self.report("the root has neighbours", root.number)
        self.leaves = []
        self.levels, self.families, self.borders = {}, [], []
        self.visit(root)
        self.check_borders()
        owned = self.file.usage_map(self.tree.map, f'tree {self.position} of "{self.table.name}"')
        if owned != set(self.visited):
            self.report(f"the map has {sorted(owned - set(self.visited))[:5]} too many, {sorted(set(self.visited) - owned)[:5]} too few", self.tree.root)
        for number in self.visited:
            self.file.claim(number, f'tree {self.position} of "{self.table.name}"')
        # Leaves are linked over the whole level; nodes above them, as far as is known, under one parent only.
        families = [self.levels.get(0, [])] + [family for height, family in self.families if height > 0]
        for family in families:
            for i, node in enumerate(family):
                before = family[i - 1].number if i else 0
                after = family[i + 1].number if i + 1 < len(family) else 0
                if (node.previous, node.next) != (before, after):
                    self.report(f"neighbours {node.previous} and {node.next} instead of {before} and {after}", node.number)
        for height, nodes in self.levels.items():
            for node in nodes:
                if not node.leaf and node.level not in ((height,) if self.file.made else (0, height)):
                    self.report(f"a node of height {height} has the level {node.level}", node.number)

    def visit(self, node):
        """Height and last entry of the subtree."""
        if node.number in self.visited:
            raise Damaged(f"page {node.number} is met twice in a tree")
        self.visited.append(node.number)
        if node.leaf:
            self.leaves.append(node)
            self.levels.setdefault(0, []).append(node)
            if not node.entries and node.number != self.tree.root:
                self.report("a leaf without entries", node.number)
            return 0, node.entries[-1] if node.entries else None
        heights, last, family = set(), None, []
        for raw in node.entries:
            child = Node(self, struct.unpack(">I", raw[-4:])[0])
            family.append(child)
            height, last = self.visit(child)
            heights.add(height)
            if last != raw[:-4]:
                # Access leaves the entry as it was when the child loses its last one: it still parts the child from the next.
                text = f"the entry for page {child.number} is not its last one"
                if self.file.made or last is None or (last[:-4], last[-4:]) > (raw[:-8], raw[-8:-4]):
                    self.report(text, node.number)
                else:
                    self.borders.append((child.number, raw[:-4]))
                    self.file.note(f"{self.table.name}: {text}")
        if node.tail:
            child = Node(self, node.tail)
            family.append(child)
            height, last = self.visit(child)
            heights.add(height)
        else:
            self.report("a node without a tail", node.number)
        if len(heights) != 1:
            raise Damaged(f"page {node.number}: children of the heights {heights}")
        height = heights.pop() + 1
        self.families.append((height - 1, family))
        self.levels.setdefault(height, []).append(node)
        return height, last

    def check_borders(self):
        """An entry that is no copy of the child's last one must still lie before the first one of the next leaf."""
        for number, raw in self.borders:
            at = next((i for i, leaf in enumerate(self.leaves) if leaf.number == number), None)
            if at is None or at + 1 == len(self.leaves) or not self.leaves[at + 1].entries:
                continue
            first = self.leaves[at + 1].entries[0]
            if (first[:-4], first[-4:]) <= (raw[:-4], raw[-4:]):
                self.report(f"the entry for page {number} does not lie before the next leaf", number)

    def entries(self):
        return [raw for leaf in self.leaves for raw in leaf.entries]

    def expected(self, values, stored):
        """The entries that the rows must have: values by row pointer, of each key column."""
        columns = [(self.table.by_number[number], order == 0) for number, order in self.tree.columns]
        out = []
        for pointer, row in values.items():
            parts = [row[column.number] for column, _ in columns]
            nulls = [part is None for part in parts]
            if all(nulls) and self.tree.ignore:
                continue
            where = struct.pack(">IB", pointer >> 8, pointer & 255)[1:]
            key = b"".join(column_key(column.kind, part, down, column) for (column, down), part in zip(columns, parts)) + where
            if any(nulls) and self.tree.required:
                self.report("a row with a null in a key that takes none", pointer >> 8)
            if key not in stored and not self.file.made:
                once = b"".join(column_key(column.kind, part, down, column, True) for (column, down), part in zip(columns, parts)) + where
                if once in stored:
                    self.file.note(f"{self.table.name}: a key written by another program")
                    key = once
            out.append((key, any(nulls)))
        return out

    def check(self, values):
        self.pages()
        stored = self.entries()
        # A key may be the beginning of another one (an empty binary value): the keys are compared first, then the pointers.
        order = [(raw[:-4], raw[-4:]) for raw in stored]
        if order != sorted(order):
            wrong = next(i for i in range(1, len(order)) if order[i - 1] > order[i])
            self.report(f"entry {wrong} of {len(stored)} is not in order", self.tree.root)
        try:
            expected = self.expected(values, set(stored))
        except UnknownOrder as error:
            self.file.note(f"{self.table.name}: a tree whose keys are not checked: {error}")
            return
        wanted = {raw for raw, _ in expected}
        if set(stored) != wanted or len(stored) != len(wanted):
            missing = sorted(wanted - set(stored))[:3]
            extra = sorted(set(stored) - wanted)[:3]
            self.report(
                f"{len(stored)} entries, {len(wanted)} expected; missing {[raw.hex() for raw in missing]}, too many {[raw.hex() for raw in extra]}",
                self.tree.root,
            )
        if self.tree.unique:
            seen = set()
            for raw, null in expected:
                if not null:
                    if raw[:-4] in seen:
                        self.report(f"the key {raw[:-4].hex()} is there twice", self.tree.root)
                    seen.add(raw[:-4])
        for raw, _ in expected:
            if len(raw) > self.room - 4:
                self.report(f"an entry of {len(raw)} bytes", self.tree.root)
