// Real files, damaged at random: what comes out is what was there, and what does not is told.
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <optional>
#include <random>

#include "jet/Recoverer.h"
#include "jet/file/MemoryFileSystem.h"
#include "jet/value/Error.h"
#include "tests/jet/damage/Contents.h"
#include "tests/jet/damage/Exercise.h"
#include "tests/support_lib/SampleFiles.h"
#include "tests/support_lib/Seed.h"

namespace jet::tests {
namespace {

using File = std::vector<std::byte>;

/// A real file that can be opened, and what it holds.
struct Original {
  std::string name;
  File file;
  std::size_t pageSize = 4096;
  Contents contents;
};

/// All of them; large ones only once, as rounds over them take long.
std::vector<Original> Originals() {
  std::vector<Original> originals;
  for (const auto& path : tamlo::tests::AllSampleFiles()) {
    Original original;
    original.name = path.filename().string();
    original.file = Load(path);
    MemoryFileSystem files;
    files.SetContent("a.mdb", original.file);
    OpenOptions options;
    options.fileSystem = &files;
    options.mode = OpenMode::kReadOnly;
    try {
      const auto database = Database::Open("a.mdb", options);
      original.pageSize = database->FormatVersion() == 3 ? 2048 : 4096;
      original.contents = ReadContents(*database);
    } catch (const Error&) {
      continue;  // behind a password, encrypted
    }
    originals.push_back(std::move(original));
  }
  return originals;
}

/// What came of a recovery.
struct Saved {
  Recovery recovery;
  Contents contents;
};

/// Recovers the file; nothing when it is refused. The result is sound and the damaged file as it was.
std::optional<Saved> Try(const File& file, bool rowByRow, std::string* refusal = nullptr) {
  MemoryFileSystem files;
  files.SetContent("hurt.mdb", file);
  RecoveryOptions options;
  options.fileSystem = &files;
  options.rowByRow = rowByRow;
  Saved saved;
  try {
    saved.recovery = Recover("hurt.mdb", "new.mdb", options);
  } catch (const Error& error) {
    if (refusal != nullptr) *refusal = error.what();
    EXPECT_EQ(files.Names(), std::vector<std::string>{"hurt.mdb"});
    return std::nullopt;
  }
  EXPECT_EQ(files.Content("hurt.mdb"), file);
  EXPECT_EQ(files.Names(), (std::vector<std::string>{"hurt.mdb", "new.mdb"}));
  OpenOptions opening;
  opening.fileSystem = &files;
  const auto database = Database::Open("new.mdb", opening);
  for (const auto& finding : database->Check()) ADD_FAILURE() << "page " << finding.page << ": " << finding.text;
  saved.contents = ReadContents(*database);
  return saved;
}

/// The table of the original that a recovered one comes from.
const HeldTable* Source(const Original& original, const RecoveredTable& table) {
  const auto found = original.contents.tables.find(table.page);
  return found == original.contents.tables.end() ? nullptr : &found->second;
}

bool Meets(const std::set<PageNumber>& pages, const std::set<PageNumber>& hit) {
  return std::any_of(pages.begin(), pages.end(), [&](PageNumber page) { return hit.count(page) != 0; });
}

/// Whether a page that the table needs was hit.
bool IsHit(const HeldTable& table, const std::set<PageNumber>& hit) {
  return Meets(table.definition, hit) || Meets(table.maps, hit) || Meets(table.rowPages, hit) || Meets(table.longPages, hit);
}

/// Rows whose bytes were hit, or may have been: pages of long values are counted for all rows.
std::size_t ExposedRows(const HeldTable& table, const std::set<PageNumber>& hit) {
  if (Meets(table.longPages, hit)) return table.rows.size();
  std::size_t rows = 0;
  for (const auto& row : table.rows) rows += hit.count(row.home) != 0 ? 1 : 0;
  // A moved row lies elsewhere than at home.
  return Meets(table.rowPages, hit) && rows == 0 ? table.rows.size() : rows;
}

/// What is asked of every recovery. whole: pages are either as they were or nothing like it, so that no row can come out changed.
void Judge(const Original& original, const Saved& saved, const std::set<PageNumber>& hit, bool whole, std::size_t& lost) {
  const bool told = !saved.recovery.losses.empty();
  std::set<PageNumber> met;
  for (const auto& table : saved.recovery.tables) {
    const HeldTable* held = Source(original, table);
    if (held == nullptr) {
      EXPECT_EQ(table.rows, 0u) << table.name << " is no table of the original, and has rows";
      continue;
    }
    met.insert(table.page);
    if (!table.saved) {
      EXPECT_TRUE(IsHit(*held, hit)) << table.name;
      lost += held->rows.size();
      continue;
    }
    const HeldTable* found = saved.contents.Find(table.name);
    ASSERT_NE(found, nullptr) << table.name;
    EXPECT_EQ(found->rows.size(), table.rows);
    const bool definitionHit = Meets(held->definition, hit);
    if (!whole && definitionHit) continue;  // nothing in a file says that a definition is another one now
    const Difference difference = Compare(*held, *found);
    lost += difference.missing;
    if (!IsHit(*held, hit)) {
      EXPECT_EQ(difference.strange + difference.missing + difference.bare, 0u) << "not hit: " << difference.first;
      EXPECT_EQ(table.lostRows + table.missingRows + table.lostValues, 0u) << table.name;
    }
    const std::size_t exposed = whole ? 0 : ExposedRows(*held, hit);
    EXPECT_LE(difference.strange, exposed) << difference.first;
    if (whole) {
      EXPECT_LE(difference.bare, table.lostValues) << table.name;
      // What Access counts in tables of its own is not always so.
      if (!held->system) {
        EXPECT_EQ(table.rows + table.lostRows + table.missingRows, held->counted) << table.name;
      }
    }
    if (difference.missing > exposed) {
      EXPECT_TRUE(told) << table.name << ": " << difference.missing << " rows are gone without a word";
    }
  }
  for (const auto& [page, table] : original.contents.tables)
    if (met.count(page) == 0 && !table.system) {
      EXPECT_TRUE(told && (Meets(table.definition, hit) || hit.count(2) != 0)) << table.name << " is gone";
    }
}

TEST(Recover, SoundFilesComeOutWhole) {
  const auto originals = Originals();
  if (originals.empty()) GTEST_SKIP() << "JET_SAMPLES does not name the folder of real files";
  std::size_t rows = 0;
  for (const auto& original : originals) {
    SCOPED_TRACE(original.name);
    for (const bool rowByRow : {false, true}) {
      const auto saved = Try(original.file, rowByRow);
      ASSERT_TRUE(saved);
      const bool sound = saved->recovery.sound;
      std::size_t lost = 0;
      Judge(original, *saved, {}, true, lost);
      for (const auto& [page, table] : original.contents.tables) {
        if (table.system) continue;
        const HeldTable* found = saved->contents.Find(table.name);
        ASSERT_NE(found, nullptr) << table.name;
        EXPECT_EQ(found->indexes, table.indexes) << table.name;
        if (original.pageSize == 4096) {
          EXPECT_EQ(found->columns, table.columns) << table.name;
        }
        EXPECT_EQ(found->properties, table.properties) << table.name;
        rows += table.rows.size();
      }
      if (sound || original.name != "d7-Stammdaten.mdb") {  // a relationship of a linked table is told instead
        EXPECT_EQ(saved->contents.relationships, original.contents.relationships);
      }
      EXPECT_EQ(saved->contents.queries, original.contents.queries);
      EXPECT_EQ(saved->contents.links, original.contents.links);
      if (sound) continue;
      for (const auto& loss : saved->recovery.losses)
        if (loss.text.find("one of its tables is not there") == std::string::npos) {
          EXPECT_NE(loss.text.find("forms, reports, macros and modules"), std::string::npos) << loss.page << ": " << loss.text;
        }
    }
  }
  std::cout << originals.size() << " files, " << rows << " rows\n";
}

/// Overwrites, cuts; gives the pages that were hit.
using Hurt = std::function<std::set<PageNumber>(const Original&, File&, std::mt19937&)>;

void Rounds(const Hurt& hurt, bool whole, int rounds, const std::function<void(const Saved&)>& also = {}) {
  const std::uint32_t seed = tamlo::tests::Seed();
  const auto originals = Originals();
  if (originals.empty()) GTEST_SKIP() << "JET_SAMPLES does not name the folder of real files";
  std::size_t recovered = 0, refused = 0, lost = 0, losses = 0;
  for (const auto& original : originals) {
    const int turns = original.file.size() > 1'000'000 ? 1 : rounds;
    for (int turn = 0; turn < turns; ++turn) {
      SCOPED_TRACE(original.name + ", turn " + std::to_string(turn));
      std::mt19937 random(seed + static_cast<std::uint32_t>(turn) * 7919u + static_cast<std::uint32_t>(original.file.size()));
      File file = original.file;
      const auto hit = hurt(original, file, random);
      std::string refusal;
      const auto saved = Try(file, false, &refusal);
      if (!saved) {
        ++refused;
        EXPECT_TRUE(hit.count(0) != 0 || file.size() < 4 * original.pageSize) << refusal;
        continue;
      }
      ++recovered;
      losses += saved->recovery.losses.size();
      Judge(original, *saved, hit, whole, lost);
      if (also) also(*saved);
    }
  }
  std::cout << recovered << " recovered with " << losses << " losses, " << lost << " rows gone, " << refused << " refused\n";
  EXPECT_GT(losses, 0u);
}

std::size_t Below(std::mt19937& random, std::size_t limit) { return limit == 0 ? 0 : random() % limit; }

TEST(Recover, AfterPagesOfZerosAndOfNoise) {
  Rounds(
      [](const Original& original, File& file, std::mt19937& random) {
        std::set<PageNumber> hit;
        const std::size_t pages = file.size() / original.pageSize;
        for (std::size_t count = 1 + Below(random, 4); count != 0; --count) {
          const std::size_t page = 1 + Below(random, pages - 1);
          const bool zeros = Below(random, 2) == 0;
          for (std::size_t i = 0; i < original.pageSize; ++i)
            file[page * original.pageSize + i] = zeros ? std::byte{0} : static_cast<std::byte>(random());
          hit.insert(static_cast<PageNumber>(page));
        }
        return hit;
      },
      true, 8);
}

TEST(Recover, AfterACut) {
  Rounds(
      [](const Original& original, File& file, std::mt19937& random) {
        const std::size_t pages = file.size() / original.pageSize;
        const std::size_t size = Below(random, 2) == 0 ? file.size() / 2 : 1 + Below(random, file.size() - 1);
        file.resize(size);
        std::set<PageNumber> hit;
        for (std::size_t page = size / original.pageSize; page < pages; ++page) hit.insert(static_cast<PageNumber>(page));
        return hit;
      },
      true, 5);
}

TEST(Recover, AfterAWreckedHeader) {
  Rounds(
      [](const Original& original, File& file, std::mt19937& random) {
        const bool zeros = Below(random, 2) == 0;
        for (std::size_t i = 0; i < original.pageSize; ++i) file[i] = zeros ? std::byte{0} : static_cast<std::byte>(random());
        return std::set<PageNumber>{0};
      },
      true, 2,
      [](const Saved& saved) {
        EXPECT_EQ(saved.recovery.losses.front().text,
                  "The header cannot be read: the kind of the file and its order of texts were guessed");
        for (const auto& table : saved.recovery.tables) EXPECT_TRUE(table.saved && table.named) << table.name;
      });
}

TEST(Recover, AfterALostCatalog) {
  std::size_t named = 0, unnamed = 0;
  Rounds(
      [](const Original& original, File& file, std::mt19937&) {
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(2 * original.pageSize), original.pageSize, std::byte{0});
        return std::set<PageNumber>{2};
      },
      true, 1,
      [&](const Saved& saved) {
        for (const auto& table : saved.recovery.tables) {
          ++(table.named ? named : unnamed);
          if (!table.named) {
            EXPECT_EQ(table.name, "Table_" + std::to_string(table.page));
          }
        }
      });
  if (IsSkipped()) return;
  EXPECT_GT(named, 0u) << "relationships tell names";
  EXPECT_GT(unnamed, 0u);
}

TEST(Recover, AfterBitsThatFell) {
  Rounds(
      [](const Original& original, File& file, std::mt19937& random) {
        std::set<PageNumber> hit;
        for (std::size_t count = 1 + Below(random, 8); count != 0; --count) {
          const std::size_t place = original.pageSize + Below(random, file.size() - original.pageSize);
          file[place] ^= static_cast<std::byte>(1u << Below(random, 8));
          hit.insert(static_cast<PageNumber>(place / original.pageSize));
        }
        return hit;
      },
      false, 8);
}

TEST(Recover, AfterSectorsOfZeros) {
  Rounds(
      [](const Original& original, File& file, std::mt19937& random) {
        constexpr std::size_t kSector = 512;
        std::set<PageNumber> hit;
        for (std::size_t count = 1 + Below(random, 6); count != 0; --count) {
          const std::size_t place = original.pageSize + Below(random, (file.size() - original.pageSize) / kSector) * kSector;
          std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(place), kSector, std::byte{0});
          hit.insert(static_cast<PageNumber>(place / original.pageSize));
        }
        return hit;
      },
      false, 4);
}

TEST(Recover, WhatIsNoAccessFileIsRefused) {
  for (const std::size_t size : {0u, 1u, 5000u, 40960u}) {
    std::string refusal;
    EXPECT_FALSE(Try(File(size), false, &refusal)) << size;
    EXPECT_NE(refusal.find("is not an Access file"), std::string::npos) << refusal;
  }
}

}  // namespace
}  // namespace jet::tests
