#include "cli/Output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "base/FilePath.h"
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "cli/System.h"

namespace tamlo::cli {

Output::Output() : file_(stdout) {}

Output::Output(const std::string& path) : path_(path), file_(nullptr) {
  if (std::filesystem::exists(base::FilePath(path))) throw Failure(Status::kFailed, Say(Said::kExistsAlready, {path}));
  file_ = OpenToWrite(path + ".part");
  if (file_ == nullptr) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path, std::strerror(errno)}));
}

Output::~Output() {
  if (path_.empty() || file_ == nullptr) return;
  std::fclose(file_);
  std::error_code ignored;
  std::filesystem::remove(base::FilePath(path_ + ".part"), ignored);
}

void Output::Encode(std::shared_ptr<const Encoder> encoder) {
  encoder_ = std::move(encoder);
  bytes_ = encoder_->Mark();
}

void Output::Write() {
  if (encoder_) {
    encoder_->Append(text_, bytes_);
    text_.swap(bytes_);
    bytes_.clear();
  }
  const bool whole = text_.empty() || std::fwrite(text_.data(), 1, text_.size(), file_) == text_.size();
  if (!whole) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path_.empty() ? "stdout" : path_, std::strerror(errno)}));
  text_.clear();
}

void Output::Close() {
  Write();
  if (std::fflush(file_) != 0)
    throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path_.empty() ? "stdout" : path_, std::strerror(errno)}));
  if (path_.empty()) return;
  std::fclose(file_);
  file_ = nullptr;
  std::error_code problem;
  std::filesystem::rename(base::FilePath(path_ + ".part"), base::FilePath(path_), problem);
  if (problem) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path_, problem.message()}));
}

}  // namespace tamlo::cli
