#pragma once

#include <string>
#include <string_view>

namespace zforms {

inline std::string Replaced(std::string text, std::string_view what, std::string_view by) {
  for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
    text.replace(at, what.size(), by);
  return text;
}

inline std::string Repeated(std::string_view text, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; i++) result += text;
  return result;
}

// A field of an XFDF document, and one with a value.
inline std::string XFDFField(const std::string& name, const std::string& content) {
  return "<field name=\"" + name + "\">" + content + "</field>";
}
inline std::string Valued(const std::string& name, const std::string& value) {
  return XFDFField(name, "<value>" + value + "</value>");
}

}  // namespace zforms
