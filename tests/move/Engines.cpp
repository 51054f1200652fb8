#include "tests/move/Engines.h"

#include <filesystem>

namespace tamlo::tests {
namespace {

class SqliteTarget final : public TargetEngine {
 public:
  [[nodiscard]] std::string Name() const override { return folder.File("target.sqlite"); }
  void Empty() override { std::filesystem::remove(Name()); }
  Ran Ask(const std::string& statements) override { return RunLine(folder, "sqlite3 -bail " + Word(Name()), statements); }
  Rows RowsOf(const std::string& table, const std::string& order) override {
    const auto columns =
        Ask("SELECT group_concat(CASE WHEN upper(type) LIKE '%BLOB%' OR upper(type) LIKE '%BINARY%' THEN "
            "'CASE WHEN typeof(\"'||name||'\")=''null'' THEN NULL ELSE hex(\"'||name||'\") END' ELSE '\"'||replace(name,'\"','\"\"')||'\"' "
            "END) FROM pragma_table_info('" +
            table + "');\n");
    return ReadCsv(RunLine(folder, "sqlite3 -csv -newline '\n' " + Word(Name()),
                           "SELECT " + columns.out.substr(0, columns.out.size() - 1) + " FROM " + Quoted(table) + order + ";\n")
                       .out);
  }
};

/// One server of each kind for all tests of the program.
template <typename Kind>
Kind& Shared() {
  static Kind server;
  return server;
}

class PostgresTarget final : public TargetEngine {
 public:
  [[nodiscard]] std::string Name() const override { return "postgresql://tamlo@/tamlo?socket=" + server_.Folder(); }
  void Empty() override { Ask("SET client_min_messages=error; DROP SCHEMA public CASCADE; CREATE SCHEMA public;\n"); }
  Ran Ask(const std::string& statements) override {
    return RunLine(folder, "env PGPASSWORD=tamlo psql -qAtX -v ON_ERROR_STOP=1 -h " + Word(server_.Folder()) + " -U tamlo tamlo",
                   statements);
  }
  Rows RowsOf(const std::string& table, const std::string& order) override {
    const auto columns = Ask(
        "SELECT string_agg(CASE data_type WHEN 'bytea' THEN 'encode(\"' || column_name || '\", ''hex'')' WHEN 'boolean' THEN "
        "'\"' || replace(column_name, '\"', '\"\"') || '\"::int' ELSE '\"' || replace(column_name, '\"', '\"\"') || '\"' END, ', ' ORDER BY ordinal_position) "
        "FROM information_schema.columns WHERE table_schema = 'public' AND table_name = $$" +
        table + "$$;\n");
    return ReadCsv(Ask("SET extra_float_digits = 1; COPY (SELECT " + columns.out.substr(0, columns.out.size() - 1) + " FROM " +
                       Quoted(table) + order + ") TO STDOUT WITH (FORMAT csv);\n")
                       .out);
  }
  [[nodiscard]] PrivateServer* Server() override { return &server_; }

 private:
  PostgresServer& server_ = Shared<PostgresServer>();
};

class MariaDbTarget final : public TargetEngine {
 public:
  [[nodiscard]] std::string Name() const override { return "mariadb://tamlo@localhost/tamlo?socket=" + server_.Socket(); }
  void Empty() override { Ask("SET FOREIGN_KEY_CHECKS=0; DROP DATABASE tamlo; CREATE DATABASE tamlo;\n"); }
  Ran Ask(const std::string& statements) override {
    return RunLine(folder,
                   "mariadb --batch --raw --skip-column-names --default-character-set=utf8mb4 -S " + Word(server_.Socket()) +
                       " -u tamlo -ptamlo tamlo",
                   statements);
  }
  [[nodiscard]] std::string Quoted(const std::string& name) const override { return '`' + name + '`'; }
  Rows RowsOf(const std::string& table, const std::string& order) override {
    // One text a row, made by the server: a cell between quotes, nothing for a null.
    const auto columns =
        Ask("SET SESSION group_concat_max_len=1000000; SELECT GROUP_CONCAT(CASE WHEN DATA_TYPE LIKE '%blob' OR DATA_TYPE LIKE '%binary' "
            "THEN CONCAT('HEX(`', COLUMN_NAME, '`)') WHEN DATA_TYPE = 'float' THEN CONCAT('CAST(`', COLUMN_NAME, '` AS DOUBLE)') ELSE "
            "CONCAT('`', COLUMN_NAME, '`') END ORDER BY ORDINAL_POSITION SEPARATOR '|') FROM information_schema.COLUMNS WHERE "
            "TABLE_SCHEMA = 'tamlo' AND TABLE_NAME = '" +
            table + "';\n")
            .out;
    std::string cells;
    for (std::size_t from = 0; from < columns.size();) {
      const auto end = std::min(columns.find('|', from), columns.size() - 1);
      cells += (cells.empty() ? "" : ", ',', ") + std::string("IFNULL(CONCAT('\"', REPLACE(") + columns.substr(from, end - from) +
               ", '\"', '\"\"'), '\"'), '')";
      from = end + 1;
    }
    return ReadCsv(Ask("SELECT CONCAT(" + cells + ") FROM " + Quoted(table) + order + ";\n").out);
  }
  [[nodiscard]] PrivateServer* Server() override { return &server_; }

 private:
  MariaDbServer& server_ = Shared<MariaDbServer>();
};

}  // namespace

std::unique_ptr<TargetEngine> EngineCalled(const std::string& name) {
  if (name == "mariadb") return std::make_unique<MariaDbTarget>();
  if (name == "postgresql") return std::make_unique<PostgresTarget>();
  return std::make_unique<SqliteTarget>();
}

}  // namespace tamlo::tests
