#pragma once

#include <string>

#include "db/BilanCopie.h"

namespace tamlo::db {
class DataBase;
class DbTbl;
}  // namespace tamlo::db

/// Copies, their verification and links between databases, by what DataBase gives to everybody and to the rooms of the layer. The operations
/// of that name of DataBase tell what each does.
namespace tamlo::db::copie {

[[nodiscard]] CopieBilan CopieDonnees(const DataBase& source, const std::string& nom, DataBase& cible, const CopieOptions& options);
[[nodiscard]] CopieBilan TblCopie(const DataBase& source, const std::string& nom, DataBase& cible, bool ajoute, bool copie,
                                  const CopieOptions& options);
/// Copies the rows of table nom from one database to the table of that name of the other, which exists, through PompeLignes; errors name the
/// table too.
[[nodiscard]] CopieBilan CopieLignes(const DataBase& source, DataBase& cible, const std::string& nom, const CopieOptions& options);

[[nodiscard]] VerifieBilan VerifieCopie(const DataBase& source, const std::string& nom, const DataBase& cible);

void AddTblAttachee(DataBase& db, const DbTbl& source, const std::string& nomLocal);
void ModTblAttachee(DataBase& db, const DbTbl& source, const std::string& nom);

}  // namespace tamlo::db::copie
