#include "bench/inputs.h"

#include <algorithm>

namespace zforms::bench {
namespace {

std::string Text(const char* what, uint32_t field) {
  const std::string number = std::to_string(field);
  switch (field % 12) {
    case 0: return std::string(what) + " (no. " + number + ")";
    case 5: return "Am Mühlenweg " + number + ", café Zoë";
    case 10: return std::string(what) + " " + number + ", as agreed with the member";
    default: return std::string(what) + " " + number;
  }
}

std::string Escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      default: result += c;
    }
  }
  return result;
}

}  // namespace

std::string GroupName(uint32_t group) { return "group" + std::to_string(group); }

std::string PartialName(uint32_t field) { return (IsCheckBox(field) ? "check" : "field") + std::to_string(field); }

std::string OldValue(uint32_t field) { return IsCheckBox(field) ? "Off" : Text("value", field); }

std::string NewValue(uint32_t field) { return IsCheckBox(field) ? "Yes" : Text("new text", field); }

std::vector<std::string> NewValues(uint32_t count) {
  std::vector<std::string> values;
  for (uint32_t field = 0; field < count; field++) values.push_back(NewValue(field));
  return values;
}

std::string XFDFText(uint32_t count) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<xfdf xmlns=\"http://ns.adobe.com/xfdf/\" xml:space=\"preserve\">\n  <fields>\n";
  for (uint32_t first = 0; first < count; first += kFieldsInGroup) {
    text += "    <field name=\"" + GroupName(first / kFieldsInGroup) + "\">\n";
    for (uint32_t field = first; field < std::min(count, first + kFieldsInGroup); field++) {
      text +=
          "      <field name=\"" + PartialName(field) + "\"><value>" + Escaped(NewValue(field)) + "</value></field>\n";
    }
    text += "    </field>\n";
  }
  return text + "  </fields>\n</xfdf>\n";
}

}  // namespace zforms::bench
