#pragma once

#include <utility>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// One option of a choice field (ISO 32000-1 12.7.4.4), as PDF text strings: the export value, which becomes the field's
// value, and the display name. An empty display name means that the export value is displayed.
class ZFORMS_API ZAcroFormFieldOption {
 public:
  ZAcroFormFieldOption() = default;
  ZAcroFormFieldOption(Chaine export_value, Chaine display_name)
      : export_value_(std::move(export_value)), display_name_(std::move(display_name)) {}

  const Chaine& ExportValue() const { return export_value_; }
  const Chaine& DisplayName() const { return display_name_; }

 private:
  Chaine export_value_;
  Chaine display_name_;
};

}  // namespace zforms
