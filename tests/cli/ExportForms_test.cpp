// What export writes in other encodings, formats of days and files of bytes: read by others, and brought back by import.
#include <gtest/gtest.h>
#include <iconv.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "base/Utf8.h"
#include "cli/Encoding.h"
#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

constexpr const char* kOmega = "\xCE\xA9";

std::string MakeFile(const TemporaryFolder& folder) {
  const std::string path = folder.File("base.mdb");
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE T (I LONG, M DATETIME, X TEXT(50), Y LONGBINARY, [a/b] BINARY(4), [a:b] BINARY(4))");
  const std::vector<jet::sql::Parameter> first{{"", jet::Value("\xC3\x89t\xC3\xA9")},
                                               {"", jet::Value(jet::Bytes{std::byte{0}, std::byte{255}, std::byte{10}})},
                                               {"", jet::Value(jet::Bytes{std::byte{1}})},
                                               {"", jet::Value(jet::Bytes{std::byte{2}})}};
  session.Execute("INSERT INTO T VALUES (1, #2/1/2003 10:30:05#, ?, ?, ?, ?)", first);
  session.Execute("INSERT INTO T (I, M, Y) VALUES (2, #12/31/1999#, ?)",
                  std::vector<jet::sql::Parameter>{{"", jet::Value(jet::Bytes(100000, std::byte{7}))}});
  return path;
}

std::string Content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ExportForms, DaysAreWrittenAsTheFormatSays) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  EXPECT_EQ(TamloDb(folder, {"export", path, "-t", "T", "--columns", "M", "--date-format", "%d/%m/%Y, %Hh%M:%S.%f%%"}).out,
            "M\n\"01/02/2003, 10h30:05.000%\"\n\"31/12/1999, 00h00:00.000%\"\n");
  EXPECT_EQ(
      TamloDb(folder, {"export", path, "-t", "T", "--columns", "M", "--where", "I = 2", "-F", "jsonl", "--date-format", "%d.%m.%y"}).out,
      "{\"M\":\"31.12.99\"}\n");
}

TEST(ExportForms, AFormatThatWouldLoseSomethingIsRefusedByName) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  const auto ran = TamloDb(folder, {"export", path, "-t", "T", "--columns", "I,M", "--date-format", "%d/%m/%Y"});
  EXPECT_EQ(ran.status, 4);
  EXPECT_EQ(ran.err, "tamlo-db: table T, row 1, column M: 2003-02-01 10:30:05 cannot be written as %d/%m/%Y and be read back the same\n");
  EXPECT_EQ(TamloDb(folder, {"export", path, "-t", "T", "--columns", "M", "--date-format", "%q"}).status, 4);
}

TEST(ExportForms, AnEncodingThatAnotherProgramReads) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  for (const char* encoding : {"latin1", "windows-1252", "windows-1257", "utf-16", "utf-16be", "UTF-8"}) {
    const auto ran = TamloDb(folder, {"export", path, "-t", "T", "--columns", "X,I", "--encoding", encoding});
    EXPECT_EQ(ran.err, "") << encoding;
    const std::string theirs = encoding == std::string("latin1") ? "ISO-8859-1" : encoding;
    EXPECT_EQ(RunLine(folder, "iconv -f " + theirs + " -t UTF-8", ran.out).out, "X,I\n\xC3\x89t\xC3\xA9,1\n,2\n") << encoding;
  }
}

