#pragma once

#include <sys/wait.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tests/support/dump.h"
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

struct CommandResult {
  int status;  // the exit status, -1 when the command could not be run
  std::string output;
};

inline CommandResult RunCommand(const std::string& command) {
  CommandResult result{-1, ""};
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[4096];
  for (size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.output.append(buffer, got);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  return result;
}

// The output of qpdf for these bytes, with options such as "--check".
inline CommandResult RunQpdf(const std::string& options, const Chaine& bytes, const std::string& path) {
  if (!StoreFile(path, bytes)) return {-1, "cannot write " + path};
  return RunCommand("qpdf " + options + " " + path);
}
inline bool HasQpdf() { return RunCommand("qpdf --version").status == 0; }

}  // namespace zforms
