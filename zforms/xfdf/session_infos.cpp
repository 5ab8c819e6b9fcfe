#include "zforms/xfdf/session_infos.h"

#include <algorithm>
#include <utility>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/data/folder_key.h"
#include "zforms/platform/files/inet_stream.h"
#include "zforms/platform/xml/xml.h"
#include "zforms/xfdf/field.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

constexpr std::string_view kRoot = "Params";
constexpr std::string_view kParam = "Param";
constexpr char kSoftware[] = "Software.Shortname";
constexpr char kFolderID[] = "Folder.ID";
constexpr char kFolderExercice[] = "Folder.Exercice";
constexpr char kTransactionID[] = "Transaction.ID";
constexpr char kTransactionCount[] = "Transaction.Count";

// The first parameter of the name; null when there is none.
ZXMLElement* FindParam(ZXMLReader& params, std::string_view name) {
  ZXMLElement* child = params.Data() == nullptr ? nullptr : params.Data()->FirstChild();
  for (; child != nullptr; child = child->NextSibling()) {
    if (child->Name() == kParam && SameIgnoringASCIICase(child->Attrib("name").AsChaine(), name)) return child;
  }
  return nullptr;
}

void AddParam(ZXMLElement& root, const ZVariant& name, const ZVariant& value) {
  ZXMLElement& param = root.Add(kParam);
  param.SetAttrib("name", name);
  param.Value() = value;
}

// A copy of the list with only its parameters, so that every line feed in its text is part of a value.
ZXMLReader OnlyParams(const ZXMLElement& from) {
  ZXMLReader params;
  ZXMLElement& root = params.Create(kRoot);
  for (const ZXMLElement* child = from.FirstChild(); child != nullptr; child = child->NextSibling()) {
    if (child->Name() == kParam) AddParam(root, child->Attrib("name"), child->Value());
  }
  return params;
}

// Writes the list in one line, with line ends as character references: the value of the field that stores it may be a
// single line, and its line ends may be converted.
Chaine InOneLine(const ZXMLReader& params) {
  Chaine text;
  ZInetChaineOStream target(text);
  ZXMLOptimizeFOStream out(&target);
  params.Write(&out, false);
  constexpr std::string_view kEnd = "?>\n";
  const size_t content = text.View().find(kEnd) + kEnd.size();
  Chaine line = text.Mid(0, content - 1);
  for (std::string_view rest = text.View().substr(content); !rest.empty();) {
    const size_t end = std::min(rest.find('\n'), rest.size());
    line += rest.substr(0, end);
    if (end < rest.size()) line += "&#10;";
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return line;
}

}  // namespace

ZXFDFSessionInfos::ZXFDFSessionInfos(ZXFDFFieldCollection& fields) : fields_(fields) {
  fields_.AddField(ZXFDF::kSessionIDField);
}

ZXFDFSessionInfos::~ZXFDFSessionInfos() = default;

// Reads the list from the field. Its text was converted to UTF-8 before, so an encoding in its XML declaration is
// ignored.
void ZXFDFSessionInfos::InitXML(ZXMLReader* params) const {
  const ZXFDFField* field = std::as_const(fields_).Get(ZXFDF::kSessionIDField);
  if (field == nullptr) return;
  const Chaine text = field->Value().AsChaine();
  params->Read(Chaine(TrimBlanks(text)), ZInetEncodedBuffer::eUTF8);
}

Chaine ZXFDFSessionInfos::Param(const Chaine& name) const {
  ZXMLReader params;
  InitXML(&params);
  const ZXMLElement* param = FindParam(params, name);
  return param == nullptr ? Chaine() : param->Value().AsChaine();
}

bool ZXFDFSessionInfos::HasParam(const Chaine& name) const {
  ZXMLReader params;
  InitXML(&params);
  return FindParam(params, name) != nullptr;
}

void ZXFDFSessionInfos::SetParam(const Chaine& name, const Chaine& value) {
  ZXMLReader read;
  InitXML(&read);
  if (read.Data() == nullptr) read.Create(kRoot);
  ZXMLReader params = OnlyParams(*read.Data());
  if (ZXMLElement* param = FindParam(params, name)) {
    param->Value() = value;
  } else {
    AddParam(*params.Data(), name, value);
  }
  fields_.AddField(ZXFDF::kSessionIDField) = ZVariant(InOneLine(params));
}

Chaine ZXFDFSessionInfos::Software() const { return Param(kSoftware); }

void ZXFDFSessionInfos::SetSoftware(const Chaine& name) { SetParam(kSoftware, name); }

ZXFDFFolderInfos ZXFDFSessionInfos::Folder() const {
  return {CZORKey(Param(kFolderID)).Value(), ParseUInt(Param(kFolderExercice))};
}

void ZXFDFSessionInfos::SetFolder(uint64_t id, uint32_t exercice) {
  SetParam(kFolderID, CZORKey(id).AsChaine());
  SetParam(kFolderExercice, FormatUInt(exercice));
}

ZXFDFTransactionInfos ZXFDFSessionInfos::Transaction() const {
  return {ParseUInt64(Param(kTransactionID)), ParseUInt(Param(kTransactionCount))};
}

uint64_t ZXFDFSessionInfos::SetTransactionID(uint64_t id, const ZClock& clock) {
  if (id == 0) id = std::max<uint64_t>(clock.Ticks(), 1);
  SetParam(kTransactionID, FormatUInt(id));
  SetParam(kTransactionCount, "0");
  return id;
}

uint32_t ZXFDFSessionInfos::IncTransactionCount() {
  const uint32_t former = Transaction().count;
  const uint32_t count = former == UINT32_MAX ? former : former + 1;
  SetParam(kTransactionCount, FormatUInt(count));
  return count;
}

}  // namespace zforms
