#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tamlo::ado {

struct OpenRequest;

/// Key and value, in the order of the connection string.
using ConnectionKeys = std::vector<std::pair<std::string, std::string>>;

/// The keys of an ODBC connection string ("KEY=value;KEY={va;lue}"), upper-cased, with the braces or double quotes of their values taken off.
/// What has no "=" behind it is left out.
[[nodiscard]] ConnectionKeys ParseKeys(std::string_view text);
/// The value of the first key that is one of these, in upper case; blank when none is there.
[[nodiscard]] std::string ValueOf(const ConnectionKeys& keys, std::initializer_list<std::string_view> names);
/// A value as it stands in a connection string: between braces when it needs them.
[[nodiscard]] std::string BracedIfNeeded(std::string_view value);

/// A value between double quotes, its own doubled: as the providers' own strings take any.
[[nodiscard]] std::string Quoted(std::string_view value);

/// Where the request's connection string has a key "Provider": takes the provider's name and the login out of it, and leaves what the
/// provider's own strings hold. See Connection::Open.
void ReadProviderKey(OpenRequest& request);

}  // namespace tamlo::ado
