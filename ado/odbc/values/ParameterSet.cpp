#include "ado/odbc/values/ParameterSet.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/values/Encode.h"
#include "ado/odbc/values/TextEncoding.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

using Form = ParameterShape::Form;
using runtime::Error;

// psqlODBC copies what it has so far for each piece: few large pieces.
constexpr std::size_t kPieceBytes = 256 * 1024;

}  // namespace

void ParameterSet::Add(const Variant& value, const ParameterShape& shape) {
  auto bound = std::make_unique<Bound>();
  bound->shape = shape;
  Encoded(*bound, value);
  Bind(*bound, bound_.size());
  bound_.push_back(std::move(bound));
}

void ParameterSet::Encoded(Bound& bound, const Variant& value) {
  const ParameterShape& shape = bound.shape;
  bool present = false;
  try {
    present = Encode(value, shape, bound.data);
  } catch (Error& error) {
    const bool named = error.Description().find(shape.column) != std::string::npos;
    throw named || shape.column.empty() ? error : error.WithContext("colonne " + shape.column);
  }
  bound.indicator = present ? static_cast<std::ptrdiff_t>(bound.data.size()) : SQL_NULL_DATA;
}

void ParameterSet::Refill(std::size_t position, const Variant& value) {
  Bound& bound = *bound_[position];
  bound.data.clear();
  Encoded(bound, value);
  // A driver that knows where the value is, and has room enough for it, reads it there anew.
  const bool isKnown =
      bound.data.data() == bound.place && bound.data.size() <= bound.size && bound.shape.form != ParameterShape::Form::kBytes;
  if (!isKnown) Bind(bound, position);
}

void ParameterSet::Add(const ChunkSource& source, const ParameterShape& shape) {
  if (!statement_.Owner().Facts().streamsParameters) {
    // The driver wants to know the length beforehand and keeps the whole value itself: it is collected here.
    std::vector<std::byte> piece(kPieceBytes);
    std::vector<std::byte> whole;
    while (const std::size_t count = source(piece.data(), piece.size()))
      whole.insert(whole.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
    if (shape.form == Form::kBytes) return Add(Variant(runtime::Bytes(std::move(whole))), shape);
    return Add(Variant(std::string(reinterpret_cast<const char*>(whole.data()), whole.size())), shape);
  }
  auto bound = std::make_unique<Bound>();
  bound->shape = shape;
  bound->shape.sqlType = shape.form == Form::kBytes       ? SQL_LONGVARBINARY
                         : shape.nativeType == SQL_C_CHAR ? SQL_LONGVARCHAR
                                                          : SQL_WLONGVARCHAR;
  bound->source = source;
  bound->indicator = SQL_LEN_DATA_AT_EXEC(0);
  Bind(*bound, bound_.size());
  bound_.push_back(std::move(bound));
}

void ParameterSet::Bind(Bound& bound, std::size_t number) {
  const auto& shape = bound.shape;
  const std::size_t unit = shape.nativeType == SQL_C_WCHAR ? sizeof(char16_t) : 1;
  std::size_t size = shape.columnSize;
  if (bound.source) {
    size = 1073741823;
  } else if (shape.fixedSize == 0) {
    size = std::max<std::size_t>({size, bound.data.size() / unit, 1});
  }
  void* data = bound.source ? static_cast<void*>(&bound) : bound.data.data();
  // An empty value still needs an address.
  if (data == nullptr) data = &bound.indicator;
  const auto position = static_cast<SQLUSMALLINT>(number + 1);
  statement_.Check(SQLBindParameter(statement_.Native(), position, SQL_PARAM_INPUT, shape.nativeType, shape.sqlType, size, shape.digits,
                                    data, static_cast<SQLLEN>(bound.data.size()), AsNativeLengths(&bound.indicator)));
  bound.place = data;
  bound.size = bound.data.size();
}

void ParameterSet::SendPieces(const Bound& bound) {
  std::vector<std::byte> piece(kPieceBytes);
  std::size_t count = bound.source(piece.data(), piece.size());
  do {  // of an empty value an empty piece: without any the driver manager does not go on
    std::vector<std::byte> text;
    if (bound.shape.form != Form::kBytes) {
      const std::string_view characters(reinterpret_cast<const char*>(piece.data()), count);
      CheckCharacters(characters, bound.shape);
      AppendText(text, characters, bound.shape);
    }
    auto* data = text.empty() ? piece.data() : text.data();
    statement_.Check(SQLPutData(statement_.Native(), data, static_cast<SQLLEN>(text.empty() ? count : text.size())));
    if (count > 0) count = bound.source(piece.data(), piece.size());
  } while (count > 0);
}

void ParameterSet::Execute() {
  statement_.Owner().RequireTransaction();
  const Statement::TimeLimit limit(statement_);
  auto result = SQLExecute(statement_.Native());
  try {
    while (result == SQL_NEED_DATA) {
      SQLPOINTER which = nullptr;
      result = SQLParamData(statement_.Native(), &which);
      if (result != SQL_NEED_DATA) break;
      const auto wanted = std::find_if(bound_.begin(), bound_.end(), [&](const auto& bound) { return bound.get() == which; });
      if (wanted == bound_.end() || !(*wanted)->source || std::exchange((*wanted)->sent, true)) {
        throw Unbelievable("il demande une valeur qui n'est pas à envoyer");
      }
      SendPieces(**wanted);
    }
  } catch (...) {
    SQLCancel(statement_.Native());
    throw;
  }
  statement_.Check(result);
}

}  // namespace tamlo::ado::odbc
