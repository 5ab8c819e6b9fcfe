#pragma once

#include <memory>
#include <string_view>

#include "zforms/pdf/parser/locations.h"
#include "zforms/pdf/syntax/tokenized_string.h"

namespace zforms {

class IPDFObjectProvider;
class ZPDFNodeDictionary;

// Reads one classic cross-reference section and the trailer after it (ISO 32000-1 7.5.4, 7.5.5). Lines end in CR, LF or
// both; fields are separated by any number of blanks; "trailer" may be on the same line as the dictionary. Used by one
// thread at a time.
class ZPDFXrefReader {
 public:
  // `file` is the whole file.
  explicit ZPDFXrefReader(const ZPDFTokenizedString& file) : file_(file) {}

  // Adds the section's records to `locations` and returns its trailer, or null when there is no section at `offset`,
  // with the reason in Reason().
  std::unique_ptr<ZPDFNodeDictionary> Read(size_t offset, IPDFObjectProvider* provider, ZPDFLocations& locations);
  std::string_view Reason() const { return reason_; }
  // The number of bytes of the file that the last Read examined.
  size_t Scanned() const { return scanned_; }

 private:
  bool ReadTable(ZPDFLocations& locations);
  bool ReadSubsection(uint32_t first, uint32_t count, ZPDFLocations& locations);
  enum class Line { kEntry, kHeader, kOther };
  Line AddEntry(std::string_view line, uint32_t number, ZPDFLocations& locations);
  bool TakePlainEntry(uint32_t number, ZPDFLocations& locations);
  void WarnObject(const ZPDFObjectIdentifier& id, std::string_view what) const;
  void Add(const ZPDFObjectIdentifier& id, uint32_t offset, bool in_use, ZPDFLocations& locations) const;
  std::string_view NextLine();
  bool AtTrailer() const;
  void Warn(std::string_view what) const;

  ZPDFTokenizedString file_;
  std::string_view text_;  // the section, up to its "startxref"
  size_t offset_ = 0;
  size_t at_ = 0;
  size_t scanned_ = 0;
  std::string_view reason_;
};

}  // namespace zforms
