#include "zforms/acroform/form_field.h"

namespace zforms {
namespace {

struct FlagName {
  uint32_t mask;
  std::string_view kinds;  // the kinds of field in which the bit has this meaning; empty for all
  std::string_view word;
};

// ISO 32000-1 tables 221, 226, 228 and 230.
constexpr FlagName kFlagNames[] = {
    {0x1, "", "read-only"},
    {0x2, "", "required"},
    {0x4, "", "no-export"},
    {0x1000, "text", "multi-line"},
    {0x2000, "text", "password"},
    {0x100000, "text", "file"},
    {0x1000000, "text", "comb"},
    {0x2000000, "text", "rich"},
    {0x4000, "radio", "no-toggle-to-off"},
    {0x2000000, "radio", "in-unison"},
    {0x40000, "combo", "editable"},
    {0x80000, "combo list", "sorted"},
    {0x200000, "list", "multi-select"},
};

}  // namespace

uint32_t ZFormField::Page() const {
  for (const Widget& widget : widgets) {
    if (widget.page != 0) return widget.page;
  }
  return 0;
}

std::string_view KindName(ZFormField::Kind kind) {
  switch (kind) {
    case ZFormField::Kind::kText: return "text";
    case ZFormField::Kind::kCheckBox: return "check";
    case ZFormField::Kind::kRadioButton: return "radio";
    case ZFormField::Kind::kPushButton: return "push";
    case ZFormField::Kind::kComboBox: return "combo";
    case ZFormField::Kind::kListBox: return "list";
    case ZFormField::Kind::kSignature: return "sig";
    case ZFormField::Kind::kNone: break;
  }
  return "none";
}

std::string FlagWords(const ZFormField& field) {
  const std::string_view kind = KindName(field.kind);
  std::string words;
  for (const FlagName& flag : kFlagNames) {
    if ((field.flags & flag.mask) == 0) continue;
    if (!flag.kinds.empty() && flag.kinds.find(kind) == std::string_view::npos) continue;
    if (!words.empty()) words += ", ";
    words += flag.word;
  }
  return words;
}

}  // namespace zforms
