// One run of the tool without a screen, as a process of its own: opens the base, fills the form, prints "pret", waits for a line (or the end of
// the input) and presses OK. Prints the boxes that are shown; ends with the tool's own exit status.
//
//   tamlo_cluster_outil <chaîne de connexion> <volume> <nom> <niveau> <mot de passe>

#include <iostream>
#include <string>

#include "ado/odbc/OdbcProvider.h"
#include "app/Demarrage.h"
#include "app/TableCode.h"
#include "tests/support_lib/FakePlatform.h"

int main(int argc, char** argv) {
  if (argc != 6) return 2;
  tamlo::ado::odbc::RegisterOdbcProviders();
  tamlo::app::BrancheCouche("/");
  tamlo::app::InitTableCode();
  const std::string code = tamlo::app::CodePwd("tamlo");
  tamlo::app::LibereTableCode();
  tamlo::tests::FakePlatform platform;
  platform.whileRunning = [&] {
    std::cout << "pret" << std::endl;
    std::string line;
    std::getline(std::cin, line);
    platform.Form().PressEnter();
  };
  tamlo::app::LigneCommande("\"" + std::string(argv[1]) + "\" 3 " + argv[2] + " " + argv[3] + " " + argv[4] + " " + argv[5] + " tamlo " +
                            code);
  const int status = tamlo::app::ExecuteProgramme();
  for (const auto& box : platform.messages) std::cout << "boite: " << box.title << ": " << box.text << "\n";
  return status;
}
