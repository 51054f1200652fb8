#include "tests/support_lib/FakePlatform.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "runtime/Text.h"

namespace tamlo::tests {

namespace {

std::int16_t Characters(std::string_view text) { return static_cast<std::int16_t>(runtime::Length(text)); }

std::string_view From(std::string_view text, std::int16_t start) {
  return text.substr(runtime::Left(text, static_cast<std::size_t>(start)).size());
}

}  // namespace

FakeTextBox::FakeTextBox(FakeForm& form, std::string name, ui::Rectangle place) : state{std::move(name), place, {}, {}}, form_(form) {}

void FakeTextBox::SetFocus() { form_.Focus(*this); }

void FakeTextBox::Text(const std::string& text) {
  // The real boxes hold characters: a byte that is none becomes U+FFFD.
  const std::string held = runtime::FromUtf16(runtime::ToUtf16(text));
  text_ = maxLength > 0 ? std::string(runtime::Left(held, static_cast<std::size_t>(maxLength))) : held;
  selectionStart_ = 0;
  selectionLength_ = 0;
}

void FakeTextBox::MaxLength(std::int16_t characters) {
  maxLength = characters;
  Text(text_);
}

void FakeTextBox::Select(std::int16_t start, std::int16_t length) {
  const std::int16_t end = Characters(text_);
  selectionStart_ = std::clamp<std::int16_t>(start, 0, end);
  selectionLength_ = std::clamp<std::int16_t>(length, 0, static_cast<std::int16_t>(end - selectionStart_));
}

void FakeTextBox::Type(std::string_view text) {
  SetFocus();
  if (locked) return;
  const auto before = std::string(runtime::Left(text_, static_cast<std::size_t>(selectionStart_)));
  const auto after = std::string(From(text_, static_cast<std::int16_t>(selectionStart_ + selectionLength_)));
  std::string_view taken = text;
  if (maxLength > 0) {
    const int room = std::max(0, maxLength - Characters(before) - Characters(after));
    taken = runtime::Left(text, static_cast<std::size_t>(room));
  }
  text_ = before + std::string(taken) + after;
  selectionStart_ = static_cast<std::int16_t>(selectionStart_ + Characters(taken));
  selectionLength_ = 0;
}

std::string FakeTextBox::Shown() const { return password ? std::string(runtime::Length(text_), '*') : text_; }

std::string FakeTextBox::Copied() const {
  if (password) return {};
  return std::string(runtime::Left(From(text_, selectionStart_), static_cast<std::size_t>(selectionLength_)));
}

FakeButton::FakeButton(FakeForm& form, std::string name, ui::Rectangle place) : state{std::move(name), place, {}, {}}, form_(form) {}

void FakeButton::SetFocus() { form_.Focus(*this); }

void FakeButton::Click() {
  SetFocus();
  if (onClick) onClick();
}

FakeForm::FakeForm(FakePlatform& platform, std::int16_t width, std::int16_t height)
    : clientWidth(width), clientHeight(height), platform_(platform) {
  platform_.forms_.push_back(this);
}

FakeForm::~FakeForm() { std::erase(platform_.forms_, this); }

ui::TextBox& FakeForm::AddTextBox(const std::string& name, ui::Rectangle place) {
  added.push_back(name);
  return *(textBoxes[name] = std::make_unique<FakeTextBox>(*this, name, place));
}

ui::Button& FakeForm::AddButton(const std::string& name, ui::Rectangle place) {
  added.push_back(name);
  return *(buttons[name] = std::make_unique<FakeButton>(*this, name, place));
}

ui::Label& FakeForm::AddLabel(const std::string& name, ui::Rectangle place) {
  added.push_back(name);
  return *(labels[name] = std::make_unique<FakeLabel>(name, place));
}

void FakeForm::Move(std::int16_t newLeft, std::int16_t newTop) {
  left = newLeft;
  top = newTop;
  moved = true;
}

void FakeForm::Show() {
  if (unloaded || shown) return;
  shown = true;
  ui::Control* first = std::exchange(focused_, nullptr);
  if (first == nullptr && !tabOrder.empty()) first = tabOrder.front();
  if (first != nullptr) Focus(*first);
}

void FakeForm::Unload() {
  if (unloaded) return;
  unloaded = true;
  shown = false;
  if (onUnload) onUnload();
}

void FakeForm::Focus(ui::Control& control) {
  if (unloaded || focused_ == &control) return;
  ui::Control* const loser = std::exchange(focused_, &control);
  if (!shown) return;
  if (auto* box = dynamic_cast<FakeTextBox*>(loser); box != nullptr && box->onLostFocus) box->onLostFocus();
  if (auto* box = dynamic_cast<FakeTextBox*>(&control); box != nullptr && box->onGotFocus) box->onGotFocus();
}

void FakeForm::PressEnter() {
  const auto* button = dynamic_cast<FakeButton*>(focused_);
  for (const auto& [name, candidate] : buttons) {
    if (button == nullptr && candidate->isDefault) button = candidate.get();
  }
  if (button != nullptr && button->onClick) button->onClick();
}

void FakeForm::PressEscape() {
  for (const auto& [name, button] : buttons) {
    if (button->isCancel && button->onClick) return button->onClick();
  }
}

void FakeForm::PressTab() { MoveFocus(1); }

void FakeForm::PressBackTab() { MoveFocus(-1); }

void FakeForm::MoveFocus(std::ptrdiff_t step) {
  if (tabOrder.empty()) return;
  const auto count = static_cast<std::ptrdiff_t>(tabOrder.size());
  const auto now = std::find(tabOrder.begin(), tabOrder.end(), focused_) - tabOrder.begin();
  Focus(*tabOrder[static_cast<std::size_t>(((now % count) + step + count) % count)]);
}

void FakeForm::PressAccelerator(char letter) {
  const std::string marked = "&" + runtime::UpperCase(std::string(1, letter));
  for (const auto& [name, button] : buttons) {
    if (runtime::UpperCase(button->caption).find(marked) != std::string::npos) return button->Click();
  }
}

std::unique_ptr<ui::Form> FakePlatform::CreateForm(std::int16_t clientWidth, std::int16_t clientHeight) {
  return std::make_unique<FakeForm>(*this, clientWidth, clientHeight);
}

std::int16_t FakePlatform::MessageBox(const std::string& text, std::int16_t buttons, const std::string& title) {
  messages.push_back({text, buttons, title});
  if (onMessageBox) onMessageBox(ShownMessage(messages.back()));
  if (answers.empty()) return ui::kOk;
  const std::int16_t answer = answers.front();
  answers.pop_front();
  return answer;
}

void FakePlatform::Run() {
  ++runs;
  if (whileRunning) whileRunning();
}

FakeForm& FakePlatform::Form() const {
  if (forms_.empty()) throw std::out_of_range("no form was made");
  return *forms_.back();
}

std::string FakeStatusBar::PanelText(std::int16_t panel) const {
  const auto found = panels_.find(panel);
  return found == panels_.end() ? std::string() : found->second;
}

}  // namespace tamlo::tests
