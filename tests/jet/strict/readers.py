"""Two readers by others over the same file: what they read must be what the strict checker has read."""
import decimal
import math
import os
import shutil
import struct
import subprocess

from catalog import parse_properties

LIMIT = 120  # seconds for one run of a reader
SEVEN = decimal.Context(prec=7, rounding=decimal.ROUND_HALF_UP)


def output(arguments, environment=None):
    done = subprocess.run(arguments, capture_output=True, timeout=LIMIT, env=environment, check=False)
    if done.returncode:
        raise RuntimeError(f"{' '.join(arguments[:2])} ended with {done.returncode}: {done.stderr[-300:].decode('utf-8', 'replace')}")
    return done.stdout.decode("utf-8", "replace")


def user_tables(file):
    objects = {}
    for row in file.tables[2].values.values():
        names = {column.name: row[column.number] for column in file.tables[2].columns}
        if names["Type"] == 1 and not names["Flags"] & 0x8000000A and names["Id"] in file.tables:
            objects[names["Id"]] = file.tables[names["Id"]]
    return list(objects.values())


def guid(stored):
    raw = stored[3::-1] + stored[5:3:-1] + stored[7:5:-1] + stored[8:]
    hexa = raw.hex()
    return "-".join((hexa[:8], hexa[8:12], hexa[12:16], hexa[16:20], hexa[20:]))


def fraction(negative, magnitude, scale):
    digits = str(magnitude).rjust(scale + 1, "0")
    whole, part = (digits[:-scale], digits[-scale:].rstrip("0")) if scale else (digits, "")
    return ("-" if negative and magnitude else "") + whole + ("." + part if part else "")


def exact(plain):
    """Decimal text without zeros that say nothing."""
    if "." in plain:
        plain = plain.rstrip("0").rstrip(".")
    return "0" if plain in ("-0", "") else plain


def number(value):
    """Seven digits, halves rounded away from zero, as the dump prints them."""
    rounded = SEVEN.create_decimal(decimal.Decimal(value))
    return f"N{float(rounded):.6e}"


def seconds(serial):
    """As mdb-reader counts them, which takes the fraction of a day before 1899-12-30 for one that counts backward."""
    return math.floor((serial - 25569) * 86400 + 0.5)


def canonical(column, value):
    """A value as both sides are compared."""
    if value is None:
        return None
    kind = column.kind
    if kind == 1:
        return "true" if value else "false"
    if kind in (2, 3, 4, 6, 7):
        return number(value)
    if kind == 8:
        return f"D{seconds(value)}"
    if kind == 5:
        return fraction(value < 0, abs(value), 4)
    if kind == 16:
        return fraction(value[0], value[1], column.sort[1])
    if kind in (9, 11, 17):
        return "B" + bytes(value).hex()
    if kind == 15:
        return guid(value)
    return "T" + struct.pack(f"<{len(value)}H", *value).decode("utf-16-le", "replace")


def difference(mine, theirs):
    missing = [row for row in mine if row not in theirs][:1]
    return f"{len(mine)} and {len(theirs)} rows, one that differs: {str(missing)[:300]} {str([row for row in theirs if row not in mine][:1])[:300]}"


def key(row):
    return tuple((value is None, value or "") for value in row)


def compare_dump(file, modules, script):
    """Every row as mdb-reader gives it."""
    environment = dict(os.environ, TAMLO_NODE_MODULES=modules)
    tables, columns = {}, {}
    for line in output(["node", script, file.path, file.password], environment).split("\n"):
        parts = line.split("\t")
        if parts[0] == "table":
            name = bytes.fromhex(parts[1]).decode()
            tables[name], columns[name] = [], [bytes.fromhex(part).decode() for part in parts[2:]]
        elif len(parts) > 1:
            tables[bytes.fromhex(parts[0]).decode()].append([part.split("=", 1)[1] for part in parts[1:]])
    mine = {table.name: table for table in user_tables(file)}
    if set(mine) - set(tables):
        file.report(2, f"mdb-reader does not see {sorted(set(mine) - set(tables))}")
        return
    for name, table in mine.items():
        order = [next(c for c in table.columns if c.name == title) for title in columns[name]]
        if len(order) != len(table.columns):
            file.report(table.page, f"mdb-reader sees {len(order)} columns of {name}, there are {len(table.columns)}")
            continue

        def foreign(column, field):
            if field == "null":
                return None
            if field[0] == "T":
                plain = bytes.fromhex(field[1:]).decode("utf-8", "replace")
                if column.kind in (5, 16):
                    return exact(plain)
                return plain.strip("{}").lower() if column.kind == 15 else "T" + plain
            if field[0] == "N":
                return number(float(field[1:]))
            return field

        ours = sorted(([canonical(c, row[c.number]) for c in order] for row in table.values.values()), key=key)
        theirs = sorted(([foreign(c, field) for c, field in zip(order, row)] for row in tables[name]), key=key)
        if ours != theirs:
            file.report(table.page, f"mdb-reader reads {name} otherwise: {difference(ours, theirs)}")


