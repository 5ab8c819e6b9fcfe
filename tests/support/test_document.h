#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "tests/support/dump.h"
#include "tests/support/process.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/files/file_io.h"

namespace zforms {

// The text of a node, unencrypted, without line ends; "none" for no node.
inline std::string TextOf(const ZPDFNode* node) {
  if (node == nullptr) return "none";
  std::string text = Written(*node);
  text.erase(std::remove(text.begin(), text.end(), '\n'), text.end());
  return text;
}

// The value of an object; "none" when there is no such object, "" when it is empty.
inline std::string ValueOf(ZPDFParser& parser, uint32_t number, uint32_t generation = 0) {
  const ZPDFNodeIndirectObject* object = parser.GetObject({number, generation});
  return object != nullptr && object->Size() == 0 ? "" : TextOf(object == nullptr ? nullptr : object->GetDirectAt(0));
}

// The contents of the document: each object in use with its value, and the trailer.
inline std::string ContentOf(ZPDFParser& parser) {
  std::string content;
  for (const ZPDFObjectLocation& location : parser.ObjectLocations()) {
    if (!location.in_use) continue;
    const ZPDFNodeIndirectObject* object = parser.GetObject(location.id);
    content += std::to_string(location.id.Number()) + "." + std::to_string(location.id.Generation()) + " ";
    content += (object == nullptr ? "none" : Dump(object->GetDirectAt(0))) + "\n";
  }
  return content;
}

inline std::string WarningsOf(const ZPDFParser& parser) {
  std::string all;
  for (const ZDiagnosticsWarning& warning : parser.Diagnostics().Warnings()) {
    all += ZDiagnostics::Describe(warning).ToString() + "\n";
  }
  return all;
}

// The output of qpdf for these bytes, with options such as "--check".
inline CommandResult RunQpdf(const std::string& options, const Chaine& bytes, const std::string& path) {
  if (!StoreFile(path, bytes)) return {-1, "cannot write " + path};
  return RunCommand("qpdf " + options + " " + path);
}
inline bool HasQpdf() { return RunCommand("qpdf --version").status == 0; }

}  // namespace zforms
