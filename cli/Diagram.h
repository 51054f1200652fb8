#pragma once

#include <string>

#include "schema/Model.h"

/// Tables and relations as a picture, in the languages of two programs that draw. Names are kept whole, whatever they hold.
namespace tamlo::cli {

/// How many rows of the one side go with a row of the other.
struct Cardinality {
  bool oneReferring = false;    ///< at most one row refers to a row, else any number
  bool alwaysReferred = false;  ///< a row always refers to one, else it may refer to none
};

/// As the relation says, or as a unique index over the referring columns and their being required say.
[[nodiscard]] Cardinality CardinalityOf(const schema::Database& database, const schema::Relation& relation);

/// A digraph for Graphviz: a table of columns for each table, its keys marked, an edge with crow's feet for each relation.
[[nodiscard]] std::string DotOf(const schema::Database& database);
/// An erDiagram for Mermaid. What its words cannot hold is replaced in them, and stands whole in the comment of the column.
[[nodiscard]] std::string MermaidOf(const schema::Database& database);

/// What Graphviz makes of a digraph as SVG. Failure with kFailed where it is not installed, or says no.
[[nodiscard]] std::string SvgOf(const std::string& digraph);

}  // namespace tamlo::cli
