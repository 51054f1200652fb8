#include "cli/Output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "cli/Failure.h"
#include "cli/Messages.h"

namespace tamlo::cli {

Output::Output() : file_(stdout) {}

Output::Output(const std::string& path) : path_(path), file_(nullptr) {
  if (std::filesystem::exists(std::filesystem::path(reinterpret_cast<const char8_t*>(path.c_str()))))
    throw Failure(Status::kFailed, Say(Said::kExistsAlready, {path}));
  file_ = std::fopen((path + ".part").c_str(), "wb");
  if (file_ == nullptr) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path, std::strerror(errno)}));
}

Output::~Output() {
  if (path_.empty() || file_ == nullptr) return;
  std::fclose(file_);
  std::remove((path_ + ".part").c_str());
}

void Output::Write() {
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
  if (std::rename((path_ + ".part").c_str(), path_.c_str()) != 0)
    throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path_, std::strerror(errno)}));
}

}  // namespace tamlo::cli
