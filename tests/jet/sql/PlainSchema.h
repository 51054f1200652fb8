#pragma once

#include <sqlite3.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "jet/value/Error.h"
#include "jet/sql/functions/Functions.h"
#include "jet/sql/Names.h"
#include "jet/sql/Statement.h"

namespace jet::sql::tests {

/// Tables of plain SQLite under the names that the translator gives: what a translated statement means shows without a file.
class PlainSchema : public SchemaSource {
 public:
  explicit PlainSchema(bool rereadable = false) : rereadable_(rereadable) {
    if (sqlite3_open(":memory:", &connection_) != SQLITE_OK) throw std::runtime_error("no SQLite");
    // Bloom filters take texts that the collation holds for equal ("b" and "b ") for different ones, and lose rows: SQLite 3.40.
    constexpr unsigned kBloomFilters = 0x00080000;
    sqlite3_test_control(SQLITE_TESTCTRL_OPTIMIZATIONS, connection_, kBloomFilters);
    RegisterFunctions(connection_, settings);
  }
  ~PlainSchema() override { sqlite3_close(connection_); }
  PlainSchema(const PlainSchema&) = delete;
  PlainSchema& operator=(const PlainSchema&) = delete;

  void AddTable(const std::string& name, const std::vector<std::pair<std::string, ColumnType>>& columns) {
    auto table = std::make_shared<TableInfo>();
    table->name = name;
    table->sqlName = "t" + std::to_string(tables_.size());
    table->rereadable = rereadable_;
    std::string sql = "CREATE TABLE " + table->sqlName + "(";
    for (std::size_t i = 0; i < columns.size(); ++i) {
      TypeInfo type;
      type.type = columns[i].second;
      type.size = 50;
      table->columns.push_back({columns[i].first, FoldName(columns[i].first), type});
      const bool text = type.type == ColumnType::kText || type.type == ColumnType::kMemo;
      sql += (i > 0 ? ", c" : "c") + std::to_string(i) +
             (text                                                                 ? " TEXT COLLATE JET"
              : type.type == ColumnType::kDate || type.type == ColumnType::kDouble ? " REAL"
                                                                                   : " INTEGER");
    }
    Run(sql + ")");
    tables_[FoldName(name)] = table;
  }
  void AddQuery(const std::string& name, const std::string& text) { queries_[FoldName(name)] = text; }

  TablePointer FindTable(std::string_view name, const std::string& file) override {
    if (!file.empty()) lastFile = file;
    const auto found = tables_.find(FoldName(name));
    return found == tables_.end() ? nullptr : found->second;
  }
  std::optional<std::string> FindQuery(std::string_view name) override {
    const auto found = queries_.find(FoldName(name));
    if (found == queries_.end()) return std::nullopt;
    return found->second;
  }

  void Run(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return;
    const std::string text = std::string(message) + " in " + sql;
    sqlite3_free(message);
    throw std::runtime_error(text);
  }

  /// Rows as "a|b" joined by "; ", nulls as NULL.
  std::string Rows(const std::string& sql, std::size_t columns) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(connection_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
      throw std::runtime_error(std::string(sqlite3_errmsg(connection_)) + " in " + sql);
    }
    std::string out;
    int code = 0;
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
      if (!out.empty()) out += "; ";
      for (std::size_t i = 0; i < columns; ++i) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, static_cast<int>(i)));
        out += (i > 0 ? "|" : "") + std::string(text == nullptr ? "NULL" : text);
      }
    }
    const std::string problem = code == SQLITE_DONE ? "" : sqlite3_errmsg(connection_);
    sqlite3_finalize(statement);
    return problem.empty() ? out : "error: " + problem;
  }

  /// The first rows as values of the kinds that SQLite has.
  std::vector<std::vector<Value>> Values(const SelectPlan& plan, std::size_t most) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(connection_, plan.sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
      throw Error(ErrorCode::kUnsupported, sqlite3_errmsg(connection_));
    std::vector<std::vector<Value>> rows;
    int code = SQLITE_ROW;
    while (rows.size() < most && (code = sqlite3_step(statement)) == SQLITE_ROW) {
      rows.emplace_back();
      for (int i = 0; i < static_cast<int>(plan.columns.size()); ++i) rows.back().push_back(ValueOf(statement, i));
    }
    const std::string problem = code == SQLITE_ROW || code == SQLITE_DONE ? "" : sqlite3_errmsg(connection_);
    sqlite3_finalize(statement);
    if (!problem.empty()) throw Error(ErrorCode::kTypeMismatch, problem);
    return rows;
  }

  std::string Query(const std::string& access) {
    const Statement statement = Translate(access, *this, settings);
    const auto& plan = std::get<SelectPlan>(statement);
    return Rows(plan.sql, plan.columns.size());
  }

  TextSettings settings;
  std::string lastFile;

 private:
  static Value ValueOf(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
      case SQLITE_NULL:
        return {};
      case SQLITE_INTEGER:
        return Value(static_cast<std::int32_t>(sqlite3_column_int(statement, column)));
      case SQLITE_FLOAT:
        return Value(sqlite3_column_double(statement, column));
      default:
        return Value(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
    }
  }

  bool rereadable_;
  sqlite3* connection_ = nullptr;
  std::map<std::string, TablePointer> tables_;
  std::map<std::string, std::string> queries_;
};

}  // namespace jet::sql::tests
