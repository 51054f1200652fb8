// One run of the tool without a screen, as a process of its own: opens the base, fills the form, prints "pret", waits for a line (or the end of
// the input) and presses OK. Prints the boxes that are shown; ends with the tool's own exit status.
//
//   tamlo_cluster_outil <chaîne de connexion> <volume> <nom> <niveau> <mot de passe> [avant|apres <appel>]
//
// With a call to the driver (of those of StatementCalls, counted from OK on) it prints "coup" there and waits for another line.

#include <iostream>
#include <string>

#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "ado/odbc/OdbcProvider.h"
#include "app/TableCode.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/StatementCalls.h"

int main(int argc, char** argv) {
  if (argc != 6 && argc != 8) return 2;
  tamlo::ado::odbc::RegisterOdbcProviders();
  tamlo::app::BrancheCouche("/");
  tamlo::app::InitTableCode();
  const std::string code = tamlo::app::CodePwd("tamlo");
  tamlo::app::LibereTableCode();
  tamlo::tests::FakePlatform platform;
  const auto stop = [](const char* word) {
    std::cout << word << std::endl;
    std::string line;
    std::getline(std::cin, line);
  };
  platform.whileRunning = [&] {
    stop("pret");
    if (argc == 8) {
      const auto side = std::string(argv[6]) == "apres" ? tamlo::tests::Side::kAfter : tamlo::tests::Side::kBefore;
      tamlo::tests::ArmCall(std::stoi(argv[7]), side, [&] { stop("coup"); });
    }
    platform.Form().PressEnter();
    tamlo::tests::DisarmCall();
  };
  tamlo::app::LigneCommande("\"" + std::string(argv[1]) + "\" 3 " + argv[2] + " " + argv[3] + " " + argv[4] + " " + argv[5] + " tamlo " +
                            code);
  const int status = tamlo::app::ExecuteProgramme();
  for (const auto& box : platform.messages) std::cout << "boite: " << box.title << ": " << box.text << "\n";
  return status;
}
