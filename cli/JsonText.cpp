#include "cli/JsonText.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "base/FilePath.h"
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "move/Json.h"

namespace tamlo::cli {

std::string JsonObject(std::initializer_list<std::string_view> parts) {
  std::string text = "{";
  bool name = true;
  for (const std::string_view part : parts) {
    if (name && text.size() > 1) text += ", ";
    move::AppendJson(text, part);
    if (name) text += ": ";
    name = !name;
  }
  return text + "}";
}

void AppendJsonList(std::string& text, std::string_view name, const std::vector<std::string>& objects) {
  move::AppendJson(text, name);
  text += ": [";
  for (std::size_t i = 0; i < objects.size(); ++i) text += (i == 0 ? "\n    " : ",\n    ") + objects[i];
  text += objects.empty() ? "]" : "\n  ]";
}

void WriteReportFile(const std::string& path, const std::string& text) {
  std::ofstream file(base::FilePath(path), std::ios::binary | std::ios::trunc);
  file << text << std::flush;
  if (!file) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path, std::strerror(errno)}));
}

}  // namespace tamlo::cli
