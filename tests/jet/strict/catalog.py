"""System tables and property blobs against each other and against the tables."""
import struct

from formats import Damaged, u16, u32
from keys import UnknownOrder, column_key

TABLES, DATABASES, RELATIONSHIPS, MSYSDB, ROOT = 0x0F000001, 0x0F000002, 0x0F000003, 0x10000000, 0x0F000000
SYSTEM_TABLES = ("MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships")
FIXED = {
    TABLES: (ROOT, "Tables", 3), DATABASES: (ROOT, "Databases", 3), RELATIONSHIPS: (ROOT, "Relationships", 3),
    MSYSDB: (DATABASES, "MSysDb", 2), 2: (TABLES, "MSysObjects", 1), 3: (TABLES, "MSysACEs", 1), 4: (TABLES, "MSysQueries", 1),
    5: (TABLES, "MSysRelationships", 1),
}
SYSTEM = -0x80000000
SIZES = {1: (1, 4), 2: (1, 4), 3: (2, 4), 4: (4,), 6: (4,), 5: (8,), 7: (8,), 8: (8,), 15: (16,)}


def text(units):
    return None if units is None else struct.pack(f"<{len(units)}H", *units).decode("utf-16-le", "surrogatepass")


def parse_properties(blob, file):
    """{column name (empty: the object): {property: (type, ddl, value)}}"""
    decoded = lambda raw: file.format.property_text(raw, file)
    if blob[:4] != file.format.properties:
        raise Damaged(f"a property map begins with {blob[:4].hex()}")
    names, out, at = [], {}, 4
    blocks = 0
    while at < len(blob):
        length, kind = struct.unpack_from("<IH", blob, at)
        end, at = at + length, at + 6
        if length < 6 or end > len(blob):
            raise Damaged("a block of a property map is too long")
        if kind == 0x80:
            if blocks:
                raise Damaged("the names of a property map do not come first")
            while at < end:
                size = u16(blob, at)
                names.append(decoded(blob[at + 2 : at + 2 + size]))
                at += 2 + size
        elif kind in (0, 1):
            head, size = u32(blob, at), u16(blob, at + 4)
            name = decoded(blob[at + 6 : at + 6 + size])
            if head != 6 + size or (kind == 0) != (name == ""):
                raise Damaged(f"the head of a property block has {head} bytes, the name {size}, kind {kind}")
            if name in out:
                raise Damaged(f"two blocks for {name!r}")
            entries = out.setdefault(name, {})
            at += head
            while at < end:
                size, ddl, type_, index, length = struct.unpack_from("<HBBHH", blob, at)
                if size != 8 + length or at + size > end or index >= len(names) or ddl > 1:
                    raise Damaged(f"an entry of a property map: {size} bytes, value {length}, name {index} of {len(names)}, ddl {ddl}")
                if names[index] in entries:
                    raise Damaged(f"the property {names[index]} stands twice")
                entries[names[index]] = (type_, ddl, blob[at + 8 : at + 8 + length])
                at += size
        else:
            raise Damaged(f"a block of kind {kind:#x}")
        if at != end:
            raise Damaged("a block of a property map does not end where it says")
        blocks += 1
    if len(names) != len({name.lower() for name in names}):
        raise Damaged("a name of a property map stands twice")
    used = {name for entries in out.values() for name in entries}
    return out, set(names) - used


