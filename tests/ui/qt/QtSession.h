#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <memory>
#include <stdexcept>
#include <string>

#include "ui/Platform.h"

namespace tamlo::ui::qt {

/// The one platform of the test program, on the toolkit's display in memory.
[[nodiscard]] Platform& Session();

/// A form with two password boxes, a locked box and two buttons, as a program would make it, and its widgets as the
/// toolkit has them.
class QtFormTest : public testing::Test {
 protected:
  QtFormTest();

  void Show();
  template <typename Widget = QWidget>
  Widget& Find(const char* objectName) {
    auto* found = Window().findChild<Widget*>(objectName);
    if (found == nullptr) throw std::out_of_range(objectName);
    return *found;
  }
  QDialog& Window();
  void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
  void Type(const char* text);

  std::unique_ptr<Form> form = Session().CreateForm(6150, 3090);
  TextBox& first = form->AddTextBox("first", {2625, 1080, 705, 315});
  TextBox& second = form->AddTextBox("second", {2640, 1575, 705, 315});
  TextBox& name = form->AddTextBox("name", {2625, 480, 2790, 315});
  Button& ok = form->AddButton("ok", {3300, 2640, 1320, 330});
  Button& cancel = form->AddButton("cancel", {4710, 2640, 1320, 330});
  Label& label = form->AddLabel("label", {120, 1000, 2385, 480});
  std::string log;
};

}  // namespace tamlo::ui::qt
