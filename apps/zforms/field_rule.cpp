#include "apps/zforms/field_rule.h"

#include <algorithm>

#include "acroform/field.h"
#include "apps/zforms/console.h"

namespace zforms::tool {
namespace {

constexpr uint32_t kEditableFlag = 0x40000;
constexpr size_t kShown = 60;

size_t CharacterCount(const std::string& text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string Quoted(const std::string& text) {
  return "\"" + (text.size() > kShown ? text.substr(0, kShown) + "..." : text) + "\"";
}

}  // namespace

FieldRule::FieldRule(const FieldReport& field)
    : fillable_(field.type != "push" && field.type != "sig"),
      is_button_(field.type == "check" || field.type == "radio") {
  if (field.type == "text") max_length_ = field.max_length;
  ReadChoices(field);
}

void FieldRule::ReadChoices(const FieldReport& field) {
  if (is_button_) {
    choices_.insert({"Off", "false"});
    choices_.insert(field.states.begin(), field.states.end());
    if (field.states.size() == 1) choices_.insert("true");
  }
  for (const auto& [exported, shown] : field.options) choices_.insert(exported);
  const bool editable = field.type == "combo" && (field.flags & kEditableFlag) != 0;
  // A button without appearances, or a list without options, says nothing of its values.
  is_closed_ = is_button_ ? !field.states.empty()
                          : (field.type == "combo" || field.type == "list") && !editable && !field.options.empty();
  takes_several_ = field.type == "list" && (field.flags & ZAcroFormField::kMultiSelectFlag) != 0;
}

std::string FieldRule::FaultOfText(const std::string& text) const {
  if (is_closed_ && !text.empty() && !choices_.contains(text)) {
    return Quoted(text) + (is_button_ ? " is not one of its states" : " is not one of its choices");
  }
  if (max_length_ == 0 || text.size() <= max_length_) return {};
  const size_t count = CharacterCount(text);
  if (count <= max_length_) return {};
  return Quoted(text) + " has " + std::to_string(count) + " characters, and it takes " + std::to_string(max_length_);
}

std::string FieldRule::FaultOf(const Cell& value) const {
  if (!value.more.empty() && !takes_several_) return "it takes one value, not a list";
  if (takes_several_ && value.more.empty() && choices_.contains(value.text)) return {};
  // Several choices may stand as the lines of one text.
  if (takes_several_ && value.more.empty()) {
    for (size_t at = 0; at <= value.text.size();) {
      const size_t end = std::min(value.text.find('\n', at), value.text.size());
      std::string line = value.text.substr(at, end - at);
      if (line.ends_with('\r')) line.pop_back();
      if (std::string fault = FaultOfText(line); !fault.empty()) return fault;
      at = end + 1;
    }
    return {};
  }
  std::string fault = FaultOfText(value.text);
  for (size_t i = 0; i < value.more.size() && fault.empty(); i++) fault = FaultOfText(value.more[i]);
  return fault;
}

}  // namespace zforms::tool
