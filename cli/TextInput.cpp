#include "cli/TextInput.h"

#include <algorithm>
#include <filesystem>

#include "base/Utf16.h"
#include "base/Utf8.h"
#include "cli/Failure.h"
#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

constexpr std::size_t kPiece = 65536;

}  // namespace

TextInput::TextInput(const std::string& path, const std::string& encoding)
    : path_(path), encoding_(encoding), file_(std::filesystem::path(reinterpret_cast<const char8_t*>(path.c_str())), std::ios::binary) {
  const auto known = EncodingNamed(encoding);
  if (!known) throw Failure(Status::kUsage, Say(Said::kUnknownEncoding, {encoding}));
  form_ = known->form;
  codePage_ = known->codePage;
  std::string first(1, '\0');
  if (!file_ || (!file_.read(first.data(), 1) && !file_.eof())) throw Failure(Status::kUsage, Say(Said::kCannotRead, {path}));
  if (file_.gcount() == 1) raw_ = first;
  file_.clear();
  Fill();
  if (text_.starts_with("\xEF\xBB\xBF")) at_ = 3;
}

void TextInput::Fill() {
  text_.clear();
  at_ = 0;
  while (text_.empty()) {
    const std::size_t kept = raw_.size();
    raw_.resize(kept + kPiece);
    file_.read(raw_.data() + kept, kPiece);
    const auto got = static_cast<std::size_t>(file_.gcount());
    raw_.resize(kept + got);
    if (file_.bad()) throw Failure(Status::kFailed, Say(Said::kCannotRead, {path_}));
    if (raw_.empty()) return;
    Decode(got == 0);
  }
}

void TextInput::Decode(bool atEnd) {
  if (form_ == Form::kUtf8) return DecodeUtf8(atEnd);
  if (form_ == Form::kUtf16 || form_ == Form::kUtf16Little || form_ == Form::kUtf16Big) return DecodeUtf16(atEnd);
  if (form_ == Form::kLatin1) {
    for (const char c : raw_) base::AppendCharacter(text_, static_cast<unsigned char>(c));
  } else {
    DecodeAnsi();
  }
  raw_.clear();
}

void TextInput::DecodeAnsi() {
  for (const char c : raw_) {
    const auto character = CharacterOf(codePage_, static_cast<std::uint8_t>(c));
    if (!character) Refuse();
    base::AppendCharacter(text_, *character);
  }
}

void TextInput::DecodeUtf8(bool atEnd) {
  const std::size_t begun = atEnd ? 0 : base::BegunCharacter(raw_);
  std::string_view rest(raw_.data(), raw_.size() - begun);
  while (!rest.empty()) {
    const std::size_t plain = base::AsciiRun(rest);
    text_.append(rest.substr(0, plain));
    rest.remove_prefix(plain);
    if (rest.empty()) break;
    const char32_t c = base::TakeCharacter(rest, base::Halves::kKept);
    if (base::IsStrayByte(c)) Refuse();
    base::AppendCharacter(text_, c);
  }
  raw_.erase(0, raw_.size() - begun);
}

void TextInput::DecodeUtf16(bool atEnd) {
  // The mark tells which end comes first, once.
  if (first_ && raw_.size() >= 2 && raw_[0] == '\xFE' && raw_[1] == '\xFF') form_ = Form::kUtf16Big;
  first_ = raw_.size() < 2 && first_;
  const std::size_t low = form_ == Form::kUtf16Big ? 1 : 0;
  const auto unit = [&](std::size_t i) {
    return static_cast<char32_t>(static_cast<unsigned char>(raw_[2 * i + low]) | static_cast<unsigned char>(raw_[2 * i + 1 - low]) << 8U);
  };
  std::size_t count = raw_.size() / 2;
  if (!atEnd && count > 0 && base::IsFirstHalf(unit(count - 1))) --count;
  for (std::size_t i = 0; i < count;) base::AppendCharacter(text_, base::TakeUtf16(unit, count, i));
  raw_.erase(0, 2 * count);
  if (atEnd && !raw_.empty()) Refuse();
}

void TextInput::Refuse() const {
  const auto line = line_ + std::count(text_.begin(), text_.end(), '\n');
  throw Failure(Status::kFailed, Say(Said::kNotOfEncoding, {path_, std::to_string(line), encoding_}));
}

}  // namespace tamlo::cli
