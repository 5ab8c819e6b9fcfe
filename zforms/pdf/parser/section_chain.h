#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFParser;
class ZPDFTokenizedString;

// Reads the chain of cross-reference sections of a file into the locations and the trailer of its parser, which must
// outlive it. Used once for a file.
class ZPDFSectionChain {
 public:
  explicit ZPDFSectionChain(ZPDFParser& parser) : parser_(parser) {}

  // The offset of the cross-reference section of the first page, when the object at or after `start` is the
  // linearization dictionary of the whole file (ISO 32000-1 annex F); otherwise 0.
  uint32_t FindLinearized(size_t start);
  // Reads the section at `offset` and all older ones. False, with a reason in the parser's diagnostics, when the
  // section at `offset` cannot be read; a fault in an older one gives a warning.
  bool Read(uint32_t offset);

 private:
  uint32_t XrefStreamAfter(const ZPDFTokenizedString& dictionary);
  uint32_t PreviousSection(const ZPDFNodeDictionary& trailer, uint32_t offset);
  std::unique_ptr<ZPDFNodeDictionary> ReadSection(const ZPDFTokenizedString& file, uint32_t offset, Chaine* reason);
  std::unique_ptr<ZPDFNodeDictionary> ReadXrefStream(const ZPDFTokenizedString& file, uint32_t offset, Chaine* reason);
  void ReadHybridPart(const ZPDFTokenizedString& file, const ZPDFNodeDictionary& trailer, size_t first_record);

  ZPDFParser& parser_;
  std::set<uint32_t> sections_;  // the offsets of sections that were read, so that none is read twice
};

}  // namespace zforms
