#include "tests/support_lib/FakePlatform.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tamlo::tests {
namespace {

class FakeFormTest : public testing::Test {
 protected:
  FakeFormTest() : form_(platform_.CreateForm(1000, 1000)) {
    ui::TextBox& a = form_->AddTextBox("a", {});
    ui::TextBox& b = form_->AddTextBox("b", {});
    ui::Button& ok = form_->AddButton("ok", {});
    ok.Caption("&OK");
    ok.Default(true);
    ui::Button& cancel = form_->AddButton("cancel", {});
    cancel.Caption("&Annuler");
    cancel.Cancel(true);
    form_->TabOrder({&a, &b, &ok, &cancel});
    a.onGotFocus = [this] { log_ += "+a"; };
    a.onLostFocus = [this] { log_ += "-a"; };
    b.onGotFocus = [this] { log_ += "+b"; };
    b.onLostFocus = [this] { log_ += "-b"; };
    ok.onClick = [this] { log_ += " ok"; };
    cancel.onClick = [this] { log_ += " cancel"; };
    form_->onUnload = [this] { log_ += " unload"; };
  }

  FakeForm& Form() { return platform_.Form(); }

  FakePlatform platform_;
  std::unique_ptr<ui::Form> form_;
  std::string log_;
};

TEST_F(FakeFormTest, TheFirstControlHasTheFocusWhenTheFormOpens) {
  EXPECT_EQ(log_, "");
  form_->Show();
  EXPECT_EQ(log_, "+a");
}

TEST_F(FakeFormTest, TheLoserIsToldBeforeTheWinner) {
  form_->Show();
  Form().TextBox("b").SetFocus();
  Form().TextBox("b").SetFocus();
  EXPECT_EQ(log_, "+a-a+b");
}

TEST_F(FakeFormTest, TabGoesRound) {
  form_->Show();
  for (int i = 0; i < 4; ++i) Form().PressTab();
  EXPECT_EQ(log_, "+a-a+b-b+a");
  Form().PressBackTab();
  EXPECT_EQ(Form().Focused(), &Form().Button("cancel"));
}

TEST_F(FakeFormTest, EnterAndEscClickWithoutMovingTheFocus) {
  form_->Show();
  Form().PressEnter();
  Form().PressEscape();
  EXPECT_EQ(log_, "+a ok cancel");
}

TEST_F(FakeFormTest, EnterOnAFocusedButtonClicksThatOne) {
  form_->Show();
  Form().Button("cancel").SetFocus();
  Form().PressEnter();
  EXPECT_EQ(log_, "+a-a cancel");
}

TEST_F(FakeFormTest, AClickTakesTheFocusFirst) {
  form_->Show();
  Form().Button("ok").Click();
  EXPECT_EQ(log_, "+a-a ok");
  Form().PressAccelerator('a');
  EXPECT_EQ(log_, "+a-a ok cancel");
}

TEST_F(FakeFormTest, UnloadingIsToldOnce) {
  form_->Show();
  form_->Unload();
  Form().CloseBox();
  EXPECT_EQ(log_, "+a unload");
}

TEST_F(FakeFormTest, TypingHonoursLengthLockAndSelection) {
  FakeTextBox& box = Form().TextBox("a");
  box.MaxLength(4);
  form_->Show();
  box.Type("éàùçô");
  EXPECT_EQ(box.Text(), "éàùç");
  box.Select(1, 2);
  box.Type("xyz");
  EXPECT_EQ(box.Text(), "éxyç");
  EXPECT_EQ(box.SelectionStart(), 3);
  box.Locked(true);
  box.Select(0, 4);
  box.Type("no");
  EXPECT_EQ(box.Text(), "éxyç");
  EXPECT_EQ(box.Copied(), "éxyç");
}

TEST_F(FakeFormTest, ALongerTextAssignedIsCut) {
  FakeTextBox& box = Form().TextBox("a");
  box.MaxLength(3);
  box.Text("été long");
  EXPECT_EQ(box.Text(), "été");
}

TEST_F(FakeFormTest, APasswordIsNeitherShownNorCopied) {
  FakeTextBox& box = Form().TextBox("a");
  box.Password(true);
  box.Text("été");
  box.Select(0, 3);
  EXPECT_EQ(box.Shown(), "***");
  EXPECT_EQ(box.Copied(), "");
  EXPECT_EQ(box.Text(), "été");
}

TEST(FakePlatform, IsInForceWhileItLives) {
  {
    const FakePlatform platform;
    EXPECT_EQ(&ui::CurrentPlatform(), &platform);
  }
  EXPECT_ANY_THROW(static_cast<void>(ui::CurrentPlatform()));
}

TEST(FakePlatform, RunLetsExceptionsOut) {
  FakePlatform platform;
  platform.whileRunning = [] { throw std::runtime_error("out"); };
  EXPECT_THROW(platform.Run(), std::runtime_error);
  EXPECT_EQ(platform.runs, 1);
}

TEST(FakePlatform, FormsLeaveItsListWhenDestroyed) {
  FakePlatform platform;
  auto form = platform.CreateForm(10, 10);
  EXPECT_EQ(platform.Forms().size(), 1U);
  form.reset();
  EXPECT_TRUE(platform.Forms().empty());
}

}  // namespace
}  // namespace tamlo::tests