class Catalog:
    """rows: for each system table its rows as dictionaries of values by column name."""

    def __init__(self, file, tables, rows):
        self.file, self.tables = file, tables
        self.objects = {}
        self.rows = rows
        for row in rows["MSysObjects"]:
            if row["Id"] in self.objects:
                self.report(f"the object {row['Id']} is there twice")
            self.objects[row["Id"]] = row

    def report(self, text_):
        self.file.report(2, "catalog: " + text_)

    def softly(self, text_):
        (self.report if self.file.made else self.file.note)(text_)

    def check(self):
        for id_, (parent, name, kind) in FIXED.items():
            row = self.objects.get(id_)
            if row and name in SYSTEM_TABLES[1:] and not self.file.made and text(row["Name"]) in SYSTEM_TABLES[1:] and text(row["Name"]) != name:
                self.file.note(f"page {id_} is the definition of {text(row['Name'])}")
                name = text(row["Name"])
            if row is None or (row["ParentId"], text(row["Name"]), row["Type"]) != (parent, name, kind) or row["Flags"] != SYSTEM:
                self.report(f"the object {id_:#x} is not as it must be: {row}")
        for id_, row in self.objects.items():
            self.check_object(id_, row)
        self.check_permissions()
        self.check_queries()
        self.check_relationships()

    def check_object(self, id_, row):
        name, kind = text(row["Name"]), row["Type"]
        what = f'object "{name}"'
        if not name or len(name) > 64:
            self.report(f"{what} has a bad name")
        if row["ParentId"] != ROOT and row["ParentId"] not in self.objects:
            self.report(f"{what} has the parent {row['ParentId']}")
        elif row["ParentId"] != ROOT and self.objects[row["ParentId"]]["Type"] != 3:
            self.report(f"the parent of {what} is no container")
        if row["Owner"] is None and self.file.ace and row["Flags"] < 0:
            pass  # tables that every .accdb has
        elif row["Owner"] is None or len(row["Owner"]) < 2:
            self.report(f"{what} has the owner {row['Owner']}")
        for when in ("DateCreate", "DateUpdate"):
            if row[when] is None or not 30000 < row[when] < 60000:
                self.report(f"{what} has the {when} {row[when]}")
        if self.file.made and row["DateCreate"] > row["DateUpdate"] + 1 / 86400:
            self.report(f"{what} was changed before it was made")
        if kind == 1:
            if id_ not in self.tables or id_ <= 0 or row["ParentId"] != TABLES:
                self.report(f"{what} is a table with the id {id_}")
        elif id_ > 0 and id_ not in FIXED:
            self.report(f"{what} of type {kind} has the id {id_}")
        linked = kind in (4, 6)
        if linked != (row["ForeignName"] is not None):
            self.report(f"{what} of type {kind} has the foreign name {text(row['ForeignName'])}")
        if kind == 6 and not row["Flags"] & 0x200000 or kind == 4 and row["Flags"] != 0x20100000:
            self.softly(f"{what} of type {kind} has the flags {row['Flags']:#x}")
        if kind == 4 and (row["Connect"] is None or text(row["Connect"]).upper().startswith("ODBC;")):
            self.report(f"{what} has the connection {text(row['Connect'])}")
        if kind == 8 and row["ParentId"] != RELATIONSHIPS or kind == 5 and row["ParentId"] != TABLES:
            self.report(f"{what} of type {kind} is in {row['ParentId']:#x}")
        if self.file.made and kind == 1 and id_ not in FIXED and row["Flags"] not in (0, 2, 8, 10):
            self.report(f"{what} has the flags {row['Flags']:#x}")
        if row["LvProp"] is not None:
            try:
                blocks, unused = parse_properties(row["LvProp"], self.file)
            except (Damaged, struct.error, UnicodeDecodeError) as error:
                self.report(f"{what}: {error}")
                return
            if unused:
                self.file.note(f"{what}: unused property names {sorted(unused)}")
            self.check_properties(what, id_, blocks)

    def check_properties(self, what, id_, blocks):
        table = self.tables.get(id_)
        columns = {c.name.lower(): c for c in table.columns} if table else {}
        for name, entries in blocks.items():
            if table and name and name.lower() not in columns:
                self.softly(f'{what}: properties of "{name}", which is no column')
            for title, (kind, ddl, value) in entries.items():
                if kind in SIZES and len(value) not in SIZES[kind]:
                    self.report(f"{what}: {name}.{title} of type {kind} has {len(value)} bytes")
                if kind in (10, 12) and len(value) % 2 and not self.file.format.odd_property_text:
                    self.report(f"{what}: {name}.{title} is a text of {len(value)} bytes")
                if kind == 1 and value[:1] not in (b"\0", b"\1", b"\xff"):
                    self.report(f"{what}: {name}.{title} is {value.hex()}")
                wanted = {"Required": 1, "AllowZeroLength": 1, "UnicodeCompression": 1}.get(title)
                if name and wanted and (kind != wanted or not ddl):
                    self.report(f"{what}: {name}.{title} has the type {kind}, ddl {ddl}")
                if title == "DefaultValue" and kind not in (10, 12):
                    self.report(f"{what}: {name}.{title} has the type {kind}")

    def check_permissions(self):
        known, seen, twice = set(), set(), set()
        for row in self.rows["MSysACEs"]:
            if row["ObjectId"] not in self.objects and row["ObjectId"] != ROOT:
                self.softly(f"permission for the object {row['ObjectId']}, which is not there")
            if row["SID"] is None or row["ACM"] is None:
                self.report(f"an incomplete permission {row}")
            key = (row["ObjectId"], row["SID"], row["FInheritable"])
            if key in seen:
                twice.add(key)
            seen.add(key)
            known.add(row["ObjectId"])
        if twice:
            self.softly(f"permissions that stand twice: {sorted(twice)[:5]}")
        for id_, row in self.objects.items():
            if id_ not in known:
                self.softly(f'no permission for "{text(row["Name"])}"')
        # The accounts are masked with one key for the whole file.
        engine, admin = self.objects[TABLES]["Owner"], self.objects[MSYSDB]["Owner"]
        if len(engine) == 2 and len(admin) == 2 and bytes(a ^ b for a, b in zip(engine, admin)) != b"\x01\x02":
            self.report(f"the accounts {engine.hex()} and {admin.hex()} have no common key")
        if self.file.format.clear_accounts and (engine, admin) != (b"\2\3", b"\3\1"):
            self.softly(f"the accounts are {engine.hex()} and {admin.hex()}")
        if self.file.made:
            self.check_inherited(admin)
            accounts = {bytes(a ^ b for a, b in zip(admin, x)) for x in (b"\0\0", b"\1\2", b"\1\5", b"\1\0")}
            accounts |= {bytes(a ^ b ^ c for a, b, c in zip(admin, b"\3\1", x)) for x in (b"\2\3", b"\2\1", b"\2\4")}
            for row in self.rows["MSysACEs"]:
                if len(row["SID"]) == 2 and row["SID"] not in accounts:
                    self.report(f"an account {row['SID'].hex()} that is none")

    def check_inherited(self, owner):
        """A new object is permitted what its container hands down; the owner gets what goes to the creator."""
        creator = bytes(a ^ b for a, b in zip(owner, b"\1\5"))
        entries = {}
        for row in self.rows["MSysACEs"]:
            entries.setdefault(row["ObjectId"], []).append(row)
        for id_, row in self.objects.items():
            if id_ in FIXED:
                continue
            wanted = {}
            for entry in entries.get(row["ParentId"], []):
                if entry["FInheritable"]:
                    sid = owner if entry["SID"] == creator else entry["SID"]
                    wanted[sid] = wanted.get(sid, 0) | entry["ACM"]
            found = {entry["SID"]: entry["ACM"] for entry in entries.get(id_, [])}
            if found != wanted or any(entry["FInheritable"] for entry in entries.get(id_, [])):
                self.report(f'"{text(row["Name"])}" has the permissions {found}, its container hands down {wanted}')

    def check_queries(self):
        groups = {}
        for row in self.rows["MSysQueries"]:
            groups.setdefault(row["ObjectId"], []).append(row)
        for id_, rows in groups.items():
            if id_ not in self.objects or self.objects[id_]["Type"] != 5:
                self.softly(f"query rows of the object {id_}")
            attributes = [row["Attribute"] for row in rows]
            if attributes.count(0) != 1 or attributes.count(255) != 1:
                self.report(f"the query {id_} has the attributes {sorted(attributes)}")
        for id_, row in self.objects.items():
            if row["Type"] == 5 and id_ not in groups:
                self.report(f'no rows for the query "{text(row["Name"])}"')

    def check_relationships(self):
        groups = {}
        for row in self.rows["MSysRelationships"]:
            groups.setdefault(text(row["szRelationship"]).lower(), []).append(row)
        objects = {text(row["Name"]).lower(): id_ for id_, row in self.objects.items() if row["Type"] == 8}
        tables = {t.name.lower(): t for t in self.tables.values()}
        links = {text(row["Name"]).lower() for row in self.objects.values() if row["Type"] in (4, 6, 5)}
        if set(groups) != set(objects):
            self.report(f"relationships {sorted(groups)}, objects {sorted(objects)}")
        sides = set()
        for name, rows in groups.items():
            rows.sort(key=lambda row: row["icolumn"])
            what = f'relationship "{name}"'
            if [row["icolumn"] for row in rows] != list(range(len(rows))) or any(row["ccolumn"] != len(rows) for row in rows):
                self.report(f"{what} has the pairs {[(row['icolumn'], row['ccolumn']) for row in rows]}")
            if len({(row["grbit"], text(row["szObject"]).lower(), text(row["szReferencedObject"]).lower()) for row in rows}) != 1:
                self.report(f"{what}: its rows differ")
            flags = rows[0]["grbit"]
            if flags & ~0x3003103:
                self.report(f"{what} has the flags {flags:#x}")
            ends = []
            for table_column, column_column in (("szObject", "szColumn"), ("szReferencedObject", "szReferencedColumn")):
                table = tables.get(text(rows[0][table_column]).lower())
                if table is None:
                    if text(rows[0][table_column]).lower() not in links:
                        self.report(f"{what} is over the table {text(rows[0][table_column])}")
                    break
                names = {c.name.lower(): c.number for c in table.columns}
                numbers = [names.get(text(row[column_column]).lower()) for row in rows]
                if None in numbers:
                    self.report(f"{what} is over columns of {table.name} that are not there")
                    break
                ends.append((table, numbers))
            if len(ends) != 2:
                continue
            (child, child_columns), (parent, parent_columns) = ends
            child_index = [i for i in child.indexes if i.kind == 2 and i.side == 2 and i.name.lower() == name]
            if flags & 2:
                if child_index:
                    self.report(f"{what} is not enforced and has an index")
                continue
            if len(child_index) != 1:
                self.report(f"{what} has {len(child_index)} indexes on the side of {child.name}")
                continue
            mine = child_index[0]
            other = [i for i in parent.indexes if i.number == mine.partner and i.kind == 2]
            if mine.partner_page != parent.page or len(other) != 1 or other[0].partner != mine.number or other[0].partner_page != child.page or other[0].side != 1:
                self.report(f"{what}: the two indexes do not name each other")
                continue
            sides.add((child.page, mine.number))
            sides.add((parent.page, other[0].number))
            for index, cascade in ((mine, 0), (other[0], 0)):
                if (index.updates, index.deletes & 1) != (flags >> 8 & 1, flags >> 12 & 1):
                    self.report(f"{what}: flags {flags:#x}, cascades {index.updates} {index.deletes}")
            one, two = child.trees[mine.tree], parent.trees[other[0].tree]
            if [n for n, _ in one.columns] != child_columns or [n for n, _ in two.columns] != parent_columns:
                self.report(f"{what}: columns {child_columns} and {parent_columns}, trees {one.columns} and {two.columns}")
            if not two.unique:
                self.report(f"{what}: the tree of {parent.name} is not unique")
            self.check_references(what, child, child_columns, parent, parent_columns)
        for table in self.tables.values():
            for index in table.indexes:
                if index.kind == 2 and (table.page, index.number) not in sides:
                    self.report(f'"{index.name}" of {table.name} belongs to no relationship')

    def check_references(self, what, child, child_columns, parent, parent_columns):
        plain = False

        def key(table, columns, row):
            return tuple(column_key(table.by_number[n].kind, row[n], False, None if plain else table.by_number[n]) for n in columns)

        try:
            there = {key(parent, parent_columns, row) for row in parent.values.values()}
        except UnknownOrder:
            plain = True
            there = {key(parent, parent_columns, row) for row in parent.values.values()}
        for pointer, row in child.values.items():
            if any(row[n] is None for n in child_columns):
                continue
            if key(child, child_columns, row) not in there:
                self.report(f"{what}: a row of {child.name} on page {pointer >> 8} has no partner")
                return
