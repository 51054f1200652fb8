#include <cstdio>
#include <cstdlib>

// Whoever loads this library has run the code of a stranger: it writes the file that TAMLO_TELLTALE names.
namespace {
struct Telltale {
  Telltale() {
    const char* path = std::getenv("TAMLO_TELLTALE");
    if (path == nullptr) return;
    if (std::FILE* file = std::fopen(path, "w")) std::fclose(file);
  }
} const telltale;
}  // namespace
