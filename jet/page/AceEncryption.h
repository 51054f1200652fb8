#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "jet/page/Header.h"
#include "jet/page/PageCodec.h"

namespace jet {

/// How the pages of an encrypted .accdb lie in it. The password (UTF-8) is tried against what page 0 says of it. Errors, naming
/// the path: kPasswordProtected for none, kWrongPassword, kUnsupported for a scheme that is not known or a build without cryptography, kDamaged for a
/// record that does not read.
[[nodiscard]] std::unique_ptr<PageCodec> UnlockAce(const FileHeader& header, std::string_view password, const std::string& path);

}  // namespace jet
