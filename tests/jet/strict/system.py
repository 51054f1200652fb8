"""The definitions of the four system tables: columns in the order of their numbers, and what their indexes are over."""

OBJECTS = ("Id 4", "ParentId 4", "Name 10", "Type 3", "DateCreate 8", "DateUpdate 8", "Owner 9", "Flags 4", "Database 12", "Connect 12",
           "ForeignName 10", "RmtInfoShort 9", "RmtInfoLong 11", "Lv 11", "LvProp 11", "LvModule 11", "LvExtra 11")
ACES = ("ObjectId 4", "SID 9", "ACM 4", "FInheritable 1")
QUERIES = ("ObjectId 4", "Attribute 2", "Order 9", "Name1 10", "Name2 10", "Expression 12", "Flag 3", "LvExtra 4")
RELATIONSHIPS = ("szRelationship 10", "grbit 4", "ccolumn 4", "icolumn 4", "szObject 10", "szColumn 10", "szReferencedObject 10",
                 "szReferencedColumn 10")
COLUMNS = {"MSysObjects": OBJECTS, "MSysACEs": ACES, "MSysQueries": QUERIES, "MSysRelationships": RELATIONSHIPS}
# By table: name of the index, its number, numbers of its columns, flags of its tree without 0x80, kind.
INDEXES = {
    "MSysObjects": (("Id", 1, (0,), 1, 1), ("ParentIdName", 0, (1, 2), 1, 0)),
    "MSysACEs": (("ObjectId", 0, (0,), 8, 0),),
    "MSysQueries": (("ObjectIdAttribute", 0, (0, 1, 2), 1, 1),),
    "MSysRelationships": (("szObject", 1, (4,), 2, 0), ("szReferencedObject", 2, (6,), 2, 0), ("szRelationship", 0, (0,), 2, 0)),
}


def check(table):
    """Findings about a system table go to its file."""
    wanted = COLUMNS[table.name]
    if table.name == "MSysQueries" and not table.file.format.queries_have_extra:
        wanted = wanted[:-1]
    numbered = sorted(table.columns, key=lambda c: c.number)
    found = tuple(f"{c.name} {c.kind}" for c in numbered)
    if found != wanted or [c.number for c in numbered] != list(range(len(wanted))):
        table.report(f"the columns are {found}")
    variable = sum(not c.fixed and c.kind != 1 for c in table.columns)
    if (table.max_columns, table.variable_columns) != (len(wanted), variable):
        table.report(f"counts {table.max_columns} columns, {table.variable_columns} of them variable")
    if table.file.made and table.file.format.system_by_number and numbered != table.columns:
        table.report("the columns are not in the order of their numbers")
    trees = table.trees
    indexes = tuple((i.name, i.number, tuple(n for n, _ in trees[i.tree].columns), trees[i.tree].flags & 0x7F, i.kind) for i in table.indexes)
    if indexes != INDEXES[table.name] or any(order != 1 for tree in table.trees for _, order in tree.columns):
        table.report(f"the indexes are {indexes}")
