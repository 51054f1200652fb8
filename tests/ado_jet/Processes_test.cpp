// Eight programs with one file: each reads, writes and keeps recordsets of every kind open. No error, no lost row, the rows of one model.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <stdexcept>

#include "tests/ado_jet/JetFixture.h"
#include "tests/support_lib/Seed.h"

using namespace tamlo;
using namespace tamlo::ado;

namespace {

#ifdef JET_LONG_PROCESSES
constexpr int kSeconds = 300;
#else
constexpr int kSeconds = 8;
#endif
constexpr int kPrograms = 8;
constexpr int kIdsOfProgram = 1000000;

/// What the note of a row says: whose it is and which change of it made it, and as many letters more.
std::string NoteOf(int id, int version) {
  static constexpr int kLengths[] = {0, 20, 300, 5000, 70000};
  return std::to_string(id) + ":" + std::to_string(version) + ":" +
         std::string(static_cast<std::size_t>(kLengths[(id + version) % 5]), 'n');
}

int IntOf(const Variant& value) { return runtime::ToInt32(value); }

void Require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

/// One program: its rows as they must be, and the recordsets that it never closes for long.
class Program {
 public:
  Program(const std::string& path, int number, std::uint32_t seed) : number_(number), random_(seed + static_cast<std::uint32_t>(number)) {
    connection_.Provider("Microsoft.Jet.OLEDB.4.0");
    connection_.Open(path, "", "");
  }

  void Run(std::chrono::steady_clock::time_point end) {
    while (std::chrono::steady_clock::now() < end) {
      switch (random_() % 8) {
        case 0:
        case 1:
          Insert();
          break;
        case 2:
          UpdateByStatement();
          break;
        case 3:
          UpdateByRecordset();
          break;
        case 4:
          Delete();
          break;
        case 5:
          connection_.Execute("UPDATE Compte SET N = N + 1");
          ++counted_;
          break;
        default:
          break;
      }
      Look();
    }
  }

  void Report(const std::string& path) const {
    std::ofstream out(path);
    out << counted_ << ' ' << looked_ << ' ' << changes_ << '\n';
    for (const auto& [id, version] : rows_) out << id << ' ' << version << '\n';
  }

 private:
  void Insert() {
    const int id = number_ * kIdsOfProgram + ++last_;
    connection_.Execute("INSERT INTO Lignes VALUES (" + std::to_string(id) + ", 1, '" + NoteOf(id, 1) + "')");
    rows_[id] = 1;
    ++changes_;
  }

  [[nodiscard]] int Any() {
    if (rows_.empty()) Insert();
    return std::next(rows_.begin(), static_cast<std::ptrdiff_t>(random_() % rows_.size()))->first;
  }

  void UpdateByStatement() {
    const int id = Any();
    const int version = ++rows_[id];
    connection_.Execute("UPDATE Lignes SET Version=Version+1, Note='" + NoteOf(id, version) + "' WHERE Id=" + std::to_string(id));
    ++changes_;
  }

  void UpdateByRecordset() {
    const int id = Any();
    Recordset rows;
    rows.Open("SELECT * FROM Lignes WHERE Id=" + std::to_string(id), &connection_, adOpenKeyset, adLockOptimistic, -1);
    Require(!rows.Eof(), "the row " + std::to_string(id) + " is lost");
    Require(IntOf(rows.Fields("Version").Value()) == rows_[id], "a change of the row " + std::to_string(id) + " is lost");
    const int version = ++rows_[id];
    rows.Fields("Version").Value(std::int32_t{version});
    rows.Fields("Note").Value(NoteOf(id, version));
    rows.Update();
    ++changes_;
  }

  void Delete() {
    const int id = Any();
    connection_.Execute("DELETE FROM Lignes WHERE Id=" + std::to_string(id));
    rows_.erase(id);
    ++changes_;
  }

  struct Open {
    std::unique_ptr<Recordset> rows;
    int kind = 0;
  };

  /// A few rows of one of the recordsets that stay open.
  void Look() {
    Open& open = open_[random_() % std::size(open_)];
    if (open.rows == nullptr || open.rows->Eof()) OpenAnew(open);
    const auto steps = 1 + static_cast<int>(random_() % 30);
    for (int i = 0; i < steps && !open.rows->Eof(); ++i) {
      LookAtRow(open);
      open.rows->MoveNext();
    }
  }

  void OpenAnew(Open& open) {
    open = Open{std::make_unique<Recordset>(), static_cast<int>(random_() % 5)};
    if (open.kind == 4) {
      open.rows->Open("Lignes", &connection_, adOpenKeyset, adLockOptimistic, adCmdTableDirect);
      return;
    }
    static const std::map<int, const char*> kTexts{{0, "SELECT * FROM Lignes"},
                                                   {1, "SELECT * FROM Lignes ORDER BY Id"},
                                                   {2, "SELECT * FROM Lignes WHERE Version > 0 ORDER BY Version, Id"}};
    open.rows->Open(kTexts.at(static_cast<int>(random_() % 3)), &connection_, static_cast<CursorType>(open.kind), adLockOptimistic, -1);
  }

