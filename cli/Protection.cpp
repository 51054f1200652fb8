#include "cli/Protection.h"

#include <CLI/App.hpp>
#include <CLI/Option.hpp>

#include "cli/Failure.h"
#include "cli/Messages.h"
#include "cli/System.h"

namespace tamlo::cli {

void NewPassword::AddTo(CLI::App& command) {
  auto* set = command.add_option("--set-password-file", file, Say(Said::kSetPasswordFile));
  command.add_flag("--remove-password", remove, Say(Said::kRemovePassword))->excludes(set);
}

Secret NewPassword::Get(const schema::Address& address) const {
  if (remove) return {};
  Secret wanted;
  if (!file.empty()) {
    wanted.text = FirstLine(file);
  } else {
    auto typed = AskSilently(Say(Said::kNewPasswordOf, {address.shown}) + ' ');
    if (!typed) throw Failure(Status::kUsage, Say(Said::kNoNewPassword));
    wanted.text.swap(*typed);
    const Secret again(AskSilently(Say(Said::kNewPasswordAgain) + ' ').value_or(std::string()));
    if (again.text != wanted.text) throw Failure(Status::kUsage, Say(Said::kPasswordsDiffer));
  }
  if (wanted.text.empty()) throw Failure(Status::kUsage, Say(Said::kNoNewPassword));
  return wanted;
}

void NewProtection::AddTo(CLI::App& command) {
  password.AddTo(command);
  auto* encoding = command.add_flag("--encode", encode, Say(Said::kEncode));
  command.add_flag("--decode", decode, Say(Said::kDecode))->excludes(encoding);
}

jet::Protection NewProtection::Get(const schema::Address& address) const {
  jet::Protection protection;
  if (password.Told()) protection.password = password.Get(address).text;
  if (encode || decode) protection.encoded = encode;
  return protection;
}

}  // namespace tamlo::cli
