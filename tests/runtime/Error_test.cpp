#include "runtime/Error.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tamlo::runtime {
namespace {

TEST(Error, TheRuntimesOwnNumbersHaveFrenchDescriptions) {
  EXPECT_EQ(Describe(5), "Argument ou appel de procédure incorrect");
  EXPECT_EQ(Describe(6), "Dépassement de capacité");
  EXPECT_EQ(Describe(9), "L'indice n'appartient pas à la sélection");
  EXPECT_EQ(Describe(13), "Incompatibilité de type");
  EXPECT_EQ(Describe(91), "Variable objet ou variable de bloc With non définie");
  EXPECT_EQ(Describe(94), "Utilisation incorrecte de Null");
}

TEST(Error, TheDataAccessNumbersHaveFrenchDescriptions) {
  EXPECT_EQ(Describe(3021),
            "BOF ou EOF est égal à True ou l'enregistrement actuel a été supprimé. L'opération demandée nécessite un "
            "enregistrement actuel.");
  EXPECT_EQ(Describe(3251), "L'objet ou le fournisseur n'est pas capable d'exécuter l'opération demandée.");
  EXPECT_EQ(Describe(3265), "Impossible de trouver l'objet dans la collection correspondant au nom ou à la référence ordinale demandé.");
  EXPECT_EQ(Describe(3704), "Cette opération n'est pas autorisée si l'objet est fermé.");
  EXPECT_EQ(Describe(3705), "Cette opération n'est pas autorisée si l'objet est ouvert.");
  EXPECT_EQ(Describe(3706), "Impossible de trouver le fournisseur. Il est peut-être mal installé.");
  EXPECT_EQ(Describe(3709),
            "La connexion ne peut pas être utilisée pour effectuer cette opération. Elle est fermée ou non valide dans "
            "ce contexte.");
}

TEST(Error, AnUnknownNumberHasNoDescription) { EXPECT_EQ(Describe(12345), ""); }

TEST(Error, CarriesTheDriversRecordsAndTheTextSent) {
  const Error error = Error(kProviderFailure, "refusé", "odbc").WithDiagnostics({{"42S02", 1146, "no table"}}).WithSent("SELECT 1");
  EXPECT_EQ(error.Number(), -2147467259);
  EXPECT_STREQ(error.what(), "refusé");
  EXPECT_EQ(error.Source(), "odbc");
  EXPECT_EQ(error.SqlState(), "42S02");
  EXPECT_EQ(error.NativeCode(), 1146);
  EXPECT_EQ(error.Sent(), "SELECT 1");
}

TEST(Error, AContextStandsInFrontOfTheDescription) {
  EXPECT_EQ(Error(13).WithContext("ligne 3").Description(), "ligne 3 : Incompatibilité de type");
}

TEST(Error, IgnoringErrorsHandsBackTheNumberAndDescription) {
  const PendingError pending = IgnoringErrors([] { throw Error(6); });
  EXPECT_TRUE(static_cast<bool>(pending));
  EXPECT_EQ(pending.number, 6);
  EXPECT_EQ(pending.description, "Dépassement de capacité");
  EXPECT_FALSE(static_cast<bool>(IgnoringErrors([] {})));
}

TEST(Error, IgnoringErrorsLetsDefectsOfOursGoOn) {
  EXPECT_THROW(IgnoringErrors([] { throw std::logic_error("ours"); }), std::logic_error);
}

TEST(Error, IsCaughtAsTheRootOfAllWithItsWholeText) {
  try {
    throw Error(13).WithContext("ligne 3");
  } catch (const base::Error& error) {
    EXPECT_STREQ(error.what(), "ligne 3 : Incompatibilité de type");
  }
}

}  // namespace
}  // namespace tamlo::runtime
