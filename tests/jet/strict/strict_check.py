#!/usr/bin/env python3
"""A second opinion on Access files: every page, row, key and catalog entry of a Jet 4 or Jet 3 file is read and
compared again.

Usage: strict_check.py [--made] [--like ORIGINAL] [--notes] file.mdb ...

Shares no code with the engine. --made: the file was written by the engine alone, so that what real files are lenient about (stale counts,
pages that belong to nobody, room that is not listed) is a finding too. --like: the file is a changed copy of that original; what is
found there too is none of the change's doing, and pages that belonged to nobody there may do so here. Exit code 1 when there is a finding.
"""
import struct
import sys

import system
from catalog import SYSTEM_TABLES, Catalog, text
from formats import Damaged, u32
from pages import File
from tables import COMPLEX, OWNER, Table
from trees import Walk
from values import Decoder


def check_table(table):
    """Rows, long values and trees; the values by row pointer and column number."""
    table.read_rows()
    decoder = Decoder(table)
    table.values = {}
    highest = 0
    counter = next((c.number for c in table.columns if c.counts), None)
    for pointer, (row, page) in table.rows.items():
        _, stored = table.decode(row, page)
        decoded = {number: decoder.value(table.by_number[number], value, page) for number, value in stored.items()}
        table.values[pointer] = decoded
        if counter is not None:
            if decoded[counter] is None:
                table.report("a row without its counter", page)
            else:
                highest = max(highest, decoded[counter])
    decoder.finish()
    if counter is not None and table.last_number < highest:
        table.report(f"the last number is {table.last_number}, there is {highest}")
    if counter is None and table.last_number and table.file.made:
        table.file.note(f"{table.name}: no counter, last number {table.last_number}")
    for position in range(len(table.trees)):
        Walk(table, position).check(table.values)


def check_complex(file):
    """Of an .accdb: numbers of complex columns and the rows of the hidden tables that hold their values."""
    lists = [table for table in file.tables.values() if table.name == "MSysComplexColumns"]
    known = {row["ComplexID"]: row for table in lists for row in named_rows(table)}
    for table in file.tables.values():
        for column in table.columns:
            if column.kind != COMPLEX:
                continue
            numbers = {row[column.number] for row in table.values.values()} - {None}
            if numbers and max(numbers) > u32(table.stream, 28):
                table.report(f'"{column.name}" has the number {max(numbers)}, the last one is {u32(table.stream, 28)}')
            row = known.get(u32(column.sort, 0))
            values = row and file.tables.get(row["FlatTableID"])
            if values is None or row["ConceptualTableID"] != table.page:
                table.report(f'"{column.name}" has no table of values: {row}')
                continue
            owner = [held.number for held in values.columns if held.extra & OWNER]
            orphans = {held[owner[0]] for held in values.values.values()} - numbers if len(owner) == 1 else owner
            if len(owner) != 1 or orphans:
                values.report(f"rows for {sorted(orphans, key=str)[:5]}, which {table.name} has not")


def named_rows(table):
    return [{column.name: row[column.number] for column in table.columns} for row in table.values.values()]


def as_it_was(path):
    """An original, as it is: nothing in it is a finding for belonging to nobody."""
    return run(path, False, 1 << 30)


def lenience(file):
    """How many pages in use belong to nobody in an original, and the findings in it."""
    return sum(int(note.split()[0]) for note in file.notes if "belong to nobody" in note), set(file.findings)


def run(path, made, allowed=0):
    """Reads the whole file; gives the File with its findings and, when it could be read, its tables."""
    file = File(path, made)
    file.tables = {}
    file.check_header()
    rows = {}
    places = {name: 2 + i for i, name in enumerate(SYSTEM_TABLES)}
    for name in SYSTEM_TABLES:
        table = Table(file, places[name], name)
        file.tables[table.page] = table
        system.check(table)
        check_table(table)
        rows[name] = named_rows(table)
        # Where the others begin is what the catalog says, not the header.
        places.update({text(row["Name"]): row["Id"] for row in rows["MSysObjects"] if row["Type"] == 1 and text(row["Name"]) in places})
    for row in rows["MSysObjects"]:
        if row["Type"] == 1 and row["Id"] not in file.tables:
            try:
                table = Table(file, row["Id"], text(row["Name"]))
                file.tables[row["Id"]] = table
                check_table(table)
            except (Damaged, struct.error, IndexError) as error:
                file.report(row["Id"], f'table "{text(row["Name"])}": {error}')
    if not file.findings:
        Catalog(file, file.tables, rows).check()
        check_complex(file)
        file.check_free_map(allowed)
    return file


def main(arguments):
    made = notes = False
    allowed, failed, before = 0, 0, set()
    paths = []
    arguments = list(arguments)
    while arguments:
        argument = arguments.pop(0)
        if argument == "--made":
            made = True
        elif argument == "--notes":
            notes = True
        elif argument == "--like":
            allowed, before = lenience(as_it_was(arguments.pop(0)))
        else:
            paths.append(argument)
    for path in paths:
        try:
            file = run(path, made, allowed)
            findings, remarks = [finding for finding in file.findings if finding not in before], file.notes
        except (Damaged, struct.error, IndexError) as error:
            findings, remarks = [str(error)], []
        for finding in findings[:40]:
            print(f"{path}: {finding}")
        if notes:
            for note in sorted(set(remarks)):
                print(f"{path}: note: {note}")
        if findings:
            failed += 1
        else:
            print(f"{path}: sound, {file.count} pages, {len(file.tables)} tables, {sum(len(t.rows) for t in file.tables.values())} rows, "
                  f"{sum(len(t.trees) for t in file.tables.values())} trees")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
