#include "tool/office/submitted_fields.h"

#include "zforms/platform/text/text.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms::tool {

std::vector<std::pair<std::string, std::string>> SubmittedFields(const ZXFDF& xfdf) {
  std::vector<std::pair<std::string, std::string>> fields;
  xfdf.Fields().VisitValues([&fields](std::string_view name, const ZXFDF::Field& field) {
    if (name == ZXFDF::kSessionIDField) return true;
    fields.emplace_back(name, WithLineEnds(field.ValuesAsText(), "\n").ToString());
    return true;
  });
  return fields;
}

}  // namespace zforms::tool
