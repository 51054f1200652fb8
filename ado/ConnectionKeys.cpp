#include "ado/ConnectionKeys.h"

#include <algorithm>

#include "ado/Provider.h"
#include "runtime/Text.h"

namespace tamlo::ado {

ConnectionKeys ParseKeys(std::string_view text) {
  ConnectionKeys keys;
  while (!text.empty()) {
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) break;
    std::string_view before = text.substr(0, equals);
    before.remove_prefix(before.rfind(';') + 1);
    std::string key = runtime::UpperCase(runtime::Trim(before));
    text.remove_prefix(equals + 1);
    while (text.starts_with(' ')) text.remove_prefix(1);
    std::string value;
    const char close = text.starts_with('{') ? '}' : text.starts_with('"') ? '"' : '\0';
    if (close != '\0') {
      std::size_t i = 1;
      for (; i < text.size(); ++i) {
        if (text[i] != close) {
          value.push_back(text[i]);
        } else if (i + 1 < text.size() && text[i + 1] == close) {
          value.push_back(text[i++]);
        } else {
          break;
        }
      }
      text.remove_prefix(std::min(i + 1, text.size()));
      text.remove_prefix(std::min(text.find(';'), text.size()));
    } else {
      const auto end = std::min(text.find(';'), text.size());
      value = runtime::Trim(text.substr(0, end));
      text.remove_prefix(end);
    }
    if (text.starts_with(';')) text.remove_prefix(1);
    keys.emplace_back(std::move(key), std::move(value));
  }
  return keys;
}

std::string ValueOf(const ConnectionKeys& keys, std::initializer_list<std::string_view> names) {
  for (const auto& [key, value] : keys) {
    if (std::find(names.begin(), names.end(), key) != names.end()) return value;
  }
  return {};
}

namespace {

/// A key as the driver manager writes it.
std::string OdbcPair(const std::string& key, const std::string& value) {
  if (key == "PERSIST SECURITY INFO") return {};
  if (key == "EXTENDED PROPERTIES") return value + (value.ends_with(';') ? "" : ";");
  const std::string name = key == "DATA SOURCE" ? "DSN" : key == "INITIAL CATALOG" ? "DATABASE" : key;
  return name + "=" + BracedIfNeeded(value) + ";";
}

std::string PlainPair(const std::string& key, const std::string& value) {
  const bool blanks = value.starts_with(' ') || value.ends_with(' ');
  const bool quoted = blanks || value.find_first_of(";\"") != std::string::npos;
  return key + "=" + (quoted ? Quoted(value) : value) + ";";
}

}  // namespace

void ReadProviderKey(OpenRequest& request) {
  const ConnectionKeys keys = ParseKeys(request.connectionString);
  const std::string provider = ValueOf(keys, {"PROVIDER"});
  if (provider.empty()) return;
  request.provider = provider;
  const bool odbc = runtime::UpperCase(provider).starts_with("MSDASQL");
  std::string rest;
  for (const auto& [key, value] : keys) {
    if (key == "USER ID" || key == "UID") {
      request.userId = value;
    } else if (key == "PASSWORD" || key == "PWD") {
      request.password = value;
    } else if (key != "PROVIDER") {
      rest += odbc ? OdbcPair(key, value) : PlainPair(key, value);
    }
  }
  request.connectionString = std::move(rest);
}

std::string Quoted(std::string_view value) {
  std::string out = "\"";
  for (const char c : value) {
    out.push_back(c);
    if (c == '"') out.push_back(c);
  }
  return out + '"';
}

std::string BracedIfNeeded(std::string_view value) {
  if (value.find_first_of("[]{}(),;?*=!@ ") == std::string_view::npos) return std::string(value);
  std::string out = "{";
  for (const char c : value) {
    out.push_back(c);
    if (c == '}') out.push_back(c);
  }
  return out + "}";
}

}  // namespace tamlo::ado