def properties_unseen(file, table, name):
    """What mdb-prop leaves out of the properties that the table's row of the catalog holds."""
    blob = next((r for r in file.tables[2].values.values() if r[0] == table.page), {}).get(14)
    if not blob:
        return []
    shown = output(["mdb-prop", file.path, name])
    return [f"{column}.{title}" for column, entries in parse_properties(blob, file)[0].items() for title in entries if title not in shown]


def beyond_mdb_prop(file):
    """The tables of a file as others left it that mdb-prop cannot judge: all, when it ends before it has shown the properties of one of them.

    Which ones it ends at depends on where their values lie, which compacting changes."""
    if not shutil.which("mdb-prop"):
        return set()
    tables = user_tables(file)
    return {table.name for table in tables} if any(properties_unseen(file, table, table.name) for table in tables) else set()


def compare_mdbtools(file, beyond):
    """Names, counts, definitions, properties and those values that mdb-export prints whole."""
    if output(["mdb-ver", file.path]).strip() != file.format.name:
        file.report(0, "mdb-ver sees another version")
    mine = {table.name: table for table in user_tables(file)}
    listed = [name for name in output(["mdb-tables", "-1", file.path]).split("\n") if name]
    if not set(mine) <= set(listed):
        file.report(2, f"mdb-tables does not list {sorted(set(mine) - set(listed))}")
        return
    schema = output(["mdb-schema", file.path])
    for name, table in mine.items():
        if int(output(["mdb-count", file.path, name])) != len(table.rows):
            file.report(table.page, f"mdb-count counts {name} otherwise")
        for column in table.columns:
            if f"[{column.name}]" not in schema:
                file.report(table.page, f"mdb-schema does not show {column.name} of {name}")
        if name not in beyond:
            for what in properties_unseen(file, table, name):
                file.report(table.page, f"mdb-prop does not show {what} of {name}")
        lines = output(["mdb-export", "-Q", "-b", "hex", "-d", "<\x1f>", "-R", "<\x1e>", "-0", "\x1d", file.path, name]).split("<\x1e>")
        titles = lines[0].split("<\x1f>")
        order = [next(c for c in table.columns if c.name == title) for title in titles]
        whole = [c.kind in (1, 2, 3, 4, 10, 12, 16, 5) for c in order]

        def ours(column, value):
            if column.kind == 1:
                return "1" if value else "0"
            if value is None:
                return "\x1d"
            if column.kind in (2, 3, 4):
                return str(value)
            shown = canonical(column, value)
            if column.kind not in (10, 12):
                return shown
            # mdb-export shows empty texts as null and has two question marks for characters beyond U+FFFF.
            return "".join(c if c < "\U00010000" else "??" for c in shown[1:]) or "\x1d"

        left = sorted([ours(c, row[c.number]) for c, w in zip(order, whole) if w] for row in table.values.values())
        right = sorted(
            [exact(field) if c.kind in (5, 16) and field != "\x1d" else field or "\x1d" for c, w, field in zip(order, whole, line.split("<\x1f>")) if w]
            for line in lines[1:]
            if line
        )
        if left != right:
            file.report(table.page, f"mdb-export reads {name} otherwise: {difference(left, right)}")


def compare(file, modules, script, beyond=()):
    """Findings go to the file; gives the readers that were there. beyond: tables whose properties mdb-prop does not read whole."""
    there = []
    for reader, needed, call in (("mdbtools", shutil.which("mdb-export"), lambda: compare_mdbtools(file, beyond)),
                                 ("mdb-reader", modules and os.path.isdir(modules + "/mdb-reader"), lambda: compare_dump(file, modules, script))):
        if not needed:
            continue
        there.append(reader)
        try:
            call()
        except (RuntimeError, subprocess.TimeoutExpired) as error:
            file.report(0, f"{reader}: {str(error)[:300]}")
    return there
