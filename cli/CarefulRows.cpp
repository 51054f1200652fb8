#include "cli/CarefulRows.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <utility>

#include "base/Case.h"
#include "base/FilePath.h"
#include "base/Utf8.h"
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "cli/MomentFormat.h"
#include "cli/System.h"

namespace tamlo::cli {
namespace {

[[noreturn]] void CannotWrite(const std::string& path, const std::string& why) {
  throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path, why}));
}

/// Names that Windows keeps for devices, whatever stands behind a dot.
bool IsDevice(const std::string& name) {
  const std::string start = base::LowerName(name.substr(0, name.find('.')));
  for (const char* device : {"con", "prn", "aux", "nul"})
    if (start == device) return true;
  return start.size() == 4 && (start.starts_with("com") || start.starts_with("lpt")) && start[3] >= '1' && start[3] <= '9';
}

class CarefulRows final : public RowFormat {
 public:
  CarefulRows(std::unique_ptr<RowFormat> form, Care care) : form_(std::move(form)), care_(std::move(care)) {}

  void Begin(const std::string& table, const std::vector<std::string>& columns) override {
    table_ = table;
    columns_ = columns;
    row_ = 0;
    for (const auto& column : columns) RequireCharacters(column, column);
    form_->Begin(table, columns);
  }
  void Row(const std::vector<jet::Value>& values) override {
    ++row_;
    written_ = values;
    for (std::size_t i = 0; i < written_.size(); ++i) Change(written_[i], columns_[i]);
    form_->Row(written_);
  }
  void End() override { form_->End(); }
  [[nodiscard]] bool WantsMoments() const override { return !care_.dateFormat.empty(); }

 private:
  void Change(jet::Value& value, const std::string& column) {
    if (value.Type() == jet::ValueType::kDate && !care_.dateFormat.empty()) {
      const double serial = value.AsDate().serial;
      auto text = MomentIn(care_.dateFormat, serial);
      if (!text) Refuse(column, Say(Said::kNotInFormat, {Shown(value), care_.dateFormat}));
      value = jet::Value(std::move(*text));
    }
    if (value.Type() == jet::ValueType::kBytes && care_.files != nullptr)
      value = jet::Value(care_.files->Write(row_, column, value.AsBytes()));
    if (value.Type() == jet::ValueType::kText) RequireCharacters(value.AsText(), column);
  }
  static std::string Shown(const jet::Value& value) {
    std::string text;
    AppendPlain(text, value, {});
    return text;
  }
  void RequireCharacters(const std::string& text, const std::string& column) const {
    const auto lacking = care_.encoder ? care_.encoder->Lacks(text) : std::nullopt;
    if (!lacking) return;
    std::string sign;
    if (!base::IsStrayByte(*lacking) && !base::IsHalf(*lacking)) base::AppendCharacter(sign, *lacking);
    std::array<char, 16> code{};
    std::snprintf(code.data(), code.size(), "U+%04X", static_cast<unsigned>(base::IsStrayByte(*lacking) ? base::kReplacement : *lacking));
    Refuse(column, Say(Said::kNotInEncoding, {sign, code.data(), care_.encoding}));
  }
  [[noreturn]] void Refuse(const std::string& column, const std::string& why) const {
    throw Failure(Status::kFailed, Say(Said::kCellOf, {table_, std::to_string(row_), column}) + ": " + why);
  }

  std::unique_ptr<RowFormat> form_;
  Care care_;
  std::string table_;
  std::vector<std::string> columns_;
  std::vector<jet::Value> written_;
  std::int64_t row_ = 0;
};

}  // namespace

BytesFolder::BytesFolder(std::string path, std::string name) : path_(std::move(path)), name_(std::move(name)) {
  for (const std::string& one : {path_, path_ + ".part"})
    if (std::filesystem::exists(base::FilePath(one))) throw Failure(Status::kFailed, Say(Said::kExistsAlready, {one}));
}

BytesFolder::~BytesFolder() {
  std::error_code ignored;
  if (made_) std::filesystem::remove_all(base::FilePath(path_ + ".part"), ignored);
}

std::string BytesFolder::Write(std::int64_t row, const std::string& column, const jet::Bytes& bytes) {
  const std::string folder = path_ + ".part";
  std::error_code problem;
  if (!made_ && !std::filesystem::create_directory(base::FilePath(folder), problem)) CannotWrite(folder, problem.message());
  made_ = true;
  const std::string start = std::to_string(row) + "-" + GoodFileName(column);
  std::string name = start + ".bin";
  // Two columns may have names that are one name of a file.
  for (int more = 2; std::filesystem::exists(base::FilePath(folder + "/" + name)); ++more)
    name = start + "-" + std::to_string(more) + ".bin";
  std::FILE* file = OpenToWrite(folder + "/" + name);
  if (file == nullptr) CannotWrite(folder + "/" + name, std::strerror(errno));
  const bool whole = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  if (std::fclose(file) != 0 || !whole) CannotWrite(folder + "/" + name, std::strerror(errno));
  return name_ + "/" + name;
}

void BytesFolder::Close() {
  if (!made_) return;
  std::error_code problem;
  std::filesystem::rename(base::FilePath(path_ + ".part"), base::FilePath(path_), problem);
  if (problem) CannotWrite(path_, problem.message());
  made_ = false;
}

std::unique_ptr<RowFormat> Careful(std::unique_ptr<RowFormat> form, Care care) {
  if (care.dateFormat.empty() && !care.encoder && care.files == nullptr) return form;
  return std::make_unique<CarefulRows>(std::move(form), std::move(care));
}

std::string GoodFileName(const std::string& from) {
  std::string name = from;
  std::replace_if(
      name.begin(), name.end(),
      [](char c) { return std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos || static_cast<unsigned char>(c) < 0x20; },
      '_');
  if (IsDevice(name)) name.insert(0, "_");
  return name;
}

}  // namespace tamlo::cli
