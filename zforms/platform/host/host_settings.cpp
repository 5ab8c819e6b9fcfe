#include "zforms/platform/host/host_settings.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "zforms/platform/base/ascii.h"

namespace zforms {

namespace {

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(),
                     [text](std::string_view word) { return SameIgnoringASCIICase(text, word); });
}

}  // namespace

ZHostSettings::~ZHostSettings() = default;

bool ZHostSettings::Bool(const Chaine& section, const Chaine& name, bool fallback) const {
  Chaine value;
  if (!Read(section, name, &value)) return fallback;
  if (IsOneOf(value, {"1", "true", "yes", "on"})) return true;
  return IsOneOf(value, {"0", "false", "no", "off"}) ? false : fallback;
}

Chaine ZHostSettings::Text(const Chaine& section, const Chaine& name, const Chaine& fallback) const {
  Chaine value;
  return Read(section, name, &value) ? value : fallback;
}

ZIniSettings::~ZIniSettings() = default;

bool ZIniSettings::Read(const Chaine& section, const Chaine& name, Chaine* value) const {
  const ZIniFileSection lines = file_.Section(section);
  if (!lines.HasNamedLine(name)) return false;
  *value = lines.NamedLine(name);
  return true;
}

}  // namespace zforms
