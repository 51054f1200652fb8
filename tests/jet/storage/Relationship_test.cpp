#include <gtest/gtest.h>

#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

class RelationshipTest : public testing::Test {
 protected:
  RelationshipTest() : database_(world_.Create()) {
    database_->CreateTable(PeopleTable());
    TableSpec spec;
    spec.name = "Orders";
    spec.columns = {Counter("Id"), Column("Person", ColumnType::kLong)};
    spec.indexes = {PrimaryKey("Id")};
    database_->CreateTable(spec);
    for (const char* name : {"Ada", "Bob", "Cyd"}) People().Insert(Person(name));
    relationship_.name = "PeopleOrders";
    relationship_.table = "Orders";
    relationship_.referencedTable = "People";
    relationship_.columns = {{"Person", "Id"}};
  }
  Table& People() { return database_->OpenTable("People"); }
  Table& Orders() { return database_->OpenTable("Orders"); }
  RowId Order(Value person) {
    const Value values[] = {Value(), std::move(person)};
    return Orders().Insert(values);
  }
  RowId PersonRow(int id) {
    const Value key(id);
    return People().Seek(People().PrimaryKey().value(), std::span(&key, 1)).value();
  }

  World world_;
  std::unique_ptr<Database> database_;
  Relationship relationship_;
};

TEST_F(RelationshipTest, IsKeptInTheCatalogAndInBothTables) {
  database_->CreateRelationship(relationship_);
  database_.reset();
  database_ = world_.Open();
  const auto all = database_->Relationships();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].name, "PeopleOrders");
  EXPECT_EQ(all[0].table, "Orders");
  EXPECT_EQ(all[0].referencedTable, "People");
  EXPECT_EQ(all[0].columns, relationship_.columns);
  EXPECT_TRUE(all[0].enforced);
  ASSERT_TRUE(People().FindIndex(".rB").has_value());
  EXPECT_TRUE(Orders().Indexes()[Orders().FindIndex("PeopleOrders").value()].referencing);
  EXPECT_EQ(Findings(*database_), "");
}

TEST_F(RelationshipTest, ErrorsNameTheIndexOfTheUserNotTheHiddenOne) {
  database_->CreateRelationship(relationship_);
  auto values = Person("Dan");
  values[0] = Value(1);
  EXPECT_EQ(TextOf([&] { People().Insert(values); }), "The index \"PrimaryKey\" of the table \"People\" already holds these values");
}

TEST_F(RelationshipTest, RowsWithoutTheirParentAreRefused) {
  database_->CreateRelationship(relationship_);
  EXPECT_NO_THROW(Order(Value(1)));
  EXPECT_NO_THROW(Order(Value()));
  EXPECT_EQ(CodeOf([&] { Order(Value(9)); }), ErrorCode::kRelationViolated);
  const RowId row = Order(Value(2));
  const Value wrong(9);
  const Assignment assignment{1, &wrong, nullptr};
  EXPECT_EQ(CodeOf([&] { Orders().Update(row, std::span(&assignment, 1)); }), ErrorCode::kRelationViolated);
  EXPECT_EQ(CodeOf([&] { People().Delete(PersonRow(1)); }), ErrorCode::kRelationViolated);
  EXPECT_NO_THROW(People().Delete(PersonRow(3)));
  EXPECT_EQ(CodeOf([&] { database_->DropTable("People"); }), ErrorCode::kRelationViolated);
  EXPECT_EQ(Findings(*database_), "");
}

TEST_F(RelationshipTest, ChangesAndDeletionsCascadeWhenAsked) {
  relationship_.cascadeUpdates = relationship_.cascadeDeletes = true;
  database_->CreateRelationship(relationship_);
  for (int i = 0; i < 300; ++i) Order(Value(1 + i % 2));
  const Value id(50);
  const Assignment assignment{0, &id, nullptr};
  People().Update(PersonRow(1), std::span(&assignment, 1));
  int moved = 0;
  for (ScanCursor cursor = Orders().Scan(); cursor.Next();) moved += cursor.Current().Integer(1) == 50 ? 1 : 0;
  EXPECT_EQ(moved, 150);
  People().Delete(PersonRow(50));
  EXPECT_EQ(Orders().RowCount(), 150u);
  EXPECT_EQ(Findings(*database_), "");
}

TEST_F(RelationshipTest, ExistingRowsMustObeyIt) {
  Order(Value(77));
  EXPECT_EQ(CodeOf([&] { database_->CreateRelationship(relationship_); }), ErrorCode::kRelationViolated);
  EXPECT_TRUE(database_->Relationships().empty());
  EXPECT_EQ(Orders().Indexes().size(), 1u);
  EXPECT_EQ(Findings(*database_), "");
  relationship_.enforced = false;
  EXPECT_NO_THROW(database_->CreateRelationship(relationship_));
}

TEST_F(RelationshipTest, NeedsAUniqueIndexOnTheReferencedSide) {
  relationship_.columns = {{"Person", "Amount"}};
  EXPECT_EQ(CodeOf([&] { database_->CreateRelationship(relationship_); }), ErrorCode::kUnsupported);
  relationship_.columns = {{"Person", "Nothing"}};
  EXPECT_EQ(CodeOf([&] { database_->CreateRelationship(relationship_); }), ErrorCode::kNotFound);
  EXPECT_EQ(Findings(*database_), "");
}

TEST_F(RelationshipTest, GoesWithoutATrace) {
  database_->CreateRelationship(relationship_);
  EXPECT_EQ(CodeOf([&] { database_->DropIndex("Orders", "PeopleOrders"); }), ErrorCode::kUnsupported);
  EXPECT_EQ(CodeOf([&] { database_->DropIndex("People", "PrimaryKey"); }), ErrorCode::kUnsupported);
  database_->DropRelationship("peopleorders");
  EXPECT_TRUE(database_->Relationships().empty());
  EXPECT_EQ(Orders().Indexes().size(), 1u);
  EXPECT_EQ(People().Indexes().size(), 2u);
  EXPECT_NO_THROW(Order(Value(9)));
  EXPECT_NO_THROW(database_->DropTable("People"));
  EXPECT_EQ(Findings(*database_), "");
}

TEST_F(RelationshipTest, ATableMayReferToItself) {
  TableSpec spec;
  spec.name = "Tree";
  spec.columns = {Column("Id", ColumnType::kLong), Column("Parent", ColumnType::kLong)};
  spec.indexes = {PrimaryKey("Id")};
  Table& tree = database_->CreateTable(spec);
  Relationship own;
  own.name = "TreeTree";
  own.table = own.referencedTable = "Tree";
  own.columns = {{"Parent", "Id"}};
  own.cascadeDeletes = true;
  database_->CreateRelationship(own);
  EXPECT_EQ(Findings(*database_), "");
  const auto add = [&](int id, Value parent) {
    const Value values[] = {Value(id), std::move(parent)};
    return tree.Insert(values);
  };
  const RowId root = add(1, Value(1));
  add(2, Value(1));
  add(3, Value(2));
  add(4, Value());
  EXPECT_EQ(CodeOf([&] { add(5, Value(9)); }), ErrorCode::kRelationViolated);
  tree.Delete(root);
  EXPECT_EQ(tree.RowCount(), 1u);
  EXPECT_EQ(Findings(*database_), "");
}

}  // namespace
}  // namespace jet::tests
