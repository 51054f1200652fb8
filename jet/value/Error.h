#pragma once

#include <cstdint>
#include <string>

#include "base/Error.h"

namespace jet {

/// What went wrong, in the engine's own terms; the provider above maps each to the number that callers know.
enum class ErrorCode {
  kNotAnAccessFile,       ///< the file is not in a format that this engine knows (the text names what it is)
  kPasswordProtected,     ///< a database password is set and none was given
  kWrongPassword,         ///< the database password is another one than was given
  kInUse,                 ///< another process holds the file exclusively, or holds it and exclusive use was asked (3051, 3006)
  kReadOnly,              ///< writing to a file, folder or object that can only be read
  kDamaged,               ///< a structure contradicts the format: page and offset are given
  kIo,                    ///< the operating system refused: its text is in the description
  kDiskFull,              ///< no space left; the transaction has been rolled back
  kDuplicateKey,          ///< a unique index already holds the key (3022)
  kNullNotAllowed,        ///< a required column got no value
  kZeroLengthNotAllowed,  ///< a text column that refuses the empty text got it
  kValueTooLong,          ///< a text or binary value is longer than its column
  kTypeMismatch,          ///< a value cannot be turned into the column's type
  kNotFound,              ///< no table, column or index of that name
  kAlreadyExists,         ///< a table, column or index of that name is there already
  kLimit,                 ///< a limit of the format (255 columns, 32 indexes, 2 GiB, row length) would be passed
  kUnsupported,           ///< readable but not writable here (for example an index order that is not known), or not expressible
  kSyntax,                ///< SQL text that cannot be understood: the position is in the description
  kLinkUnreachable,       ///< the target of a linked table is away: the target is in the description
  kRelationViolated,      ///< an enforced relationship forbids it: the parent row is missing (3201) or has rows that refer to it (3200)
  kNoTransaction,         ///< the end of a transaction that was not begun
  kChangedMeanwhile,      ///< what was to be read was changed by another user since its row was read: reading the row again helps
};

/// The engine's only exception (with one derived from it). After it the database object is usable and the statement has changed nothing.
class Error : public base::Error {
 public:
  Error(ErrorCode code, const std::string& description) : base::Error(description), code_(code) {}
  /// A damaged structure: the description gets page and byte offset appended.
  Error(ErrorCode code, const std::string& description, std::uint32_t page, std::uint32_t offset)
      : base::Error(description + " (page " + std::to_string(page) + ", offset " + std::to_string(offset) + ")"),
        code_(code),
        page_(page),
        offset_(offset) {}

  [[nodiscard]] ErrorCode Code() const noexcept { return code_; }
  [[nodiscard]] std::uint32_t Page() const noexcept { return page_; }
  [[nodiscard]] std::uint32_t Offset() const noexcept { return offset_; }

 private:
  ErrorCode code_;
  std::uint32_t page_ = 0;
  std::uint32_t offset_ = 0;
};

/// What is not found (kNotFound) is a table or a query of tables.
class NoSuchTable : public Error {
 public:
  explicit NoSuchTable(const std::string& description) : Error(ErrorCode::kNotFound, description) {}
};

}  // namespace jet
