#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

/// Reports for programs.
namespace tamlo::cli {

/// An object of texts: "name", value, "name", value...
[[nodiscard]] std::string JsonObject(std::initializer_list<std::string_view> parts);

/// Appends a member that is an array of such objects, one on a line.
void AppendJsonList(std::string& text, std::string_view name, const std::vector<std::string>& objects);

/// Writes a file anew. Error: Failure kFailed with the system's reason.
void WriteReportFile(const std::string& path, const std::string& text);

}  // namespace tamlo::cli
