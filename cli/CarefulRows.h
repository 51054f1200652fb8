#pragma once

#include <memory>
#include <optional>
#include <string>

#include "cli/Encoding.h"
#include "cli/Format.h"

namespace tamlo::cli {

/// A folder in which each value of bytes of one table gets a file of its own. It has its name when Close is called; what was not closed is
/// taken away. Errors: Failure with kFailed, naming folder or file.
class BytesFolder {
 public:
  /// path: of the folder, which must not exist; name: of the folder as the table's file calls it, beside which it stands.
  BytesFolder(std::string path, std::string name);
  ~BytesFolder();
  BytesFolder(const BytesFolder&) = delete;
  BytesFolder& operator=(const BytesFolder&) = delete;

  /// Writes the bytes; what the table's cell holds in their place: "Clients.files/12-Photo.bin".
  [[nodiscard]] std::string Write(std::int64_t row, const std::string& column, const jet::Bytes& bytes);
  void Close();

 private:
  std::string path_;
  std::string name_;
  bool made_ = false;
};

/// What is done to values before a form writes them.
struct Care {
  std::string dateFormat;                  ///< as Reading::dateFormat; empty: the form's own
  std::string encoding;                    ///< by the name that the user gave
  std::shared_ptr<const Encoder> encoder;  ///< null: any character will do
  BytesFolder* files = nullptr;            ///< takes the bytes
};

/// A form over another one. Failure with kFailed, naming table, row and column, for a moment that the format cannot hold and a character that
/// the encoding does not have.
[[nodiscard]] std::unique_ptr<RowFormat> Careful(std::unique_ptr<RowFormat> form, Care care);

/// A name of a file, good on every system, made of any other name.
[[nodiscard]] std::string GoodFileName(const std::string& name);

}  // namespace tamlo::cli
