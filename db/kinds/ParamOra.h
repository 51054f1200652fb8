#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tamlo::db::kinds {

/// Storage parameters of one Oracle table, each as the text of the file; blank ones are not written into a statement.
struct ParamOra {
  std::string owner;
  std::string pctFree;
  std::string pctUsed;
  std::string tablespace;
  std::string tablespaceIndex;
  std::string initial;
  std::string next;
  std::string minExtents;
  std::string maxExtents;
  std::string pctIncrease;
};

/// A whole parameter file: the defaults (the owner stands here alone) and one group per table, in the file's order.
struct FichierParamOra {
  ParamOra defauts;
  std::vector<std::pair<std::string, ParamOra>> tables;
};

/// Reads "ORA" ("_" suffixe, when it is not blank) ".PRM" in that folder; nullopt when there is no such file. A file that cannot
/// be opened is tried again at once, without limit and without a message: the program waits until whoever holds it lets go.
/// Errors: 62 for a file that ends inside its values, 13 for a version that is no number; the description names the file and the value.
[[nodiscard]] std::optional<FichierParamOra> ChargeParamOra(const std::string& dossier, const std::string& suffixe);

/// The parameters of one table: the defaults, replaced one by one by those of the first group of that name that are not blank.
/// All blank when there is no file. Errors of ChargeParamOra.
[[nodiscard]] ParamOra LitParamOra(const std::string& table, const std::string& dossier, const std::string& suffixe);

}  // namespace tamlo::db::kinds
