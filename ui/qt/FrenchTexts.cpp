#include "ui/qt/FrenchTexts.h"

#include <QTranslator>
#include <cstring>

namespace tamlo::ui::qt {

namespace {

struct Entry {
  const char* context;
  const char* source;
  const char* french;
};

constexpr Entry kEntries[] = {
    {"QLineEdit", "&Undo", "A&nnuler"},
    {"QLineEdit", "&Redo", "&Rétablir"},
    {"QLineEdit", "Cu&t", "Co&uper"},
    {"QLineEdit", "&Copy", "&Copier"},
    {"QLineEdit", "&Paste", "Co&ller"},
    {"QLineEdit", "Delete", "Supprimer"},
    {"QLineEdit", "Select All", "Tout sélectionner"},
};

class Translator : public QTranslator {
 public:
  [[nodiscard]] bool isEmpty() const override { return false; }
  QString translate(const char* context, const char* source, const char* /*disambiguation*/, int /*count*/) const override {
    for (const Entry& entry : kEntries) {
      if (std::strcmp(entry.context, context) == 0 && std::strcmp(entry.source, source) == 0) {
        return QString::fromUtf8(entry.french);
      }
    }
    return {};
  }
};

}  // namespace

std::unique_ptr<QTranslator> FrenchTexts() { return std::make_unique<Translator>(); }

}  // namespace tamlo::ui::qt
