#include "tests/app/VolumesScriptes.h"

#include "app/BasesOuvertes.h"
#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "runtime/Conversions.h"

namespace tamlo::app {

using tests::MakeColumn;
using tests::MakeField;
using tests::MakeIndex;
using tests::RecordedCall;

VolumesScriptes::VolumesScriptes() {
  BrancheCouche(folder.Path().string());
  tests::ScriptedTable utl;
  utl.name = "UTL";
  utl.columns = {MakeColumn("IDUTL", ado::adInteger), MakeColumn("NOM", ado::adVarWChar, 30), MakeColumn("MOTPASSE", ado::adVarWChar, 10)};
  utl.indexes = {MakeIndex("PK", {"IDUTL"}, true, true)};
  provider.AddTable(std::move(utl));
  tests::ScriptedTable vlmUtl;
  vlmUtl.name = "VLMUTL";
  vlmUtl.columns = {MakeColumn("IDUTL", ado::adInteger), MakeColumn("IDVLM", ado::adInteger), MakeColumn("NIVEAU", ado::adSmallInt)};
  provider.AddTable(std::move(vlmUtl));
  UtlFound({}, runtime::Null{});
  VlmUtlFound({});
}

VolumesScriptes::~VolumesScriptes() {
  LibereTout();
  LibereTableCode();
  std::filesystem::current_path(folderBefore_);
}

void VolumesScriptes::UtlFound(Rows rows, const runtime::Variant& largestId) {
  provider.AnswerPrefix(
      kUtl, {{MakeField("IdUtl", ado::adInteger), MakeField("Nom", ado::adVarWChar, 30), MakeField("MotPasse", ado::adVarWChar, 10)},
             std::move(rows)});
  provider.Answer("SELECT MAX([IDUTL]) FROM UTL", {{MakeField("Expr1000", ado::adInteger)}, {{largestId}}});
}

void VolumesScriptes::VlmUtlFound(Rows rows) {
  provider.AnswerPrefix(
      kVlmUtl,
      {{MakeField("IdUtl", ado::adInteger), MakeField("IdVlm", ado::adInteger), MakeField("Niveau", ado::adSmallInt)}, std::move(rows)});
}

int VolumesScriptes::Execute(const std::string& line) {
  LigneCommande(line);
  return ExecuteProgramme();
}

void VolumesScriptes::Start(const std::string& line) {
  LigneCommande(line);
  Main();
}

void VolumesScriptes::OpenVolumes() { ASSERT_TRUE(OuvreBase(BaseVlm(), "volumes.mdb", db::TypJet)); }

std::string VolumesScriptes::Encoded(const std::string& clear) const {
  const bool present = TableCodePresente();
  InitTableCode();
  std::string stored = CodePwd(clear);
  if (!present) LibereTableCode();
  return stored;
}

std::vector<std::string> VolumesScriptes::Inserted(const std::string& sourcePrefix) const {
  return Written(RecordedCall::Kind::kInsert, sourcePrefix);
}

std::vector<std::string> VolumesScriptes::Updated(const std::string& sourcePrefix) const {
  return Written(RecordedCall::Kind::kUpdate, sourcePrefix);
}

std::vector<std::string> VolumesScriptes::Written(RecordedCall::Kind kind, const std::string& sourcePrefix) const {
  std::vector<std::string> rows;
  for (const RecordedCall& call : provider.Calls()) {
    if (call.kind != kind || !call.text.starts_with(sourcePrefix)) continue;
    std::string row;
    for (const auto& [column, value] : call.values) {
      row += (row.empty() ? "" : " ") + column + "=" + (value.IsNull() ? "(null)" : runtime::ToText(value));
    }
    rows.push_back(row);
  }
  return rows;
}

std::vector<std::string> VolumesScriptes::OwnSources() const {
  std::vector<std::string> own;
  for (const std::string& source : provider.Sources()) {
    if (source.find("$") == std::string::npos && source.find("TOP 1") == std::string::npos) own.push_back(source);
  }
  return own;
}

}  // namespace tamlo::app
