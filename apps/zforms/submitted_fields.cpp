#include "apps/zforms/submitted_fields.h"

#include "platform/text.h"
#include "xfdf/xfdf.h"

namespace zforms::tool {

std::vector<std::pair<std::string, std::string>> SubmittedFields(const ZXFDF& xfdf) {
  std::vector<std::pair<std::string, std::string>> fields;
  for (const Chaine& name : xfdf.Fields().FieldNames()) {
    const ZXFDF::Field* const field = xfdf.Fields().Get(name);
    if (field == nullptr || !field->HasValue() || name == ZXFDF::kSessionIDField) continue;
    fields.emplace_back(name.ToString(), WithLineEnds(field->ValuesAsText(), "\n").ToString());
  }
  return fields;
}

}  // namespace zforms::tool
