#pragma once

#include <cstddef>
#include <string>

#include "jet/Database.h"

namespace jet::tests {

/// Every type with an index each way, and indexes over several columns, unique, without nulls and ignoring them.
void MakeAllTypes(Database& database);
/// Long values that grow and shrink through all their forms.
void MakeLongValues(Database& database);
/// Relationships of every kind and rows that meet them. The names of a real file's own tables are left to it: those made here begin with
/// prefix.
void MakeRelations(Database& database, const std::string& prefix = {});
/// Definitions that grow over several pages and shrink again, names of every sort, properties, links.
void MakeStructure(Database& database);
/// So many rows that trees have three levels and maps go by reference; then a third of them is deleted and a third changed.
void MakeLarge(Database& database, int count);
/// Keys of 500 and more bytes: few to a page, so that trees are deep.
void MakeDeep(Database& database);

/// Rows of every length that a page takes, whose values end about each multiple of 256.
void MakeJumps(Database& database);
/// A little of every structure: long rows, long values in all forms, an index with prefixes, properties.
void MakeMixed(Database& database);
/// A long value of so many bytes and smaller ones: maps of pages by reference.
void MakeHuge(Database& database, std::size_t bytes);

}  // namespace jet::tests
