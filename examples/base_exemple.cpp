// Creates a sample volumes database (tables UTL and VLMUTL) of any kind, or prints the rows of one.
//
//   base_exemple cree  <nom> <kind>     creates the two tables and one user, where they are missing
//   base_exemple liste <nom> <kind>     prints the rows of both tables
//   base_exemple code  <mot de passe>   prints a password in its encoded form
//
// The login of a server is taken from TAMLO_UTL and TAMLO_PWD.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "providers/Fournisseurs.h"
#include "app/TableCode.h"
#include "db/DataBase.h"
#include "db/Environnement.h"
#include "jet/Database.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace {

using tamlo::db::DataBase;
using tamlo::db::DbTbl;

std::string Environnement(const char* nom) {
  const char* valeur = std::getenv(nom);
  return valeur == nullptr ? std::string() : std::string(valeur);
}

/// A generic ODBC source gets its tables by plain statements: the layer writes no DDL for that kind.
void CreeTablesOdbc(DataBase& base) {
  base.ExecuteSQL("CREATE TABLE [UTL] ([IDUTL] DOUBLE PRECISION NOT NULL PRIMARY KEY,[NOM] VARCHAR(30),[MOTPASSE] VARCHAR(10))");
  base.ExecuteSQL("CREATE TABLE [VLMUTL] ([IDUTL] DOUBLE PRECISION,[IDVLM] DOUBLE PRECISION,[NIVEAU] SMALLINT)");
}

void CreeTables(DataBase& base) {
  auto utl = std::make_unique<DbTbl>();
  utl->Nom("UTL");
  utl->AddFld("IDUTL", tamlo::ado::adDouble, 8, false);
  utl->AddFld("NOM", tamlo::ado::adVarWChar, 30, false);
  utl->AddFld("MOTPASSE", tamlo::ado::adVarWChar, 10, false);
  utl->AddIdx("PRIMARY", "IDUTL", true, true);
  utl->AddIdx("NOM", "NOM", false, false);
  base.AddTbl(std::move(utl));

  auto lien = std::make_unique<DbTbl>();
  lien->Nom("VLMUTL");
  lien->AddFld("IDUTL", tamlo::ado::adDouble, 8, false);
  lien->AddFld("IDVLM", tamlo::ado::adDouble, 8, false);
  lien->AddFld("NIVEAU", tamlo::ado::adSmallInt, 2, false);
  lien->AddIdx("PRIMARY", "IDUTL;IDVLM", true, true);
  base.AddTbl(std::move(lien));
}

void Cree(DataBase& base) {
  if (base.ExisteTbl("UTL")) return;
  if (base.Kind16() >= tamlo::db::TypOdbc) {
    CreeTablesOdbc(base);
  } else {
    CreeTables(base);
  }
  auto rs = base.OpenRecordSet("SELECT * FROM UTL", 2);
  rs.AddNew();
  rs.Fields("IDUTL").Value(1.0);
  rs.Fields("NOM").Value("ADMINISTRATEUR");
  rs.Fields("MOTPASSE").Value("");
  rs.Update();
}

void Liste(DataBase& base, const std::string& table) {
  auto rs = base.OpenRecordSet("SELECT * FROM " + table, 0);
  std::cout << table << "\n";
  for (std::size_t i = 0; i < rs.FieldCount(); ++i) std::cout << (i == 0 ? "  " : " | ") << rs.Fields(i).Name();
  std::cout << "\n";
  while (!rs.Eof()) {
    for (std::size_t i = 0; i < rs.FieldCount(); ++i) {
      const auto valeur = rs.Fields(i).Value();
      std::cout << (i == 0 ? "  " : " | ") << (valeur.IsNull() ? std::string("(null)") : tamlo::runtime::ToText(valeur));
    }
    std::cout << "\n";
    rs.MoveNext();
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "code") {
    tamlo::app::InitTableCode();
    std::cout << tamlo::app::CodePwd(argv[2]) << "\n";
    return 0;
  }
  if (argc != 4) {
    std::cerr << "base_exemple cree|liste nom kind, ou base_exemple code mot_de_passe\n";
    return 2;
  }
  tamlo::providers::EnregistreFournisseurs();
  auto& environnement = tamlo::db::EnvironnementCourant();
  environnement.message = [](const std::string& texte, const std::string& titre) { std::cerr << titre << "\n" << texte << "\n"; };
  environnement.nomLogin = Environnement("TAMLO_UTL");
  environnement.pwdLogin = Environnement("TAMLO_PWD");
  try {
    DataBase base;
    const auto kind = tamlo::runtime::ToInt16(argv[3]);
    // An Access database is a file, which must be there before it is opened.
    if (std::string(argv[1]) == "cree" && kind == tamlo::db::TypJet && !std::filesystem::exists(argv[2])) jet::Database::Create(argv[2]);
    if (!base.Ouvre(argv[2], kind, true)) return 1;
    if (std::string(argv[1]) == "cree") {
      Cree(base);
    } else {
      Liste(base, "UTL");
      Liste(base, "VLMUTL");
    }
    base.Ferme();
  } catch (const tamlo::runtime::Error& error) {
    std::cerr << "erreur " << error.Number() << " : " << error.Description() << "\n";
    return 1;
  } catch (const base::Error& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
  return 0;
}