  void LookAtRow(Open& open) {
    const bool live = open.kind == adOpenKeyset || open.kind == adOpenDynamic || open.kind == 4;
    const int id = IntOf(open.rows->Fields("Id").Value());
    const int version = IntOf(open.rows->Fields("Version").Value());
    ++looked_;
    Variant note;
    try {
      note = open.rows->Fields("Note").Value();
    } catch (const runtime::Error& error) {
      // A row may be deleted while one looks at it, and a long memo may have changed since its row was read ahead.
      const bool gone = live && error.Number() == runtime::kNoCurrentRecord;
      const bool changed = !live && error.Description().rfind("La ligne a été modifiée par un autre utilisateur", 0) == 0;
      if (!gone && !changed) throw;
      return;
    }
    const std::string text = runtime::ToText(note);
    const int noteVersion = std::stoi(text.substr(text.find(':') + 1));
    Require(text == NoteOf(id, noteVersion), "the note of row " + std::to_string(id) + " is \"" + text.substr(0, 40) + "\"");
    Require(live ? noteVersion >= version : noteVersion == version,
            "row " + std::to_string(id) + " of version " + std::to_string(version) + " has the note of " + std::to_string(noteVersion));
  }

  Connection connection_;
  int number_;
  std::mt19937 random_;
  std::map<int, int> rows_;
  int last_ = 0;
  int counted_ = 0;
  int looked_ = 0;
  int changes_ = 0;
  Open open_[3];
};

int RunProgram(const std::string& path, int number, std::uint32_t seed, const std::string& report) {
  try {
    Program program(path, number, seed);
    program.Run(std::chrono::steady_clock::now() + std::chrono::seconds(kSeconds));
    program.Report(report);
    return 0;
  } catch (const runtime::Error& error) {
    std::cerr << "program " << number << ": " << error.Number() << " " << error.Description() << '\n';
  } catch (const std::exception& error) {
    std::cerr << "program " << number << ": " << error.what() << '\n';
  }
  return 1;
}

using JetPrograms = tests::JetFixture;

TEST_F(JetPrograms, EightProgramsWithOpenRecordsetsLoseNothing) {
  const std::uint32_t seed = tests::Seed();
  connection.Execute("CREATE TABLE Lignes (Id LONG CONSTRAINT PK PRIMARY KEY, Version LONG, Note MEMO)");
  connection.Execute("CREATE INDEX Versions ON Lignes (Version)");
  connection.Execute("CREATE TABLE Compte (N LONG)");
  connection.Execute("INSERT INTO Compte VALUES (0)");
  connection.Close();
  std::vector<pid_t> programs;
  for (int i = 1; i <= kPrograms; ++i) {
    const pid_t child = fork();
    if (child == 0) _exit(RunProgram(path, i, seed, folder.File("report" + std::to_string(i))));
    programs.push_back(child);
  }
  for (const pid_t program : programs) {
    int status = 0;
    waitpid(program, &status, 0);
    EXPECT_EQ(status, 0);
  }
  std::map<int, int> expected;
  int counted = 0;
  int looked = 0;
  int fewest = 1 << 30;
  int most = 0;
  for (int i = 1; i <= kPrograms; ++i) {
    std::ifstream in(folder.File("report" + std::to_string(i)));
    int ownCount = 0, ownLooks = 0, ownChanges = 0, id = 0, version = 0;
    ASSERT_TRUE(in >> ownCount >> ownLooks >> ownChanges) << "program " << i;
    while (in >> id >> version) expected[id] = version;
    counted += ownCount;
    looked += ownLooks;
    fewest = std::min(fewest, ownChanges + ownCount);
    most = std::max(most, ownChanges + ownCount);
  }
  connection.Open(path, "", "");
  std::map<int, int> found;
  Recordset rows;
  rows.Open("SELECT * FROM Lignes", &connection, adOpenForwardOnly, adLockUnspecified, -1);
  for (; !rows.Eof(); rows.MoveNext()) {
    const int id = IntOf(rows.Fields("Id").Value());
    found[id] = IntOf(rows.Fields("Version").Value());
    EXPECT_EQ(runtime::ToText(rows.Fields("Note").Value()), NoteOf(id, found[id]));
  }
  EXPECT_EQ(found, expected);
  EXPECT_EQ(Rows("SELECT N FROM Compte"), std::to_string(counted));
  std::cout << "looked at " << looked << " rows; changes of one program: " << fewest << " to " << most << '\n';
  EXPECT_GT(looked, 100);
  EXPECT_GE(fewest * 3, most) << "the turn to write goes round";
}

}  // namespace
