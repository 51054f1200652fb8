#include <histedit.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <utility>

#include "base/Case.h"
#include "base/Utf8.h"
#include "cli/History.h"
#include "cli/Interrupts.h"
#include "cli/LineReader.h"

namespace tamlo::cli {
namespace {

/// The editor asks the C library how wide a letter is and how it is written. All texts here are UTF-8, whatever the user's locale.
void SpeakUtf8() {
  std::setlocale(LC_CTYPE, "");
  if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
}

std::size_t WidthOfTerminal() {
  winsize size{};
  return ioctl(STDIN_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/// What all words begin with, but for case, in the letters of the first.
std::string CommonStart(const std::vector<std::string>& words) {
  std::string common = words.front();
  for (const auto& word : words)
    while (!base::SameName(common, base::FirstCharacters(word, base::CountCharacters(common)))) common.resize(common.size() - 1);
  return common.substr(0, base::WholeCharacters(common, common.size()));
}

class EditedLines final : public LineReader {
 public:
  explicit EditedLines(Completer completer) : completer_(std::move(completer)) {
    SpeakUtf8();
    // What is typed does not become part of results that go elsewhere.
    out_ = isatty(STDOUT_FILENO) != 0 ? stdout : stderr;
    editor_ = el_init("tamlo-db", stdin, out_, stderr);
    lines_ = history_init();
    HistEvent event{};
    history(lines_, &event, H_SETSIZE, static_cast<int>(History::kMost));
    history(lines_, &event, H_SETUNIQUE, 1);
    for (const auto& line : kept_.Lines()) history(lines_, &event, H_ENTER, line.c_str());
    if (editor_ != nullptr) Prepare();
  }
  ~EditedLines() override {
    if (editor_ != nullptr) el_end(editor_);
    history_end(lines_);
  }
  EditedLines(const EditedLines&) = delete;
  EditedLines& operator=(const EditedLines&) = delete;

  Got Read(const std::string& prompt, std::string& line) override {
    prompt_ = prompt;
    end_ = Got::kEnd;
    std::fflush(stdout);
    int count = 0;
    // Before the prompt: whoever sees it may type Ctrl-D, which the terminal would take for itself.
    if (editor_ != nullptr) el_set(editor_, EL_PREP_TERM, 1);
    const char* text = editor_ == nullptr ? nullptr : el_gets(editor_, &count);
    if (text == nullptr || count <= 0) {
      if (end_ == Got::kDropped) Interrupts::Forget();
      std::fputs(end_ == Got::kDropped ? "^C\n" : "\n", out_);
      return end_;
    }
    line.assign(text, static_cast<std::size_t>(count));
    if (line.ends_with('\n')) line.pop_back();
    return Got::kLine;
  }
  void Remember(const std::string& line) override {
    if (line.empty() || line.front() == ' ' || MayHoldSecret(line)) return;
    HistEvent event{};
    history(lines_, &event, H_ENTER, line.c_str());
    if (const std::string why = kept_.Add(line); !why.empty()) std::fprintf(stderr, "tamlo-db: %s\n", why.c_str());
  }

 private:
  static EditedLines& Of(EditLine* editor) {
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<EditedLines*>(self);
  }
  static char* Prompt(EditLine* editor) { return Of(editor).prompt_.data(); }
  static int Take(EditLine* editor, wchar_t* sign) { return Of(editor).TakeSign(sign); }
  static unsigned char Tab(EditLine* editor, int /*key*/) { return Of(editor).Complete(); }

  void Prepare() {
    el_set(editor_, EL_CLIENTDATA, this);
    el_set(editor_, EL_PROMPT, Prompt);
    el_set(editor_, EL_SIGNAL, 0);
    el_set(editor_, EL_GETCFN, Take);
    el_set(editor_, EL_EDITOR, "emacs");
    el_set(editor_, EL_HIST, history, lines_);
    el_set(editor_, EL_ADDFN, "tamlo-complete", "Completes names and words", Tab);
    el_set(editor_, EL_BIND, "^I", "tamlo-complete", nullptr);
    el_set(editor_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_set(editor_, EL_BIND, "^W", "ed-delete-prev-word", nullptr);
    el_source(editor_, nullptr);
  }

  /// Waits for a key. 1 for one, 0 or -1 where the line ends otherwise.
  int TakeSign(wchar_t* sign) {
    std::string bytes;
    for (;;) {
      if (Interrupts::Seen()) {
        Drain();
        end_ = Interrupts::Ending() ? Got::kEnd : Got::kDropped;
        return -1;
      }
      std::array<pollfd, 2> waited{{{STDIN_FILENO, POLLIN, 0}, {Interrupts::Wakes(), POLLIN, 0}}};
      if (poll(waited.data(), waited.size(), -1) < 0 && errno != EINTR) return -1;
      if (waited[1].revents != 0) Wake();
      if (waited[0].revents == 0 || Interrupts::Seen()) continue;
      char byte = 0;
      if (read(STDIN_FILENO, &byte, 1) != 1) return 0;
      bytes += byte;
      if (base::BegunCharacter(bytes) != 0) continue;
      std::string_view rest = bytes;
      const char32_t code = base::TakeCharacter(rest);
      bytes.clear();
      if (base::IsStrayByte(code)) continue;
      *sign = static_cast<wchar_t>(code);
      return 1;
    }
  }
  static void Drain() {
    std::array<char, 64> signs{};
    while (read(Interrupts::Wakes(), signs.data(), signs.size()) > 0) {
    }
  }
  /// The terminal has another size, or the program was in the background.
  void Wake() {
    Drain();
    if (Interrupts::Seen()) return;
    el_resize(editor_);
    el_set(editor_, EL_REFRESH);
  }

  unsigned char Complete() {
    const LineInfo* info = el_line(editor_);
    const std::string before(info->buffer, info->cursor);
    const Completion found = completer_(before);
    if (found.literal) return el_insertstr(editor_, "\t") == 0 ? CC_REFRESH : CC_ERROR;
    if (found.words.empty()) return CC_REFRESH_BEEP;
    const std::string typed = before.substr(found.from);
    const bool one = found.words.size() == 1;
    const std::string common = CommonStart(found.words);
    if (!one && base::CountCharacters(common) <= base::CountCharacters(typed)) return List(found.words);
    el_deletestr(editor_, static_cast<int>(base::CountCharacters(typed)));
    return el_insertstr(editor_, (one ? common + ' ' : common).c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  }
  unsigned char List(const std::vector<std::string>& words) {
    constexpr std::size_t kMostRows = 20;
    std::size_t widest = 0;
    for (const auto& word : words) widest = std::max(widest, base::CountCharacters(word) + 2);
    const std::size_t columns = std::max<std::size_t>(1, WidthOfTerminal() / widest);
    std::string text = "\n";
    const std::size_t shown = std::min(words.size(), columns * kMostRows);
    for (std::size_t i = 0; i < shown; ++i) {
      text += words[i];
      const bool last = i + 1 == shown || i % columns == columns - 1;
      text += last ? "\n" : std::string(widest - base::CountCharacters(words[i]), ' ');
    }
    if (shown < words.size()) text += "... " + std::to_string(words.size() - shown) + "\n";
    std::fputs(text.c_str(), out_);
    return CC_REDISPLAY;
  }

  Completer completer_;
  History kept_;
  EditLine* editor_ = nullptr;
  ::History* lines_ = nullptr;
  std::FILE* out_ = nullptr;
  std::string prompt_;
  Got end_ = Got::kEnd;
};

}  // namespace

std::unique_ptr<LineReader> OpenLineReader(LineReader::Completer completer) { return std::make_unique<EditedLines>(std::move(completer)); }

}  // namespace tamlo::cli
