#include <algorithm>

#include "db/DataBase.h"
#include "db/Environnement.h"
#include "db/kinds/Moteur.h"
#include "runtime/Conversions.h"

namespace tamlo::db {

ado::Recordset DataBase::OpenRecordSet(const std::string& sql, std::int16_t option) const {
  std::string texte = sql;
  ado::Recordset rs;
  FormateSSQL(texte);
  switch (option) {
    case 0:
      rs.Open(texte, connexion_.get(), ado::adOpenForwardOnly, ado::adLockUnspecified, ado::adOptionUnspecified);
      break;
    case 1:
      rs.Open(texte, connexion_.get(), ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
      break;
    case 2:
      rs.Open(texte, connexion_.get(), ado::adOpenDynamic, ado::adLockOptimistic, ado::adOptionUnspecified);
      break;
    case 3:
      rs.Open(texte, connexion_.get(), ado::adOpenStatic, ado::adLockUnspecified, ado::adOptionUnspecified);
      break;
    default:
      break;
  }
  return rs;
}

void DataBase::ExecuteSQL(const std::string& sql) {
  std::string texte = sql;
  FormateSSQL(texte);
  ado::Connection& connexion = Connexion();
  connexion.CommandTimeout(0);
  connexion.Execute(texte, ado::adExecuteNoRecords);
  if (texte.find(" INTO ") != std::string::npos && texte.find("SELECT ") != std::string::npos) Catalogue().Refresh();
}

void DataBase::BeginTrans() {
  if (Moteur().faits.transactions) Connexion().BeginTrans();
}

void DataBase::CommitTrans() {
  if (Moteur().faits.transactions) Connexion().CommitTrans();
}

void DataBase::RollBack() {
  if (Moteur().faits.transactions) Connexion().RollbackTrans();
}

void DataBase::CopieBase(const std::string& fichier) const { Connexion().Backup(fichier); }

std::int32_t DataBase::GetCptSuiv(const std::string& table, const std::string& champ) const {
  ado::Recordset rs = OpenRecordSet("SELECT Max([" + champ + "]) FROM " + table, 0);
  const ado::Variant plusGrand = rs.Fields(0).Value();
  const std::int32_t suivant = plusGrand.IsNull() ? 1 : runtime::RoundToInt32(runtime::ToDouble(plusGrand) + 1);
  rs.Close();
  return suivant;
}

bool DataBase::PrivilegeOK(const std::string& privilege) const {
  if (!Moteur().faits.privileges) return true;
  const std::string compte = EnvironnementCourant().nomUtlConnecte();
  const auto auMoinsUne = [&](const std::string& sql) {
    ado::Recordset rs = OpenRecordSet(sql, 0);
    const bool trouve = !rs.Eof();
    rs.Close();
    return trouve;
  };
  const auto questions = Moteur().QuestionsPrivilege(compte, privilege);
  return std::any_of(questions.begin(), questions.end(), auMoinsUne);
}

void DataBase::FormateSSQL(std::string& sql) const {
  const kinds::Moteur& moteur = Moteur();
  moteur.FormateSSQL(sql, {fmtDate_, moteur.faits.proprietaires ? &tables_.Qualifiees() : nullptr});
}

}  // namespace tamlo::db
