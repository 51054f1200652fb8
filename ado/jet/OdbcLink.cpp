#include "ado/jet/OdbcLink.h"

#include "ado/Recordset.h"
#include "ado/jet/JetValues.h"
#include "jet/sql/Names.h"
#include "runtime/Error.h"

namespace tamlo::ado::jetprovider {

namespace {

jet::Error FromProvider(const runtime::Error& error) {
  return {error.Number() == runtime::kDuplicateKey ? jet::ErrorCode::kDuplicateKey : jet::ErrorCode::kIo, error.Description()};
}

template <typename Work>
decltype(auto) OnSource(Work&& work) {
  try {
    return std::forward<Work>(work)();
  } catch (const runtime::Error& error) {
    throw FromProvider(error);
  }
}

bool IsPlainName(const std::string& name) {
  return !name.empty() && name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.") == std::string::npos;
}

std::string Quoted(const std::string& name, char open, char close) {
  std::string out(1, open);
  for (const char c : name) {
    if (c == '.') {
      out += close;
      out += '.';
      out += open;
    } else {
      out += c;
    }
  }
  return out + close;
}

jet::sql::TypeInfo TypeOf(const Field& field) {
  jet::sql::TypeInfo type;
  switch (field.Type()) {
    case adUnsignedSmallInt:
      type.type = jet::ColumnType::kLong;
      break;
    case adUnsignedInt:
      type.type = jet::ColumnType::kDouble;
      break;
    case adBigInt:
    case adUnsignedBigInt:
      type.type = jet::ColumnType::kNumeric;
      break;
    default:
      type.type = EngineType(field.Type()).value_or(jet::ColumnType::kText);
  }
  type.size = static_cast<std::uint32_t>(std::min<std::int64_t>(field.DefinedSize(), 65535));
  type.precision = static_cast<std::uint8_t>(std::min<std::int16_t>(field.Precision(), 28));
  type.scale = static_cast<std::uint8_t>(std::min<std::int16_t>(field.NumericScale(), 28));
  if (type.type == jet::ColumnType::kText && type.size > 255) type.type = jet::ColumnType::kMemo;
  if (type.type == jet::ColumnType::kBinary && type.size > 510) type.type = jet::ColumnType::kOle;
  return type;
}

class OdbcCursor final : public jet::sql::ForeignCursor {
 public:
  OdbcCursor(Connection& connection, const std::string& text) {
    OnSource([&] { rows_.Open(text, &connection, adOpenForwardOnly, adLockReadOnly, adOptionUnspecified); });
  }
  bool Next() override {
    return OnSource([&] {
      if (started_) rows_.MoveNext();
      started_ = true;
      return !rows_.Eof();
    });
  }
  jet::Value Get(std::size_t column) override {
    return OnSource([&] { return ToValue(rows_.Fields(column).Value()); });
  }

 private:
  Recordset rows_;
  bool started_ = false;
};

}  // namespace

OdbcTable::OdbcTable(std::shared_ptr<Connection> connection, std::string table) : connection_(std::move(connection)) {
  // Which quotes the source takes is not known here: the plain name first where it can stand so.
  std::vector<std::string> spellings;
  if (IsPlainName(table)) spellings.push_back(table);
  spellings.push_back(Quoted(table, '"', '"'));
  spellings.push_back(Quoted(table, '`', '`'));
  spellings.push_back(Quoted(table, '[', ']'));
  std::string problem;
  for (const std::string& spelling : spellings) {
    try {
      Recordset rows;
      rows.Open("SELECT * FROM " + spelling, connection_.get(), adOpenForwardOnly, adLockReadOnly, adOptionUnspecified);
      for (std::size_t i = 0; i < rows.FieldCount(); ++i) {
        const Field& field = rows.Fields(i);
        columns_.push_back({field.Name(), jet::sql::FoldName(field.Name()), TypeOf(field)});
      }
      text_ = "SELECT * FROM " + spelling;
      return;
    } catch (const runtime::Error& error) {
      if (problem.empty()) problem = error.Description();
    }
  }
  throw jet::Error(jet::ErrorCode::kIo, problem);
}

std::unique_ptr<jet::sql::ForeignCursor> OdbcTable::Scan() { return std::make_unique<OdbcCursor>(*connection_, text_); }

void OdbcTable::Insert(std::span<const jet::Assignment> values) {
  OnSource([&] {
    Recordset rows;
    rows.Open(text_, connection_.get(), adOpenDynamic, adLockOptimistic, adOptionUnspecified);
    rows.AddNew();
    for (const jet::Assignment& value : values) {
      if (value.value != nullptr) {
        rows.Fields(value.column).Value(ToVariant(*value.value));
      } else {
        jet::ChunkSource* source = value.source;
        rows.Fields(value.column).WriteFrom([source](std::byte* buffer, std::size_t capacity) {
          return source->Read(std::span(buffer, capacity));
        });
      }
    }
    rows.Update();
  });
}

std::unique_ptr<ProviderRowset> OdbcTable::OpenRowset(const RowsetRequest& request) {
  RowsetRequest own = request;
  own.source = text_;
  own.options = adOptionUnspecified;
  return connection_->Native().OpenRowset(own);
}

std::shared_ptr<OdbcTable> OdbcLinks::Open(const std::string& connect, const std::string& table) {
  std::shared_ptr<Connection>& connection = connections_[connect];
  if (connection == nullptr) {
    OnSource([&] {
      auto opened = std::make_shared<Connection>();
      opened->Provider("MSDASQL");
      opened->RegisteredOnly(true);
      opened->Open(connect, "", "");
      connection = std::move(opened);
    });
  }
  return std::make_shared<OdbcTable>(connection, table);
}

}  // namespace tamlo::ado::jetprovider
