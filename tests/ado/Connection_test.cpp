#include "ado/Connection.h"

#include "ado/Recordset.h"
#include "tests/ado/AdoFixture.h"

namespace tamlo::tests {
namespace {

using Connection = AdoFixture;
using runtime::Variant;

TEST_F(Connection, ReadsBackWhatWasGivenToOpen) {
  connection.Provider("MSDASQL");
  connection.Open("DSN=x;PWD=y", "moi", "secret");
  EXPECT_EQ(connection.ConnectionString(), "DSN=x;PWD=y");
  EXPECT_EQ(connection.Property("User ID"), Variant("moi"));
  EXPECT_EQ(connection.Property("password"), Variant("secret"));
  ASSERT_EQ(backend.Calls().size(), 1U);
  EXPECT_EQ(backend.Calls()[0].open.userId, "moi");
  EXPECT_EQ(backend.Calls()[0].open.provider, "MSDASQL");
}

TEST_F(Connection, StatesAreTestedBeforeTheProviderIsAsked) {
  EXPECT_EQ(ErrorOf([&] { connection.Execute("X"); }), 3704);
  EXPECT_EQ(ErrorOf([&] { connection.BeginTrans(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { connection.CommitTrans(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { connection.RollbackTrans(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { connection.Close(); }), 3704);
  Open();
  EXPECT_EQ(ErrorOf([&] { connection.Open("BASE", "", ""); }), 3705);
  EXPECT_EQ(ErrorOf([&] { connection.Provider("sqloledb"); }), 3705);
  EXPECT_TRUE(backend.Calls().empty());
  connection.Close();
  EXPECT_FALSE(connection.IsOpen());
  EXPECT_EQ(ErrorOf([&] { connection.Close(); }), 3704);
}

TEST_F(Connection, AProviderThatCannotCopyItsDatabaseSaysSo) {
  EXPECT_EQ(ErrorOf([&] { connection.Backup("copie.mdb"); }), 3704);
  Open();
  EXPECT_EQ(ErrorOf([&] { connection.Backup("copie.mdb"); }), 3251);
  EXPECT_TRUE(backend.Calls().empty());
  connection.BeginTrans();
  EXPECT_EQ(ErrorOf([&] { connection.Backup("copie.mdb"); }), 3246);
  connection.RollbackTrans();
}

TEST_F(Connection, AnUnknownProviderIsNamedInTheError) {
  connection.Provider("Inconnu.1");
  try {
    connection.Open("BASE", "", "");
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 3706);
    EXPECT_EQ(error.Description(), "Impossible de trouver le fournisseur. Il est peut-être mal installé. (Inconnu.1)");
  }
}

TEST_F(Connection, ProviderNamesCompareWithoutRegardToCase) {
  connection.Provider("microsoft.JET.oledb.4.0");
  EXPECT_NO_THROW(connection.Open("X.MDB", "", ""));
  EXPECT_EQ(connection.Provider(), "microsoft.JET.oledb.4.0");
}

TEST_F(Connection, StaysClosedAfterAFailedOpenAndMayBeOpenedAgain) {
  backend.FailOpen(-2147467259, "mot de passe", 1);
  connection.Provider("MSDASQL");
  EXPECT_EQ(ErrorOf([&] { connection.Open("BASE", "", ""); }), -2147467259);
  EXPECT_FALSE(connection.IsOpen());
  EXPECT_NO_THROW(connection.Open("BASE", "", ""));
  EXPECT_TRUE(connection.IsOpen());
}

TEST_F(Connection, ClosingItClosesItsRecordsets) {
  Open();
  ado::Recordset first;
  ado::Recordset second;
  first.Open("SELECT * FROM ART", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  second.Open("SELECT * FROM ART", &connection, ado::adOpenForwardOnly, ado::adLockUnspecified, -1);
  const ado::Field& code = first.Fields("CODE");
  connection.Close();
  EXPECT_FALSE(first.IsOpen());
  EXPECT_FALSE(second.IsOpen());
  EXPECT_EQ(ErrorOf([&] { (void)first.Eof(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)code.Value(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { first.Close(); }), 3704);
  EXPECT_EQ(backend.Calls().back().kind, RecordedCall::Kind::kClose);
}

TEST_F(Connection, ARecordsetMayOutliveIt) {
  ado::Recordset recordset;
  {
    ado::Connection other;
    other.Open("BASE", "", "");
    recordset.Open("SELECT * FROM ART", &other, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  }
  EXPECT_FALSE(recordset.IsOpen());
}

TEST_F(Connection, UnknownPropertiesAreError3265) {
  EXPECT_EQ(ErrorOf([&] { (void)connection.Property("Jet OLEDB:Engine Type"); }), 3265);
  Open();
  EXPECT_EQ(ErrorOf([&] { (void)connection.Property("Jet OLEDB:Engine Type"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { connection.Property("Autre", Variant(std::int16_t{1})); }), 3265);
  backend.SetProperty("Jet OLEDB:Engine Type", std::int32_t{5});
  EXPECT_EQ(connection.Property("JET OLEDB:ENGINE TYPE"), Variant(std::int32_t{5}));
}

TEST_F(Connection, HandsItsTimeOutToEveryStatement) {
  Open();
  EXPECT_EQ(connection.CommandTimeout(), 30);
  connection.Execute("UPDATE X");
  connection.CommandTimeout(0);
  connection.Execute("UPDATE Y");
  ASSERT_EQ(backend.Calls().size(), 2U);
  EXPECT_EQ(backend.Calls()[0].timeoutSeconds, 30);
  EXPECT_EQ(backend.Calls()[1].timeoutSeconds, 0);
}

TEST_F(Connection, HandsItsCursorLocationToRecordsetsOpenedLater) {
  connection.CursorLocation(ado::adUseClient);
  Open();
  ado::Recordset recordset;
  recordset.Open("SELECT * FROM ART", &connection, ado::adOpenStatic, ado::adLockUnspecified, -1);
  EXPECT_EQ(backend.Calls()[0].request.location, ado::adUseClient);
}

TEST_F(Connection, TransactionLevelsAreTheProviders) {
  Open();
  EXPECT_EQ(connection.BeginTrans(), 1);
  EXPECT_EQ(connection.BeginTrans(), 2);
  connection.RollbackTrans();
  connection.CommitTrans();
  EXPECT_EQ(backend.Log(), (std::vector<std::string>{"BEGIN", "BEGIN", "ROLLBACK", "COMMIT"}));
  backend.ClearCalls();
  EXPECT_EQ(ErrorOf([&] { connection.CommitTrans(); }), -2147168242);
  EXPECT_EQ(ErrorOf([&] { connection.RollbackTrans(); }), -2147168242);
  EXPECT_TRUE(backend.Calls().empty()) << "the provider is not asked";
}

TEST_F(Connection, EndingATransactionThatWasNotBegunSaysSo) {
  Open();
  try {
    connection.RollbackTrans();
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), -2147168242);
    EXPECT_EQ(error.Description(), "Aucune transaction n'est active.");
  }
}

TEST_F(Connection, IsNotClosedInATransaction) {
  Open();
  ado::Recordset recordset;
  recordset.Open("SELECT * FROM ART", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  connection.BeginTrans();
  connection.BeginTrans();
  connection.CommitTrans();
  try {
    connection.Close();
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 3246);
    EXPECT_EQ(error.Description(), "Impossible de fermer explicitement un objet Connection au cours d'une transaction.");
  }
  EXPECT_TRUE(connection.IsOpen());
  EXPECT_TRUE(recordset.IsOpen());
  EXPECT_EQ(backend.TransactionLevel(), 1);
  connection.CommitTrans();
  EXPECT_NO_THROW(connection.Close());
  EXPECT_FALSE(recordset.IsOpen());
}

TEST_F(Connection, MayBeClosedWhereTheBackendHasEndedTheTransaction) {
  Open();
  connection.BeginTrans();
  // What the backend forgot by itself: it knows of no transaction any more.
  backend.ForgetTransactions();
  EXPECT_EQ(ErrorOf([&] { connection.RollbackTrans(); }), -2147168242);
  EXPECT_NO_THROW(connection.Close());
  EXPECT_NO_THROW(connection.Open("BASE", "", ""));
  EXPECT_EQ(ErrorOf([&] { connection.CommitTrans(); }), -2147168242) << "a new opening begins without a transaction";
}

TEST_F(Connection, MayBeClosedOnceARollbackWasRefused) {
  Open();
  connection.BeginTrans();
  backend.FailRollback(7, "refus");
  EXPECT_TRUE(connection.InTransaction());
  EXPECT_EQ(ErrorOf([&] { connection.RollbackTrans(); }), 7);
  EXPECT_FALSE(connection.InTransaction());
  EXPECT_NO_THROW(connection.Close());
}

TEST_F(Connection, DestroyedInATransactionClosesWithoutAnError) {
  {
    ado::Connection other;
    other.Open("BASE", "", "");
    other.BeginTrans();
  }
  EXPECT_EQ(backend.Calls().back().kind, RecordedCall::Kind::kClose);
}

}  // namespace
}  // namespace tamlo::tests
