#pragma once

#include <string>

namespace tamlo::bench {

/// A connection of its own with one statement, straight on the driver manager.
class RawSide {
 public:
  /// std::runtime_error with the driver's text when it refuses.
  explicit RawSide(const std::string& connectionString);
  ~RawSide();
  RawSide(const RawSide&) = delete;
  RawSide& operator=(const RawSide&) = delete;

  /// std::runtime_error with the driver's text unless the result of a call on the statement is a success.
  void Check(short result) const;
  void Execute(const std::string& sql);
  void Prepare(const std::string& sql);
  /// From here on transactions end by Commit alone.
  void Begin();
  /// Sends the bound parameters of so many rows.
  void SendRows(std::size_t rows);
  void Commit();

  void* connection = nullptr;
  void* statement = nullptr;

 private:
  void* environment_ = nullptr;
};

}  // namespace tamlo::bench
