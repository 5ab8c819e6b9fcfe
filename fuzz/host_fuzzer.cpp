#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "zforms/platform/data/field_set.h"
#include "zforms/platform/data/ini_file.h"
#include "zforms/platform/text/text.h"
#include "zforms/xfdf/mapping/mapper.h"
#include "zforms/xfdf/xfdf.h"

using zforms::Chaine;
using zforms::ZXFDF;

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

// Reads the text as an INI file. Takes each section as a map of lines "name=value", and applies the map to an XFDF
// document twice. Checks that each line is found and sets a field, and that the second time changes nothing.
void TakeAsMaps(const Chaine& text) {
  zforms::ZIniFile file;
  file.FromChaine(text);
  const zforms::ZFieldSet fields;
  for (const Chaine& name : file.SectionNames()) {
    Require(file.SectionExist(name));
    const zforms::ZIniFileSection section = file.Section(name);
    zforms::ZXFDFMapper mapper;
    mapper.AddRubric("a", &fields);
    for (size_t i = 0; i < section.GetNamedLinesNB(); i++) {
      Require(section.HasNamedLine(section.GetLineName(i)));
      mapper.DeclareMap(section.GetLineName(i), section.NamedLine(section.GetLineName(i)));
    }
    Require(mapper.Maps().Size() == section.GetNamedLinesNB());
    ZXFDF xfdf;
    mapper.SyncFieldListOf(xfdf);
    for (const auto& [field, reference] : mapper.Maps()) Require(xfdf.Fields().Exist(field));
    const Chaine once = xfdf.AsChaine();
    mapper.SyncFieldListOf(xfdf);
    Require(xfdf.AsChaine() == once);
  }
}

// True unless it is a control character that XML does not allow.
bool IsPlain(char c) { return static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n' || c == '\r'; }

// Checks that a parameter of the session that was set can be read back, also after the document was written and read
// again, whatever the session field contained before.
void TakeAsSession(const Chaine& text) {
  const bool plain = std::all_of(text.begin(), text.end(), IsPlain) && zforms::IsValidUTF8(text);
  ZXFDF xfdf;
  xfdf.Fields()[ZXFDF::kSessionIDField] = zforms::ZVariant(text);
  xfdf.SessionID().Transaction();
  xfdf.SessionID().SetParam("k", plain ? text : Chaine("v"));
  for (int round = 0; round < 2; round++) {
    Require(xfdf.SessionID().Param("K") == (plain ? text : Chaine("v")));
    const Chaine written = xfdf.AsChaine();
    xfdf.FromChaine(written);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Chaine text(reinterpret_cast<const char*>(data), size);
  TakeAsMaps(text);
  TakeAsSession(text);
  return 0;
}
