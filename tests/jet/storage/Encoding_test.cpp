// Encoded files: pages under RC4 in the file, plain ones above the pager and nowhere else.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "jet/page/Header.h"
#include "jet/page/Rc4.h"
#include "jet/schema/Engine.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

using Operation = MemoryFileSystem::Operation;

const std::string kMark = "what nobody is to read in passing";

bool Holds(const std::vector<std::byte>& bytes, const std::string& text) {
  const auto* begin = reinterpret_cast<const char*>(bytes.data());
  return std::search(begin, begin + bytes.size(), text.begin(), text.end()) != begin + bytes.size();
}

std::unique_ptr<Database> CreateEncoded(World& world) { return Database::Create("test.mdb", world.options, {.encoded = true}); }

void Fill(Database& database, int rows, const std::string& note = kMark) {
  Table& table = database.CreateTable(PeopleTable());
  database.Begin();
  for (int i = 0; i < rows; ++i) table.Insert(Person("name " + std::to_string(i), note, i % 2 == 0, i));
  database.Commit();
}

/// The bytes of the stream from there on, as hexadecimal digits.
std::string Stream(std::initializer_list<std::uint8_t> key, std::size_t offset) {
  std::vector<std::byte> bytes(offset + 16);
  Rc4(std::vector<std::uint8_t>(key)).Apply(bytes);
  std::string text;
  for (std::size_t i = offset; i < bytes.size(); ++i)
    for (const unsigned half : {static_cast<unsigned>(bytes[i]) >> 4, static_cast<unsigned>(bytes[i]) & 15u})
      text += "0123456789abcdef"[half];
  return text;
}

