#include "pdf/writer/writer.h"

#include "platform/file_io.h"
#include "platform/inet_stream.h"
#include "platform/number.h"

namespace zforms {

ZPDFWriter::~ZPDFWriter() = default;

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
