#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/string_node.h"
#include "zforms/platform/files/os_file.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {

void ZXFDF::SetIDS(const Chaine& original, const Chaine& modified) {
  ZXMLElement& root = Root();
  if (original.IsEmpty() && modified.IsEmpty()) {
    RemoveChild("ids");
    return;
  }
  ZXMLElement& ids = root["ids"];
  ids.SetAttrib("original", ZPDFNodeHexaString::Encode(original));
  ids.SetAttrib("modified", ZPDFNodeHexaString::Encode(modified));
}

bool ZXFDF::SetIDSFromLocalPDF(const Chaine& path) {
  ZPDFParser parser;
  if (!parser.Read(path, "")) return false;
  SetIDS(parser.IDOriginal(), parser.IDModified());
  return true;
}

void ZXFDF::SetPDFHRef(const ZInetURL& url) {
  ZXMLElement& root = Root();
  if (url.IsEmpty()) {
    RemoveChild("f");
    return;
  }
  std::string text = url.AsChaine(false, false).ToString();
  if (url.IsLocalFile()) {
    constexpr size_t kAfterProtocol = 5;  // the length of "file:"
    for (size_t i = kAfterProtocol; i < text.size(); i++) {
      if (text[i] == ':') text[i] = '|';
    }
    // Only a regular file can have identifiers, not for example an endless device.
    const Chaine path = url.Path(true);
    if (KindOfFile(path) == OsFileKind::kRegular) SetIDSFromLocalPDF(path);
  }
  root["f"].SetAttrib("href", text);
}

}  // namespace zforms
