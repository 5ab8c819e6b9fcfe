#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/writer/xref_manager.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZInetOStream;
class ZPDFNodeDictionary;

// ZPDFWriter is the base class of the full saver and the incremental updater. It builds the whole output in
// memory before it writes the first byte to the destination.
class ZFORMS_API ZPDFWriter {
 public:
  using OutStream = ZPDFOutStream;
  using XrefManager = ZPDFXrefManager;

  virtual ~ZPDFWriter();
  // The bytes produced so far, or the original bytes.
  virtual Chaine RawData() const = 0;
  // The offset of the cross-reference section that was written last; before that, the offset that the writer was given.
  virtual uint32_t XRefOffset() const = 0;
  // Produces the output and writes it; false when the stream did not accept all of it.
  virtual bool Write(ZInetOStream& out) = 0;
  // Produces the output and overwrites the file in place: an empty path, a missing folder or a failed write give false,
  // with the reason in Failure().
  virtual bool Write(const Chaine& path) = 0;

  // Why the last Write to a path failed.
  const std::string& Failure() const { return failure_; }

 protected:
  // Sets a number in a trailer as a direct object, because references cannot be resolved while a trailer is read. A
  // reference to the same number is replaced too.
  static void SetNumber(ZPDFNodeDictionary& trailer, std::string_view key, uint32_t value);
  static bool Send(ZInetOStream& out, const Chaine& bytes);
  bool Store(const Chaine& path, const Chaine& bytes);
  // Appends "startxref", the offset and the end marker.
  static void AppendEnd(Chaine* out, uint32_t xref_offset);

 private:
  std::string failure_;
};

}  // namespace zforms
