// DLookup and its family: a statement of its own inside of a statement, its texts known only when a row is at hand.
#include "jet/sql/run/Domain.h"

#include <string>
#include <utility>

#include "jet/sql/bind/DomainText.h"
#include "jet/sql/run/SessionState.h"

namespace jet::sql {

namespace {

// One of them may ask for a stored query that asks again: a circle of such queries must end.
constexpr int kDeepest = 8;

std::string_view TextOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr ? std::string_view() : std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

Value Evaluate(SessionState& state, const std::string& text) {
  if (state.domainDepth >= kDeepest) throw Error(ErrorCode::kUnsupported, "DLookup and the like use each other too deeply");
  struct Deeper {
    explicit Deeper(int& depth) : depth_(depth) { ++depth_; }
    ~Deeper() { --depth_; }
    Deeper(const Deeper&) = delete;
    Deeper& operator=(const Deeper&) = delete;
    int& depth_;
  } const deeper(state.domainDepth);
  jet::sql::Statement statement = Translate(text, state, state.options.text);
  const auto query = OpenPlan(state, std::get<SelectPlan>(std::move(statement)));
  return query->Next() ? query->Get(0) : Value();
}

void Domain(sqlite3_context* context, int count, sqlite3_value** values) {
  auto& state = *static_cast<SessionState*>(sqlite3_user_data(context));
  try {
    const Value value = Evaluate(state, DomainStatement(TextOf(values[0]), TextOf(values[1]), TextOf(values[2]),
                                                        count > 3 ? TextOf(values[3]) : std::string_view()));
    ReturnValue(context, value);
  } catch (...) {
    state.pending = std::current_exception();
    sqlite3_result_error(context, "domain function", -1);
  }
}

}  // namespace

void RegisterDomainFunctions(SessionState& state) {
  const auto identity = [](sqlite3_context* context, int, sqlite3_value**) {
    sqlite3_result_int(context, static_cast<SessionState*>(sqlite3_user_data(context))->database.LastIdentity());
  };
  sqlite3_create_function_v2(state.connection, "jet_identity", 0, SQLITE_UTF8, &state, identity, nullptr, nullptr, nullptr);
  for (const int count : {3, 4})
    sqlite3_create_function_v2(state.connection, "jet_domain", count, SQLITE_UTF8, &state, Domain, nullptr, nullptr, nullptr);
}

}  // namespace jet::sql
