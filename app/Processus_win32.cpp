#include <windows.h>

#include <sddl.h>

#include <cwchar>
#include <filesystem>

#include "app/Processus.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::app {

namespace {

constexpr std::int32_t kCheminIntrouvable = 76;

std::string FromWide(const wchar_t* text) { return runtime::FromUtf16(std::u16string(text, text + std::wcslen(text))); }

/// Past the program's own path, which may stand between double quotes, at the start of a command line.
wchar_t* ArgumentsPart(wchar_t* line) {
  bool quoted = false;
  for (; *line != L'\0' && (quoted || (*line != L' ' && *line != L'\t')); ++line) {
    if (*line == L'"') quoted = !quoted;
  }
  return line;
}

}  // namespace

LigneLue LitLigneCommande(int /*nombre*/, char** /*arguments*/) {
  // One text already, in the very memory where the system looks when another program asks for it.
  wchar_t* const arguments = ArgumentsPart(GetCommandLineW());
  LigneLue ligne{FromWide(arguments)};
  EffaceMotsPasse(arguments);
  return ligne;
}

void ProtegeMemoire() noexcept {
  // No error report with a piece of the memory in it, whoever keeps such reports.
  SetErrorMode(SetErrorMode(0) | SEM_NOGPFAULTERRORBOX);
  // Programs of the same user may end this one and wait for it, but not read its memory nor give themselves the right to. The system's own
  // account and the administrators keep theirs.
  constexpr const wchar_t* kRights = L"D:P(A;;0x1fffff;;;SY)(A;;0x1fffff;;;BA)(A;;0x121401;;;OW)";
  PSECURITY_DESCRIPTOR rights = nullptr;
  if (ConvertStringSecurityDescriptorToSecurityDescriptorW(kRights, SDDL_REVISION_1, &rights, nullptr) == 0) return;
  SetKernelObjectSecurity(GetCurrentProcess(), DACL_SECURITY_INFORMATION, rights);
  LocalFree(rights);
}

std::string DossierDuProgramme() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return FromWide(std::filesystem::path(path).parent_path().wstring().c_str());
}

void ChangeDossierCourant(const std::string& dossier) {
  std::error_code erreur;
  const std::u16string units = runtime::ToUtf16(dossier);
  const std::filesystem::path folder = std::filesystem::absolute(std::wstring(units.begin(), units.end()), erreur);
  const std::wstring drive = folder.root_name().wstring();
  const std::wstring currentDrive = std::filesystem::current_path(erreur).root_name().wstring();
  bool done = false;
  if (_wcsicmp(drive.c_str(), currentDrive.c_str()) == 0) {
    done = SetCurrentDirectoryW(folder.c_str()) != 0;
  } else {
    // The current folder of another drive is kept in a variable named after it.
    done = std::filesystem::is_directory(folder, erreur) && SetEnvironmentVariableW((L"=" + drive).c_str(), folder.c_str()) != 0;
  }
  if (!done) throw runtime::Error(kCheminIntrouvable, "Chemin d'accès introuvable");
}

}  // namespace tamlo::app