/// RFC 6229.
TEST(Rc4, GivesThePublishedStreams) {
  EXPECT_EQ(Stream({1, 2, 3, 4, 5}, 0), "b2396305f03dc027ccc3524a0a1118a8");
  EXPECT_EQ(Stream({1, 2, 3, 4, 5}, 16), "6982944f18fc82d589c403a47a0d0919");
  EXPECT_EQ(Stream({1, 2, 3, 4, 5}, 240), "28cb1132c96ce286421dcaadb8b69eae");
  EXPECT_EQ(Stream({1, 2, 3, 4, 5}, 4096), "ff25b58995996707e51fbdf08b34d875");
  EXPECT_EQ(Stream({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, 0), "9ac7cc9a609d1ef7b2932899cde41b97");
  EXPECT_EQ(Stream({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}, 4096), "a36a4c301ae8ac13610ccbc12256cacc");
}

TEST(Rc4, GoesOnWhereItStopped) {
  const std::uint8_t key[] = {1, 2, 3, 4, 5};
  std::vector<std::byte> whole(100);
  std::vector<std::byte> pieces(100);
  Rc4(key).Apply(whole);
  Rc4 stream(key);
  for (std::size_t at = 0; at < pieces.size(); at += 10) stream.Apply(std::span(pieces).subspan(at, 10));
  EXPECT_EQ(pieces, whole);
}

TEST(Encoding, AFileStaysEncodedAndSound) {
  World world;
  Fill(*CreateEncoded(world), 300);
  EXPECT_FALSE(Holds(world.files.Content("test.mdb"), kMark));
  const auto database = world.Open();
  EXPECT_TRUE(database->Encoded());
  EXPECT_EQ(database->OpenTable("People").RowCount(), 300u);
  EXPECT_EQ(Rows(database->OpenTable("People")).at(299), "300|\"name 299\"|\"" + kMark + "\"|False|299");
  EXPECT_EQ(Findings(*database), "");
}

/// Whatever is written anywhere, in however small a cache, committed, undone or left behind.
TEST(Encoding, NoPlainPageReachesTheDisk) {
  for (const bool encoded : {true, false}) {
    World world;
    world.options.cacheBytes = 64 * 4096;
    const auto database = Database::Create("test.mdb", world.options, {.encoded = encoded});
    Fill(*database, 100);
    world.files.Record(true);
    Table& table = database->OpenTable("People");
    for (const bool commit : {true, false}) {
      database->Begin();
      for (int i = 0; i < 3000; ++i) table.Insert(Person("more " + std::to_string(i), kMark));
      commit ? database->Commit() : database->Rollback();
    }
    database->Backup("backup.mdb");
    database->Compact("compact.mdb");
    std::size_t plain = 0;
    bool journal = false;
    for (const auto& event : world.files.TakeRecord()) {
      if (Holds(event.bytes, kMark)) ++plain;
      journal = journal || (event.path.ends_with("-journal") && event.operation == Operation::kWrite);
    }
    EXPECT_TRUE(journal);
    EXPECT_EQ(plain > 0, !encoded) << plain;
    EXPECT_EQ(world.Open("backup.mdb")->Encoded(), encoded);
    EXPECT_EQ(world.Open("compact.mdb")->Encoded(), encoded);
  }
}

/// What an encoded file costs more: each page decoded once when it is read, encoded for the journal and for the file when it is written.
TEST(Encoding, EachPageIsDecodedOnceForEachRead) {
  World world;
  world.options.cacheBytes = 64 * 4096;
  Fill(*CreateEncoded(world), 1000, std::string(900, 'n'));
  const auto database = world.Open();
  for (int turn = 0; turn < 3; ++turn) (void)Rows(database->OpenTable("People"));
  const auto read = database->Count();
  EXPECT_GT(read.pagesRead, 200u);
  EXPECT_EQ(read.pagesDecoded + 1, read.pagesRead);  // page 0 is plain, and read once
  EXPECT_EQ(read.pagesEncoded, 0u);
  Table& table = database->OpenTable("People");
  database->Begin();
  for (int i = 0; i < 500; ++i) table.Insert(Person("more " + std::to_string(i)));
  database->Commit();
  const auto written = database->Count();
  EXPECT_GT(written.pagesWritten, 10u);
  EXPECT_EQ(written.pagesEncoded, 2 * written.pagesWritten);
}

TEST(Encoding, OfAPlainFileCostsNothing) {
  World world;
  Fill(*world.Create(), 50);
  const auto database = world.Open();
  (void)Rows(database->OpenTable("People"));
  EXPECT_FALSE(database->Encoded());
  EXPECT_EQ(database->Count().pagesDecoded, 0u);
  EXPECT_EQ(database->Count().pagesEncoded, 0u);
}

TEST(Encoding, ComesAndGoesByCompacting) {
  World world;
  Fill(*world.Create(), 300);
  world.Open()->Compact("encoded.mdb", {.password = "Sésame", .encoded = true});
  OpenOptions options = world.options;
  options.password = "Sésame";
  const auto encoded = Database::Open("encoded.mdb", options);
  EXPECT_TRUE(encoded->Encoded());
  EXPECT_FALSE(Holds(world.files.Content("encoded.mdb"), kMark));
  EXPECT_EQ(Findings(*encoded), "");
  encoded->Compact("plain.mdb", {.encoded = false});
  const auto plain = Database::Open("plain.mdb", options);
  EXPECT_FALSE(plain->Encoded());
  EXPECT_TRUE(plain->HasPassword());
  EXPECT_TRUE(Holds(world.files.Content("plain.mdb"), kMark));
  EXPECT_EQ(Rows(plain->OpenTable("People")), Rows(world.Open()->OpenTable("People")));
  EXPECT_EQ(Findings(*plain), "");
}

TEST(Encoding, TwoFilesHaveTwoKeys) {
  World world;
  Fill(*CreateEncoded(world), 10);
  world.Open()->Compact("other.mdb");
  const auto key = [&](const char* path) { return FileHeader::Read(world.files.Content(path), path).encryptionKey; };
  EXPECT_NE(key("test.mdb"), 0u);
  EXPECT_NE(key("other.mdb"), 0u);
  EXPECT_NE(key("test.mdb"), key("other.mdb"));
}

/// Files are lengthened by pages that nobody has written yet; under the key of their number they would be noise.
TEST(Encoding, APageOfZerosIsOne) {
  World world;
  Fill(*CreateEncoded(world), 20);
  auto bytes = world.files.Content("test.mdb");
  const auto last = static_cast<PageNumber>(bytes.size() / 4096);
  bytes.resize(bytes.size() + 2 * 4096);
  world.files.SetContent("test.mdb", bytes);
  const auto database = world.Open();
  const PageRef page = database->Internals().pager->Read(last);
  EXPECT_TRUE(std::all_of(page.Bytes().begin(), page.Bytes().end(), [](std::byte byte) { return byte == std::byte{0}; }));
  EXPECT_EQ(database->OpenTable("People").RowCount(), 20u);
}

TEST(Encoding, OfTwoUsersAtOnce) {
  World world;
  Fill(*CreateEncoded(world), 20);
  const auto one = Database::Open("test.mdb", world.options);
  const auto two = Database::Open("test.mdb", world.options);
  Table& ofOne = one->OpenTable("People");
  Table& ofTwo = two->OpenTable("People");
  for (int i = 0; i < 20; ++i) {
    (i % 2 == 0 ? ofOne : ofTwo).Insert(Person("turn " + std::to_string(i)));
    ASSERT_EQ(Rows(ofOne), Rows(ofTwo)) << i;
  }
  EXPECT_EQ(ofOne.RowCount(), 40u);
  EXPECT_EQ(Findings(*two), "");
}

/// A header that lies: the pages then are noise, and are refused by page and offset.
TEST(Encoding, AWrongKeyIsDamageWithAPlace) {
  World world;
  Fill(*CreateEncoded(world), 20);
  const auto whole = world.files.Content("test.mdb");
  const auto header = FileHeader::Read(whole, "test.mdb");
  for (const bool none : {true, false}) {
    auto bytes = whole;
    for (std::size_t i = 0; i < 4; ++i)
      bytes[0x3E + i] ^= none ? static_cast<std::byte>(header.encryptionKey >> (8 * i)) : static_cast<std::byte>(i == 2);
    world.files.SetContent("lying.mdb", bytes);
    try {
      world.Open("lying.mdb")->OpenTable("People");
      ADD_FAILURE();
    } catch (const Error& error) {
      EXPECT_EQ(error.Code(), ErrorCode::kDamaged) << error.what();
      EXPECT_NE(std::string(error.what()).find("(page "), std::string::npos) << error.what();
    }
  }
  for (const std::size_t size : {std::size_t{100}, std::size_t{2048}, std::size_t{4095}}) {
    world.files.SetContent("short.mdb", {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
    EXPECT_EQ(CodeOf([&] { world.Open("short.mdb"); }), ErrorCode::kDamaged) << size;
  }
}

}  // namespace
}  // namespace jet::tests