TEST(ExportForms, ACharacterThatTheEncodingLacksIsRefusedByName) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  TamloDb(folder, {"exec", path, std::string("UPDATE T SET X = 'a") + kOmega + "' WHERE I = 2"});
  const auto ran = TamloDb(folder, {"export", path, "-t", "T", "--encoding", "windows-1252", "-o", "d"});
  EXPECT_EQ(ran.status, 4);
  EXPECT_EQ(ran.err, std::string("tamlo-db: table T, row 2, column X: the character ") + kOmega + " (U+03A9) is not in windows-1252\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path() / "d")) << "nothing half-written";
  EXPECT_EQ(TamloDb(folder, {"export", path, "-t", "T", "--columns", "X", "--encoding", "latin1", "--null", kOmega}).err,
            std::string("tamlo-db: ") + kOmega + " cannot be written in latin1\n");
  const auto unknown = TamloDb(folder, {"export", path, "-t", "T", "--encoding", "ebcdic"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_EQ(unknown.err, "tamlo-db: ebcdic is no encoding that is known here\n");
}

TEST(ExportForms, CodePagesAreThoseOfTheSystemsLibrary) {
  int known = 0;
  for (int page = 1250; page <= 1258; ++page) {
    const cli::Encoder encoder({cli::Form::kAnsi, static_cast<std::uint16_t>(page)});
    const iconv_t theirs = iconv_open("UTF-8", ("CP" + std::to_string(page)).c_str());
    ASSERT_NE(theirs, reinterpret_cast<iconv_t>(-1)) << page;
    for (int code = 0x20; code < 0x100; ++code) {
      std::array<char, 1> byte{static_cast<char>(code)};
      std::array<char, 16> text{};
      char* in = byte.data();
      char* out = text.data();
      std::size_t inLeft = 1;
      std::size_t outLeft = text.size();
      iconv(theirs, nullptr, nullptr, nullptr, nullptr);
      const bool has = iconv(theirs, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
      iconv(theirs, nullptr, nullptr, &out, &outLeft);
      if (!has) continue;
      ++known;
      std::string ours;
      base::AppendCharacter(ours, cli::CharacterOf(static_cast<std::uint16_t>(page), static_cast<std::uint8_t>(code)).value_or(0));
      EXPECT_EQ(ours, std::string(text.data(), out)) << page << " " << code;
      std::string back;
      encoder.Append(ours, back);
      EXPECT_EQ(back, std::string(byte.data(), 1)) << page << " " << code;
    }
    iconv_close(theirs);
  }
  EXPECT_GT(known, 1900);
}

TEST(ExportForms, BytesAreFilesBesideTheText) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  const auto ran = TamloDb(folder, {"export", path, "-t", "T", "--columns", "I,Y,a/b,a:b", "-o", "d", "--binary", "files"});
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(Content(folder.Path() / "d/T.csv"),
            "I,Y,a/b,a:b\n1,T.files/1-Y.bin,T.files/1-a_b.bin,T.files/1-a_b-2.bin\n2,T.files/2-Y.bin,,\n");
  EXPECT_EQ(RunLine(folder, "(od -An -tx1 d/T.files/1-Y.bin d/T.files/1-a_b.bin d/T.files/1-a_b-2.bin; wc -c <d/T.files/2-Y.bin)").out,
            " 00 ff 0a 01 02\n100000\n");
  const auto again = TamloDb(folder, {"export", path, "-t", "T", "-F", "json", "-o", "d", "--binary", "files"});
  EXPECT_EQ(again.status, 4);
  EXPECT_EQ(again.err, "tamlo-db: d/T.files exists already\n");
  EXPECT_FALSE(std::filesystem::exists(folder.Path() / "d/T.json"));
  EXPECT_FALSE(std::filesystem::exists(folder.Path() / "d/T.json.part"));
  const auto without = TamloDb(folder, {"export", path, "-t", "T", "--binary", "files"});
  EXPECT_EQ(without.status, 2);
  EXPECT_EQ(without.err, "tamlo-db: --binary files wants a folder: -o\n");
}

TEST(ExportForms, WhatIsWrittenComesBack) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  const std::vector<std::string> forms{"--date-format", "%d.%m.%Y %H:%M:%S", "--encoding", "utf-16", "--binary", "files"};
  for (const std::string& format : std::vector<std::string>{"csv", "tsv", "jsonl"}) {
    std::vector<std::string> out{"export", path, "-t", "T", "-o", "d" + format, "-F", format};
    out.insert(out.end(), forms.begin(), forms.end());
    EXPECT_EQ(TamloDb(folder, out).err, "");
    TamloDb(folder, {"exec", path,
                     "CREATE TABLE B" + format + " (I LONG, M DATETIME, X TEXT(50), Y LONGBINARY, [a/b] BINARY(4), [a:b] BINARY(4))"});
    std::vector<std::string> in{"import", path, "B" + format, "d" + format + "/T." + format};
    in.insert(in.end(), forms.begin(), forms.end());
    EXPECT_EQ(TamloDb(folder, in).err, "");
    EXPECT_EQ(TamloDb(folder, {"export", path, "-t", "B" + format}).out, TamloDb(folder, {"export", path, "-t", "T"}).out);
  }
}

TEST(ExportForms, ATextFileReadsNoBytesFromElsewhere) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  std::filesystem::create_directory(folder.Path() / "d");
  std::ofstream(folder.Path() / "secret") << "x";
  for (const std::string& name : std::vector<std::string>{"../secret", "a/../../secret", folder.File("secret"), "rien.bin", "."}) {
    std::ofstream(folder.Path() / "d/T.csv") << "Y\n" << name << "\n";
    const auto ran = TamloDb(folder, {"import", path, "T", "d/T.csv", "--binary", "files"});
    EXPECT_EQ(ran.status, 4) << name;
    EXPECT_EQ(ran.err.find("tamlo-db: d/T.csv, line 2: "), 0U) << ran.err;
  }
}

}  // namespace
}  // namespace tamlo::tests
