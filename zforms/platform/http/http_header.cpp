#include "zforms/platform/http/http_header.h"

#include <algorithm>

#include "zforms/platform/base/ascii.h"

namespace zforms {

bool ZHTTPHeader::IsToken(std::string_view text) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
    return IsDigitASCII(c) || IsLetterASCII(c) || kMarks.find(c) != std::string_view::npos;
  });
}

bool ZHTTPHeader::IsFieldValue(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return IsControlASCII(c) && c != '\t'; });
}

bool ZHTTPHeader::Add(const Chaine& name, const Chaine& value) {
  if (!IsToken(name) || !IsFieldValue(value)) return false;
  fields_.push_back({name, value});
  return true;
}

bool ZHTTPHeader::Set(const Chaine& name, const Chaine& value) {
  if (!IsToken(name) || !IsFieldValue(value)) return false;
  Remove(name);
  fields_.push_back({name, value});
  return true;
}

void ZHTTPHeader::Remove(std::string_view name) {
  std::erase_if(fields_, [&](const Field& field) { return SameIgnoringASCIICase(field.name, name); });
}

size_t ZHTTPHeader::CountOf(std::string_view name) const {
  return static_cast<size_t>(std::count_if(
      fields_.begin(), fields_.end(), [&](const Field& field) { return SameIgnoringASCIICase(field.name, name); }));
}

Chaine ZHTTPHeader::Get(std::string_view name) const {
  const Field* field = Find(name);
  return field == nullptr ? Chaine() : field->value;
}

const ZHTTPHeader::Field* ZHTTPHeader::Find(std::string_view name) const {
  const auto found = std::find_if(fields_.begin(), fields_.end(),
                                  [&](const Field& field) { return SameIgnoringASCIICase(field.name, name); });
  return found == fields_.end() ? nullptr : &*found;
}

}  // namespace zforms
