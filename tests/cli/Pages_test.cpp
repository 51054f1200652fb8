// The pages of the manual and the completions: their readers take them, and they hold every option of the help.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>

#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

std::string PageNamed(const std::string& file) {
  std::ifstream in(std::string(TAMLO_PAGES) + "/" + file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// All words of a help that look like an option.
void AddOptions(const std::string& help, std::set<std::string>& options) {
  for (auto at = help.find("--"); at != std::string::npos; at = help.find("--", at + 2)) {
    const auto end = help.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at);
    if (end - at > 2) options.insert(help.substr(at, end - at));
  }
}

/// The first words of the lines behind "Subcommands:".
std::set<std::string> CommandsIn(const std::string& help) {
  std::set<std::string> commands;
  for (auto at = help.find("\n  ", help.find("Subcommands:")); at != std::string::npos; at = help.find("\n  ", at + 1)) {
    const std::string word = help.substr(at + 3, help.find(' ', at + 3) - at - 3);
    if (!word.empty()) commands.insert(word);
  }
  return commands;
}

std::string WithoutBackslashes(std::string text) {
  std::erase(text, '\\');
  return text;
}

TEST(Pages, HoldEveryCommandAndEveryOptionOfTheHelp) {
  const TemporaryFolder folder;
  const std::string help = TamloDb(folder, {"--help"}).out;
  const auto commands = CommandsIn(help);
  std::set<std::string> options;
  AddOptions(help, options);
  for (const auto& command : commands) AddOptions(TamloDb(folder, {command, "--help"}).out, options);
  EXPECT_GT(commands.size(), 10U);
  EXPECT_GT(options.size(), 14U);
  EXPECT_EQ(options.count("--order-by"), 1U);
  for (const char* file : {"tamlo-db.1", "tamlo-db.fr.1", "tamlo-db.bash", "_tamlo-db", "tamlo-db.fish"}) {
    const std::string page = WithoutBackslashes(PageNamed(file));
    const std::string dashes = file == std::string("tamlo-db.fish") ? "-l " : "--";
    for (const auto& option : options) EXPECT_NE(page.find(dashes + option.substr(2)), std::string::npos) << file << " " << option;
    for (const auto& command : commands) EXPECT_NE(page.find(command), std::string::npos) << file << " " << command;
  }
}

TEST(Pages, AreFrenchAndEnglishAndTheManualHasNothingToSayAgainstThem) {
  const TemporaryFolder folder;
  EXPECT_NE(PageNamed("tamlo-db.1").find(".SH \"EXIT STATUS\""), std::string::npos);
  EXPECT_NE(PageNamed("tamlo-db.fr.1").find(".SH \"CODE DE RETOUR\""), std::string::npos);
  for (const char* file : {"tamlo-db.1", "tamlo-db.fr.1"}) {
    const auto ran =
        RunLine(folder, "LC_ALL=C.UTF-8 MANROFFSEQ= MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z " + Word(TAMLO_PAGES) + "/" + file);
    EXPECT_EQ(ran.status, 0) << file;
    EXPECT_EQ(ran.err, "") << file;
    EXPECT_GT(ran.out.size(), 1000U) << file;
  }
}

TEST(Pages, TheShellsTakeTheirCompletions) {
  const TemporaryFolder folder;
  const std::string pages = Word(TAMLO_PAGES);
  for (const auto& line :
       {"bash -n " + pages + "/tamlo-db.bash", "zsh -n " + pages + "/_tamlo-db", "fish -n " + pages + "/tamlo-db.fish"}) {
    const auto ran = RunLine(folder, line);
    EXPECT_EQ(ran.status, 0) << line;
    EXPECT_EQ(ran.err + ran.out, "") << line;
  }
}

TEST(Pages, CompletionsGiveWhatStandsThere) {
  const TemporaryFolder folder;
  const auto bash = [&](const std::string& words, int at) {
    return RunLine(folder, "bash -c " + Word(". " + std::string(TAMLO_PAGES) + "/tamlo-db.bash; COMP_WORDS=(" + words +
                                             "); COMP_CWORD=" + std::to_string(at) + "; _tamlo_db; echo \"${COMPREPLY[@]}\""))
        .out;
  };
  EXPECT_EQ(bash("tamlo-db exp", 1), "export\n");
  EXPECT_EQ(bash("tamlo-db export x.mdb -F js", 4), "json jsonl\n");
  EXPECT_EQ(bash("tamlo-db schema x.mdb --to m", 4), "mariadb\n");
  EXPECT_EQ(bash("tamlo-db export x.mdb --ord", 3), "--order-by\n");
  EXPECT_EQ(bash("tamlo-db export x", 2), "\n") << "names of files are the shell's";
  const auto fish =
      RunLine(folder, "HOME=" + Word(folder.Path().string()) + " fish --no-config -c " +
                          Word("source " + std::string(TAMLO_PAGES) + "/tamlo-db.fish; complete -C 'tamlo-db export x.mdb -F js'"));
  EXPECT_EQ(fish.out.substr(0, 4), "json") << fish.err;
}

TEST(Pages, CompletionsSpeakTheLanguageOfTheirUser) {
  const TemporaryFolder folder;
  const auto fish = [&](const std::string& variables) {
    return RunLine(folder, "env -u LC_ALL -u LC_MESSAGES " + variables + " HOME=" + Word(folder.Path().string()) + " fish --no-config -c " +
                               Word("source " + std::string(TAMLO_PAGES) + "/tamlo-db.fish; complete -C 'tamlo-db tabl'"))
        .out;
  };
  EXPECT_EQ(fish("LANG=C"), "tables\tThe tables, with the number of their rows\n");
  EXPECT_EQ(fish("LANG=fr_FR.UTF-8"), "tables\tLes tables, avec leur nombre de lignes\n");
  EXPECT_EQ(fish("LANG=fr_FR.UTF-8 LC_ALL=C"), "tables\tThe tables, with the number of their rows\n");
  // What zsh would be given to show.
  const auto zsh = [&](const std::string& variables) {
    const std::string script = "_describe() { print -l -- ${(P)4} }; _tamlo() { . " + std::string(TAMLO_PAGES) +
                               "/_tamlo-db }; words=(tamlo-db ''); CURRENT=2; _tamlo";
    return RunLine(folder, "env -u LC_ALL -u LC_MESSAGES " + variables + " zsh -f -c " + Word(script)).out;
  };
  EXPECT_NE(zsh("LANG=C").find("\ntables:The tables, with the number of their rows\n"), std::string::npos) << zsh("LANG=C");
  EXPECT_NE(zsh("LANG=fr_FR.UTF-8").find("\ntables:Les tables, avec leur nombre de lignes\n"), std::string::npos);
}

}  // namespace
}  // namespace tamlo::tests
