#pragma once

#include <string>
#include <string_view>

/// Passes over a statement that several kinds make, each on the text in place.
namespace tamlo::db::sql {

/// The function of the dialect around a date text.
inline constexpr std::string_view kCvdate = "CVDATE";

/// Upper case outside of single-quoted literals. From an unmatched quote on, and back to the end of the literal before it, the text keeps its
/// case.
void ReplieCasse(std::string& sql);

/// "DELETE * FROM" and "DELETE T.* FROM" are the dialect's alone: in a text whose first six characters are "DELETE" every ".*" goes, then every
/// asterisk. enMajuscules: in whatever case they stand. Error 6 of RemplaceDans.
void RetireAsterisques(std::string& sql, bool enMajuscules);

}  // namespace tamlo::db::sql
