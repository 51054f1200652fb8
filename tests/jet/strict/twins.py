"""A real file against its compacted copy: what the engine makes of the same definitions, byte by byte where no page number is in the way."""

from catalog import text


def named(table):
    return [{column.name: row[column.number] for column in table.columns} for row in table.values.values()]


def columns(table):
    return {c.name: (c.kind, c.sort.hex() if c.kind in (10, 12, 16) else "", hex(c.flags), hex(c.extra), c.length) for c in table.columns}


def indexes(table):
    out = []
    for index in table.indexes:
        tree = table.trees[index.tree]
        parts = [(table.by_number[number].name, order) for number, order in tree.columns]
        # Hidden names are counted anew.
        name = ".r" if index.name.startswith(".r") else index.name
        out.append((name, index.kind, index.side, index.updates, index.deletes, hex(tree.flags), parts))
    return sorted(out)


def shared(table):
    """Which indexes share a tree."""
    groups = {}
    for index in table.indexes:
        groups.setdefault(index.tree, []).append(".r" if index.name.startswith(".r") else index.name)
    return sorted(sorted(names) for names in groups.values())


def compare(real, copy):
    """Differences as texts."""
    out = []
    mine = {table.name: table for table in copy.tables.values()}
    for table in real.tables.values():
        other = mine.get(table.name)
        if other is None:
            out.append(f"{table.name} is not there")
            continue
        for what, one, two in (("columns", columns(table), columns(other)), ("indexes", indexes(table), indexes(other)),
                               ("trees", shared(table), shared(other)), ("rows", len(table.rows), len(other.rows)),
                               ("the last number", table.last_number, other.last_number), ("the type", table.kind, other.kind)):
            if table.page in (2, 3) and what == "rows":
                continue
            if one != two:
                if isinstance(one, dict):
                    one, two = {k: v for k, v in one.items() if two.get(k) != v}, {k: v for k, v in two.items() if one.get(k) != v}
                out.append(f"{table.name}: {what} {one} became {two}")
    ids = {}
    there = {(row["Type"], row["Name"]): row for row in named(copy.tables[2])}
    for row in named(real.tables[2]):
        other = there.pop((row["Type"], row["Name"]), None)
        name = text(row["Name"])
        if other is None:
            out.append(f'the object "{name}" is not there')
            continue
        ids[row["Id"]] = other["Id"]
        for column, value in row.items():
            if column not in ("Id", "ParentId") and other[column] != value:
                out.append(f'"{name}": {column} {str(value)[:80]} became {str(other[column])[:80]}')
    out += [f'the object "{text(name)}" is new' for _, name in there]

    def permissions(file, translate):
        return sorted((translate(row["ObjectId"]), row["SID"], row["ACM"], row["FInheritable"]) for row in named(file.tables[3]))

    one, two = permissions(real, lambda id_: ids.get(id_, id_)), permissions(copy, lambda id_: id_)
    if one != two:
        out.append(f"permissions {[e for e in one if e not in two][:5]} became {[e for e in two if e not in one][:5]}")

    def identity(file):
        # The page key is each file's own.
        return file.format.identity(file.header) + bytes([file.key != 0])

    if identity(real) != identity(copy):
        out.append("the header is another one")
    return out
