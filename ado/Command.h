#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "ado/Types.h"

namespace tamlo::ado {

class Connection;
class Recordset;
struct ConnectionState;

/// A value that goes into a statement beside its text, or comes out of a procedure.
struct Parameter {
  std::string name = {};        ///< as the statement writes it, with or without brackets or colon; empty: the next one in order
  std::int16_t type = adEmpty;  ///< how the value travels; adEmpty: as its own kind tells
  std::int64_t size = 0;        ///< of a text or bytes, in characters or bytes: a longer value is refused; 0 is without limit
  Variant value = {};  ///< Empty and Null are both a null. After Execute, of one that comes out, what came, of the type given (null: Null)
  ParameterDirection direction = adParamInput;
};

/// The parameters of a command, in order, positions from 0. Error 3265 for a name (without regard to case) or position that is not there.
class Parameters {
 public:
  [[nodiscard]] std::size_t Count() const noexcept { return items_.size(); }
  [[nodiscard]] Parameter& Item(std::size_t position);
  [[nodiscard]] Parameter& Item(const std::string& name);
  /// At the end. Names may come twice; a lookup finds the first.
  void Append(Parameter parameter) { items_.push_back(std::move(parameter)); }
  void Delete(std::size_t position);
  void Delete(const std::string& name);
  void Clear() noexcept { items_.clear(); }
  [[nodiscard]] const std::vector<Parameter>& All() const noexcept { return items_; }

 private:
  friend class Command;
  std::vector<Parameter> items_;
};

/// A statement with parameters. Values never become part of the text. Belongs to whoever made it. Not to be copied, for what it has prepared.
/// Marks are "?", in order, and ":name" (Positioned), with as many values as marks; on Access files also the names that PARAMETERS declares, and
/// [prompts].
///
/// Output parameters are for calls of procedures and functions on MariaDB and PostgreSQL ("{call P(?, ?)}", "CALL P(?, ?)", "{? = call F(?)}",
/// adCmdStoredProc); elsewhere, and for other statements, 3251 before anything runs. All of them have their values when Execute is back,
/// also when there are rows besides: those are then kept. A value that does not fit its parameter is an error, after which no parameter has
/// another value than before; what the procedure did is done. With them a command is prepared anew each time, and a recordset is opened by
/// Execute, not by Recordset::Open (3251).
///
/// Errors: 3709 without an open connection (also one that is gone), 3265 for a name without a value or a value without its name, else what the
/// provider raises; the command stays usable.
class Command {
 public:
  Command();
  ~Command();
  Command(Command&&) noexcept;
  Command& operator=(Command&&) noexcept;

  void ActiveConnection(Connection* connection) noexcept;
  /// Null also when the connection is gone.
  [[nodiscard]] Connection* ActiveConnection() const noexcept;
  void CommandText(std::string text);
  [[nodiscard]] const std::string& CommandText() const noexcept { return text_; }
  /// adCmdText at first; adCmdTable: the text is the name of a table; adCmdStoredProc: of a stored query or procedure.
  void CommandType(std::int32_t type) noexcept { type_ = type; }
  [[nodiscard]] std::int32_t CommandType() const noexcept { return type_; }
  /// Seconds that it may take; 0 is without limit. 30 at first, whatever the connection's is. Error 5 below 0.
  void CommandTimeout(std::int32_t seconds);
  [[nodiscard]] std::int32_t CommandTimeout() const noexcept { return timeout_; }
  [[nodiscard]] ado::Parameters& Parameters() noexcept { return parameters_; }
  [[nodiscard]] const ado::Parameters& Parameters() const noexcept { return parameters_; }
  /// Takes the statement's own parameters from the provider, values empty. On ODBC sources they have no names, and the type of texts.
  void Refresh();

  /// Whether the statement stays prepared between two calls of Execute, where the provider knows how (ODBC). False at first. It is prepared
  /// at the first of them, and anew once text, type or connection are others.
  void Prepared(bool yes);
  [[nodiscard]] bool Prepared() const noexcept { return prepared_; }

  /// Runs it; rows that it might give are thrown away. Rows affected, -1 when not known.
  std::int64_t Execute();
  /// The same with these values, in order, in the place of those of Parameters, whose names, types and sizes hold.
  std::int64_t Execute(std::span<const Variant> values);
  /// Runs it and gives its rows, forward-only and read-only; a closed recordset when it gives none, and then the rows affected (else -1).
  Recordset Execute(std::int64_t& recordsAffected);

  /// The text, or the call that the type makes of it, with its marks as they are. For the classes of this room.
  [[nodiscard]] std::string Statement() const;

 private:
  friend class Recordset;
  struct Prepare;
  [[nodiscard]] Connection& Open() const;
  /// What goes to the provider: the text, or what its type or its names make of it, with the parameters of its marks, in order.
  struct Sent {
    std::string made;               // empty where the text goes as it is
    std::vector<Parameter> placed;  // where marks have names
    std::span<const Parameter> parameters;
  };
  [[nodiscard]] Sent ToSend() const;
  /// The parameters, once their sizes were looked at. Error -2147467259 naming one whose value is longer than its size, 3251 for an output
  /// parameter where the provider has none.
  [[nodiscard]] const std::vector<Parameter>& Checked() const;
  [[nodiscard]] bool HasOutputs() const noexcept;
  Recordset ExecuteCall(std::int64_t& recordsAffected);

  std::shared_ptr<ConnectionState> state_;  // the connection's: it may go before the command
  std::string text_;
  std::int32_t type_ = adCmdText;
  std::int32_t timeout_ = 30;
  bool prepared_ = false;
  ado::Parameters parameters_;
  std::unique_ptr<Prepare> kept_;
};

}  // namespace tamlo::ado
