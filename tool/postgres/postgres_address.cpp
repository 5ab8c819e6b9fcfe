#include "tool/postgres/postgres_address.h"

#include <algorithm>

namespace zforms::tool {
namespace {

constexpr std::string_view kScheme = "://";
constexpr std::string_view kHidden = "***";

}  // namespace

bool IsPostgresAddress(std::string_view address) {
  return address.starts_with("postgresql://") || address.starts_with("postgres://");
}

std::string WithoutPasswords(std::string_view address) {
  const size_t start = address.find(kScheme) + kScheme.size();
  std::string shown(address.substr(0, start));
  std::string_view rest = address.substr(start);
  // Takes the last "@" as the end of the password, so that no part of a password with "@" is shown.
  if (const size_t at = rest.rfind('@'); at != std::string_view::npos) {
    const std::string_view user = rest.substr(0, at);
    const size_t colon = user.find(':');
    shown += user.substr(0, colon);
    if (colon != std::string_view::npos) shown.append(":").append(kHidden);
    rest.remove_prefix(at);
  }
  const size_t question = rest.find('?');
  shown += rest.substr(0, question);
  if (question == std::string_view::npos) return shown;
  rest.remove_prefix(question);
  while (!rest.empty()) {
    const size_t end = std::min(rest.find('&', 1), rest.size());
    const std::string_view parameter = rest.substr(0, end);
    const size_t equals = parameter.find('=');
    const bool is_secret = parameter.substr(0, equals).ends_with("password");
    shown += is_secret ? parameter.substr(0, equals) : parameter;
    if (is_secret) shown.append("=").append(kHidden);
    rest.remove_prefix(end);
  }
  return shown;
}

bool IsUnambiguous(std::string_view address) {
  std::string_view rest = address.substr(address.find(kScheme) + kScheme.size());
  const size_t at = rest.find('@');
  if (at == std::string_view::npos) return true;
  return rest.find('@', at + 1) == std::string_view::npos &&
         rest.substr(0, at).find_first_of("/?#") == std::string_view::npos;
}

}  // namespace zforms::tool
