#include "zforms/pdf/writer/writer.h"

#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/inet_stream.h"

namespace zforms {

ZPDFWriter::~ZPDFWriter() = default;

void ZPDFWriter::SetNumber(ZPDFNodeDictionary& trailer, std::string_view key, uint32_t value) {
  if (NodeCast<ZPDFNodeNumeric>(trailer.GetDirect(key)) != nullptr) {
    trailer.SetValue(key, value);
  } else {
    trailer.SetValue(key, new ZPDFNodeNumeric(value, trailer.ObjectProvider()));
  }
}

bool ZPDFWriter::Send(ZInetOStream& out, const Chaine& bytes) {
  out.SetBuffering(true);
  const bool sent = out.WriteAll(bytes);
  return out.SetBuffering(false) && sent;
}

bool ZPDFWriter::Store(const Chaine& path, const Chaine& bytes) {
  failure_.clear();
  return StoreFile(path, bytes, &failure_);
}

void ZPDFWriter::AppendEnd(Chaine* out, uint32_t xref_offset) {
  *out += "startxref\n";
  *out += FormatUInt(xref_offset);
  *out += "\n%%EOF";
}

}  // namespace zforms
