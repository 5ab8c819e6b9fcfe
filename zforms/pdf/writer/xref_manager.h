#pragma once

#include <array>
#include <cstdint>
#include <utility>

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

// ZPDFXrefManager (ZPDFWriter::XrefManager) collects the byte offsets of the
// objects that were written and makes the cross-reference section of them.
class ZFORMS_API ZPDFXrefManager {
 public:
  // In identifier order.
  using OffsetList = PTableau<std::pair<ZPDFObjectIdentifier, uint32_t>>;

  virtual ~ZPDFXrefManager();
  // Inserts or overwrites.
  void Record(const ZPDFObjectIdentifier& id, uint32_t offset);
  void Reset();
  const OffsetList& Offsets() const;

  // The section from "xref" on (ISO 32000-1 7.5.4), with CR LF line ends. Object 0
  // heads the free list; numbers that were not recorded are absent.
  Chaine BuildSection() const;

  // The same as the parts of a cross-reference stream (ISO 32000-1 7.5.8): how many
  // bytes each field of a record takes, which numbers have records ("/Index", first
  // number and count by turns), and the records. The free list is not in it.
  struct StreamSection {
    std::array<uint32_t, 3> widths;
    PTableau<uint32_t> index;
    Chaine records;
  };
  StreamSection BuildStreamSection() const;

 private:
  // Sorted when they are asked for; of those recorded twice the later one stays.
  mutable OffsetList offsets_;
  mutable bool sorted_ = true;
};

}  // namespace zforms
