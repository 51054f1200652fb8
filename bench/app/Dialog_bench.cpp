// Time from the start of the process to the first paint of the dialog, on an empty volumes database and on one of 200
// tables. Each measure is a process of its own: this program again, as the tool, which tells when the paint is done and
// ends.

#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "providers/Fournisseurs.h"
#include "app/Processus.h"
#include "tests/app/VirtualDisplay.h"
#include "tests/app/VolumesDatabase.h"
#include "ui/qt/QtPlatform.h"

namespace {

using namespace tamlo::app;

constexpr int kTables = 200;
constexpr const char* kAsTool = "--as-tool";

std::int64_t Now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Ends the process once the first window has painted itself, the moment going to the standard output.
class FirstPaint : public QObject {
 public:
  bool eventFilter(QObject* object, QEvent* event) override {
    const auto* widget = qobject_cast<QWidget*>(object);
    if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow() && !told_) {
      told_ = true;
      QTimer::singleShot(0, [] {
        const std::int64_t moment = Now();
        if (::write(STDOUT_FILENO, &moment, sizeof moment) != sizeof moment) std::_Exit(2);
        std::_Exit(0);
      });
    }
    return false;
  }

 private:
  bool told_ = false;
};

int RunAsTool(int count, char** arguments) {
  const LigneLue ligne = LitLigneCommande(count, arguments);
  LigneCommande(ligne.texte, ligne.guillemet);
  const auto platform = tamlo::ui::qt::CreatePlatform();
  tamlo::ui::UsePlatform(platform.get());
  tamlo::providers::EnregistreFournisseurs();
  BrancheCouche(DossierDuProgramme());
  FirstPaint firstPaint;
  qApp->installEventFilter(&firstPaint);
  return ExecuteProgramme();
}

/// Seconds from the start of a process to the first paint.
double Measure(const VolumesDatabase& volumes, const std::string& display) {
  int ends[2];
  if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
  const std::string name = volumes.Name();
  const std::string kind = volumes.Kind();
  const std::int64_t start = Now();
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(ends[1], STDOUT_FILENO);
    ::setenv("DISPLAY", display.c_str(), 1);
    ::unsetenv("WAYLAND_DISPLAY");
    for (const auto& [variable, value] : volumes.Environment()) ::setenv(variable.c_str(), value.c_str(), 1);
    ::execl("/proc/self/exe", "dialog_bench", kAsTool, name.c_str(), kind.c_str(), "12", "DUPONT", "3", static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(ends[1]);
  std::int64_t moment = 0;
  const bool told = ::read(ends[0], &moment, sizeof moment) == sizeof moment;
  ::close(ends[0]);
  ::waitpid(child, nullptr, 0);
  if (!told) throw std::runtime_error("the dialog was not painted");
  return static_cast<double>(moment - start) / 1e9;
}

void StartToFirstPaint(benchmark::State& state, std::unique_ptr<VolumesDatabase> (*make)()) {
  static VirtualDisplay display;
  const auto volumes = make();
  for (int i = 0; i < state.range(0); ++i) {
    volumes->Execute("CREATE TABLE T" + std::to_string(i) + " (CODE INTEGER NOT NULL PRIMARY KEY, LIBELLE VARCHAR(30), DT DATE)");
  }
  Measure(*volumes, display.Name());  // the first opening of a database may create its catalog
  for (auto _ : state) state.SetIterationTime(Measure(*volumes, display.Name()));
}

BENCHMARK_CAPTURE(StartToFirstPaint, sqlite, MakeSqliteVolumes)
    ->Arg(0)
    ->Arg(kTables)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);
BENCHMARK_CAPTURE(StartToFirstPaint, mariadb, MakeMariaDbVolumes)
    ->Arg(0)
    ->Arg(kTables)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

}  // namespace

int main(int argc, char** argv) {
  // The tool's own arguments come after the mark, which stands in its name's place.
  if (argc > 1 && std::strcmp(argv[1], kAsTool) == 0) return RunAsTool(argc - 1, argv + 1);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
