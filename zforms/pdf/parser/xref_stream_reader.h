#pragma once

#include <array>
#include <memory>
#include <string_view>

#include "zforms/pdf/parser/locations.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class IPDFObjectProvider;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;

// Reads one cross-reference stream (ISO 32000-1 7.5.8): an object whose dictionary is the trailer and whose data are
// the records. It is never encrypted. Used by one thread at a time.
class ZPDFXrefStreamReader {
 public:
  // `file` is the whole file, `limit` the most bytes of the decoded records.
  ZPDFXrefStreamReader(const ZPDFTokenizedString& file, size_t limit) : file_(file), limit_(limit) {}

  // True when an indirect object begins at `offset`; a cross-reference table would begin with "xref".
  static bool StandsAt(const ZPDFTokenizedString& file, size_t offset);

  // Adds the stream's records to `locations` and returns its trailer without the entries about the stream itself. Null
  // when there is no such stream at `offset`, with the reason in Reason().
  std::unique_ptr<ZPDFNodeDictionary> Read(size_t offset, IPDFObjectProvider* provider, ZPDFLocations& locations);
  // Reads only the trailer, not the records.
  std::unique_ptr<ZPDFNodeDictionary> ReadTrailer(size_t offset, IPDFObjectProvider* provider);
  const Chaine& Reason() const { return reason_; }
  // The number of bytes of the file that the last Read examined, and the number of decoded bytes.
  size_t Scanned() const { return scanned_; }
  size_t Decoded() const { return decoded_; }

 private:
  std::unique_ptr<ZPDFNodeIndirectObject> ReadStream(size_t offset);
  bool ReadRecords(const ZPDFNodeDictionary& dictionary, std::string_view data, ZPDFLocations& locations);
  bool ReadWidths(const ZPDFNodeDictionary& dictionary);
  bool ReadSubsection(uint32_t first, uint64_t count, std::string_view* data, ZPDFLocations& locations);
  void AddRecord(uint32_t number, std::string_view record, ZPDFLocations& locations) const;
  void Warn(std::string_view what) const { file_.Part(offset_, 0).Warn(what); }

  ZPDFTokenizedString file_;
  size_t limit_;
  size_t offset_ = 0;
  size_t scanned_ = 0;
  size_t decoded_ = 0;
  std::array<size_t, 3> widths_{};
  Chaine reason_;
};

}  // namespace zforms
