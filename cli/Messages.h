#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

/// What the command says, in French or English after LC_ALL, LC_MESSAGES and LANG, and after the system where it
/// knows (Windows). All of it stands in one table (Messages.cpp).
namespace tamlo::cli {

enum class Said {
  kAbout,
  kHelp,
  kVersion,
  kInfo,
  kTables,
  kSchema,
  kQueries,
  kRelations,
  kQuery,
  kExport,
  kExec,
  kCheck,
  kCompact,
  kBackup,
  kDatabase,
  kTarget,
  kStatement,
  kStatementFile,
  kTablePattern,
  kAllTables,
  kColumns,
  kWhere,
  kOrderBy,
  kLimit,
  kFormat,
  kFolder,
  kNullText,
  kTruthTexts,
  kBinaryForm,
  kNewFile,
  kCannotOpen,
  kNoFile,
  kUnknownEngine,
  kNoSuchTable,
  kNoTableMatches,
  kOneTable,
  kNoColumn,
  kTwoWords,
  kNoStatement,
  kCannotRead,
  kCannotWrite,
  kExistsAlready,
  kSound,
  kFindings,
  kRowsAffected,
  kOnlyAccess,
  kPasswordFile,
  kPasswordOf,
  kPasswordInside,
  kUnknownScheme,
  kUnknownOption,
  kBadEscape,
  kBadPort,
  kNoDatabase,
  kBadFileName,
  kNoName,
  kNoDriver,
  kLoginRefused,
  kNotADatabase,
  kIsAFolder,
  kRowOf,
  kLabelFile,
  kLabelDatabase,
  kLabelFormat,
  kLabelTables,
  kLabelQueries,
  kLabelRelations,
  kLabelLinks,
  kLabelRows,
  kLabelSize,
  kCancelled,
  kCompare,
  kCompareStructure,
  kCompareRows,
  kShownRows,
  kRowsDiffer,
  kAreEqual,
};

/// The text, "%1", "%2"... in it replaced by the arguments.
[[nodiscard]] std::string Say(Said what, std::initializer_list<std::string_view> arguments = {});
/// True when the user reads French.
[[nodiscard]] bool SpeaksFrench();

}  // namespace tamlo::cli
