#pragma once

#include <memory>

#include "zforms/pdf/writer/writer.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;

// ZPDFUpdater saves changes by appending them to the bytes that a file was read
// from, which are never altered: the changed objects, a section that lists only
// them, and a trailer that points back through "/Prev" (ISO 32000-1 7.5.6).
//
// A file whose newest section is a cross-reference stream gets another one, since
// readers refuse a table that leads back to a stream (ISO 32000-1 7.5.8.4).
//
// Order of use: SetRawData, AddNode as often as needed, SetTrailer, Write. After
// a Write that succeeded the bytes written are the new base.
//
// A Write with nothing to append gives the bytes as they are, and takes their length
// for XRefOffset(), where no section is. The "/Prev" of a further update would lead
// there, and readers would lose all older objects: look at SectionWritten(), and give
// SetRawData the offset of the last section again.
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
  // The number under which the section is written as a stream; 0, at first and after
  // each Write, for a classic section. No object of the document has it.
  void SetXrefStream(uint32_t number) { xref_stream_number_ = number; }
  // Whether the last Write appended anything.
  bool SectionWritten() const { return section_written_; }

 private:
  struct NewEnd {
    Chaine bytes;
    uint32_t xref_offset = 0;
  };
  NewEnd BuildEnd() const;
  void AppendXrefStream(Chaine* tail, uint32_t offset) const;
  void Accept(const NewEnd& end);
  uint32_t Length() const { return static_cast<uint32_t>(base_.size() + appended_.size()); }

  Chaine base_;
  Chaine appended_;  // what comes after the base, so that the base is not copied to grow
  uint32_t previous_xref_ = 0;
  std::unique_ptr<ZPDFNodeDictionary> trailer_;
  uint32_t xref_stream_number_ = 0;
  ZPDFXrefManager xref_;
  bool modified_ = false;
  bool section_written_ = false;
};

}  // namespace zforms
