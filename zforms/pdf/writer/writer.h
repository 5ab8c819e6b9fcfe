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

// ZPDFWriter is what the full saver and the incremental updater have in common.
// Output is built in memory and handed to its destination in one piece.
class ZFORMS_API ZPDFWriter {
 public:
  using OutStream = ZPDFOutStream;
  using XrefManager = ZPDFXrefManager;

  virtual ~ZPDFWriter();
  // The bytes produced, or held so far.
  virtual Chaine RawData() const = 0;
  // The offset of the cross-reference section written last, or the one given.
  virtual uint32_t XRefOffset() const = 0;
  // Produce the output and send it; false when the stream did not take it all.
  virtual bool Write(ZInetOStream& out) = 0;
  // Produce the output and store it in the file itself: an empty path, a missing
  // folder or a failed write give false, with the reason in Failure().
  virtual bool Write(const Chaine& path) = 0;

  // Why the last Write to a path failed.
  const std::string& Failure() const { return failure_; }

 protected:
  // Sets a number in a trailer that the number itself has to stand in: when a trailer is
  // read, no reference leads anywhere yet. A reference to the same number is replaced.
  static void SetNumber(ZPDFNodeDictionary& trailer, std::string_view key, uint32_t value);
  static bool Send(ZInetOStream& out, const Chaine& bytes);
  bool Store(const Chaine& path, const Chaine& bytes);
  // "startxref", the offset and the end marker, after a trailer.
  static void AppendEnd(Chaine* out, uint32_t xref_offset);

 private:
  std::string failure_;
};

}  // namespace zforms
