#pragma once

#include <array>
#include <cstdint>
#include <utility>

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// ZPDFXrefManager (ZPDFWriter::XrefManager) collects the byte offsets of the written objects and makes the
// cross-reference section from them.
class ZFORMS_API ZPDFXrefManager {
 public:
  // Identifiers and offsets, in identifier order.
  using OffsetList = PTableau<std::pair<ZPDFObjectIdentifier, uint32_t>>;

  virtual ~ZPDFXrefManager();
  // Sets the offset of an object; replaces an earlier one.
  void Record(const ZPDFObjectIdentifier& id, uint32_t offset);
  void Reset();
  const OffsetList& Offsets() const;

  // The section starting with "xref" (ISO 32000-1 7.5.4), with CR LF line ends. Object 0 is the head of the free list;
  // numbers that were not recorded are absent.
  Chaine BuildSection() const;

  // The parts of a cross-reference stream with the same records (ISO 32000-1 7.5.8): the width of each field in bytes,
  // the numbers that have records ("/Index": pairs of first number and count), and the records. The free list is not
  // included.
  struct StreamSection {
    std::array<uint32_t, 3> widths;
    PTableau<uint32_t> index;
    Chaine records;
  };
  StreamSection BuildStreamSection() const;

 private:
  // The records, sorted when needed. Of two records for one identifier, the later one is kept.
  mutable OffsetList offsets_;
  mutable bool sorted_ = true;
};

}  // namespace zforms
