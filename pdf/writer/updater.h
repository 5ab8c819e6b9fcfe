#pragma once

#include "pdf/writer/writer.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;

// ZPDFUpdater saves changes by appending them to the bytes that a file was read
// from, which are never altered: the changed objects, a section that lists only
// them, and a trailer that points back through "/Prev" (ISO 32000-1 7.5.6).
//
// Order of use: SetRawData, AddNode as often as needed, SetTrailer, Write. After
// a Write that succeeded the bytes written are the new base.
class ZFORMS_API ZPDFUpdater final : public ZPDFWriter {
 public:
  ZPDFUpdater();
  ~ZPDFUpdater() override;

  // The base and the appended objects.
  Chaine RawData() const override;
  uint32_t XRefOffset() const override { return previous_xref_; }
  bool Write(ZInetOStream& out) override;
  // On failure the updater stays as it was, so that writing can be tried again.
  bool Write(const Chaine& path) override;

  void SetRawData(const Chaine& data, uint32_t xref_offset);
  // Appends the object, enciphered as it was read, if it is marked modified, and
  // says whether it is.
  bool AddNode(const ZPDFNodeIndirectObject* object);
  // Keeps the trailer's text with "/Prev" set; a marked one makes the file be written.
  void SetTrailer(const ZPDFNodeDictionary* trailer);
  // Whether the last Write appended anything.
  bool SectionWritten() const { return section_written_; }

 private:
  struct NewEnd {
    Chaine bytes;
    uint32_t xref_offset = 0;
  };
  NewEnd BuildEnd() const;
  void Accept(const NewEnd& end);
  uint32_t Length() const { return static_cast<uint32_t>(base_.size() + appended_.size()); }

  Chaine base_;
  Chaine appended_;  // what comes after the base, so that the base is not copied to grow
  uint32_t previous_xref_ = 0;
  Chaine trailer_text_;
  ZPDFXrefManager xref_;
  bool modified_ = false;
  bool section_written_ = false;
};

}  // namespace zforms
