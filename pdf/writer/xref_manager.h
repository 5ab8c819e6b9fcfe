#pragma once

#include <cstdint>

#include "pdf/object_identifier.h"
#include "platform/chaine.h"
#include "platform/containers.h"

namespace zforms {

// ZPDFXrefManager (ZPDFWriter::XrefManager) collects the byte offsets of the
// objects that were written and makes the cross-reference section of them.
class ZFORMS_API ZPDFXrefManager {
 public:
  using OffsetMap = FSortedMap<ZPDFObjectIdentifier, uint32_t>;

  virtual ~ZPDFXrefManager();
  // Inserts or overwrites.
  void Record(const ZPDFObjectIdentifier& id, uint32_t offset);
  void Reset();
  const OffsetMap& Offsets() const { return offsets_; }

  // The section from "xref" on (ISO 32000-1 7.5.4), with CR LF line ends. Object 0
  // heads the free list; numbers that were not recorded are absent.
  Chaine BuildSection() const;

 private:
  OffsetMap offsets_;
};

}  // namespace zforms
