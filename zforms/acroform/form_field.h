#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/platform/base/export.h"

namespace zforms {

// One field of a form that has no named kids, as plain values. Texts are UTF-8. Kind, flags, values and the maximum
// length are inherited as in viewers. A copy: it does not follow later changes of the form.
struct ZFORMS_API ZFormField {
  enum class Kind : uint8_t {
    kText,
    kCheckBox,
    kRadioButton,  // all buttons of one group
    kPushButton,
    kComboBox,
    kListBox,
    kSignature,
    kNone,  // the field has no type
  };

  // One option of a choice field, from "/Opt".
  struct Option {
    std::string value;  // the value of the field when the option is chosen
    std::string text;   // the text that viewers show; empty when they show the value
  };

  // Where a page shows the field: "/Rect" in points, from the lower left corner of the page's own coordinates.
  struct Widget {
    uint32_t page = 0;  // from 1; 0 when no page lists the widget
    double left = 0;
    double bottom = 0;
    double right = 0;
    double top = 0;
  };

  std::string name;  // the full name, parts joined by "."
  Kind kind = Kind::kNone;
  uint32_t flags = 0;                 // "/Ff", ISO 32000-1 tables 221, 226, 228 and 230
  std::vector<std::string> values;    // "/V": empty when absent; several only in an array
  std::vector<std::string> defaults;  // "/DV"
  bool value_is_array = false;
  bool default_is_array = false;
  std::vector<Option> options;
  std::vector<std::string> states;  // the states of a button in all its widgets, without "Off"
  std::vector<Widget> widgets;
  std::string label;           // "/TU", the name of the field for users
  uint32_t max_length = 0;     // in characters; 0 for any
  uint32_t object_number = 0;  // 0 for a field inside another object
  uint32_t generation = 0;
  bool is_listed = true;  // false when only a page shows the field and the form does not list it

  // The first value; empty without one.
  std::string Value() const { return values.empty() ? std::string() : values.front(); }
  // The first page that shows the field; 0 when none does.
  uint32_t Page() const;
  bool IsReadOnly() const { return (flags & 1) != 0; }
  bool IsRequired() const { return (flags & 2) != 0; }

  // True when the field has a name and can have a value: push buttons and signatures cannot.
  bool HasData() const { return !name.empty() && kind != Kind::kPushButton && kind != Kind::kSignature; }
  // True when the flag NoExport is set: the field is not to be sent (ISO 32000-1 table 221).
  bool IsNoExport() const { return (flags & 4) != 0; }
  // True when a viewer that submits the form sends the field, with or without a value.
  bool IsExported() const { return HasData() && !IsNoExport(); }
};

// "text", "check", "radio", "push", "combo", "list", "sig" or "none".
ZFORMS_API std::string_view KindName(ZFormField::Kind kind);

// The flags in words, such as "read-only, required".
ZFORMS_API std::string FlagWords(const ZFormField& field);

}  // namespace zforms
