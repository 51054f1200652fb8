#pragma once

#include "ado/Recordset.h"
#include "db/BilanCopie.h"
#include "db/pompe/EcritureLignes.h"

namespace tamlo::db::pompe {

/// The one way in which rows go from one connection to another: reads source, open and before its first row, to its end, closes it, and writes
/// the rows into cible. enAvance: a thread of its own reads ahead of the writing, by some megabytes; the two connections must then be two.
/// Texts (129, 130, 202) that are blank are not written, others lose their trailing blanks. A long value passes in bounded memory. No
/// transaction is opened: each batch is a statement that the target commits for itself unless the caller opened a transaction.
///
/// Every error is an ErreurCopie, which names row (from 1) and, where the target tells it, column, and knows how many rows are in the target;
/// nothing of a row is ever there in part.
[[nodiscard]] CopieBilan PompeLignes(ado::Recordset& source, const CibleLignes& cible, const CopieOptions& options, bool enAvance);

}  // namespace tamlo::db::pompe
