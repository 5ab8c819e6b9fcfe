#include "tool/forms/file_check.h"

#include <string>
#include <vector>

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/parser.h"

namespace zforms::tool {

size_t LoadAll(ZPDFParser& parser) {
  size_t loaded = 0;
  std::vector<ZPDFObjectIdentifier> in_use;
  for (const ZPDFObjectLocation& location : parser.ObjectLocations()) {
    if (location.in_use) in_use.push_back(location.id);
  }
  for (const ZPDFObjectIdentifier& id : in_use) loaded += parser.GetObject(id) != nullptr ? 1 : 0;
  return loaded;
}

bool CheckFile(ZAcroForm& form, Console& console) {
  ZPDFParser& parser = *form.Parser();
  LoadAll(parser);
  const uint32_t size = parser.TrailerDico()->GetUIntValue("/Size");
  if (size != parser.ObjectLocations().HighestNumber() + 1) {
    console.Warn("\"/Size\" of the trailer is " + std::to_string(size) + "; it should be " +
                 std::to_string(parser.ObjectLocations().HighestNumber() + 1) + ", the highest object number plus 1");
  }
  if (const size_t count = parser.UnlistedAtEnd(); count > 0) {
    console.Warn(std::to_string(count) +
                 (count == 1 ? " object follows the last \"startxref\" and is"
                             : " objects follow the last \"startxref\" and are") +
                 " in no cross-reference section: the newest version of the file may be cut short; --recover reads " +
                 (count == 1 ? "it" : "them"));
  }
  const ZPDFNodeDictionary* const acro_form = parser.AcroForm();
  if (acro_form != nullptr && !acro_form->Exist("/Fields"))
    console.Warn("the form has no list of fields (\"/Fields\")");
  // Building the fields reports their faults.
  form.Fields();
  if (parser.IDOriginal().IsEmpty()) console.Warn("the trailer has no file identifier (\"/ID\")");
  return form.WouldLose();
}

}  // namespace zforms::tool
