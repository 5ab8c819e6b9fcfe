#pragma once

#include <memory>

#include "zforms/pdf/writer/writer.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;

// ZPDFUpdater saves changes by appending to the original bytes of the file, which are never altered: the changed
// objects, a cross-reference section that lists only these, and a trailer that points back through "/Prev" (ISO 32000-1
// 7.5.6). One thread at a time.
//
// A file whose newest section is a cross-reference stream gets another stream, since readers refuse a table that points
// back to a stream (ISO 32000-1 7.5.8.4).
//
// Order of use: SetRawData, AddNode for each object, SetTrailer, Write. After a successful Write the bytes written are
// the new base.
//
// A Write without changes writes the bytes unchanged. XRefOffset() is then the length of the file, where no section is.
// The "/Prev" of a further update would point there, and readers would lose all older objects. So check
// SectionWritten(), and if it is false, pass the offset of the last section to SetRawData again.
class ZFORMS_API ZPDFUpdater final : public ZPDFWriter {
 public:
  ZPDFUpdater();
  ~ZPDFUpdater() override;

  // The base and the appended bytes.
  Chaine RawData() const override;
  uint32_t XRefOffset() const override { return previous_xref_; }
  bool Write(ZInetOStream& out) override;
  // On failure the updater is unchanged, so that writing can be tried again.
  bool Write(const Chaine& path) override;

  void SetRawData(const Chaine& data, uint32_t xref_offset);
  // Appends the object, encrypted as it was read, if it is marked as modified. Returns whether it is.
  bool AddNode(const ZPDFNodeIndirectObject* object);
  // Keeps a copy of the trailer with "/Prev" set. A trailer that is marked as modified makes Write append a section
  // even without objects.
  void SetTrailer(const ZPDFNodeDictionary* trailer);
  // Sets the object number of the section when it is to be written as a stream. 0, the default and the value after each
  // Write, means a cross-reference table. No object of the document may have the number.
  void SetXrefStream(uint32_t number) { xref_stream_number_ = number; }
  // True when the last Write appended anything.
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
  Chaine appended_;  // the bytes after the base, kept apart so that the base is not copied
  uint32_t previous_xref_ = 0;
  std::unique_ptr<ZPDFNodeDictionary> trailer_;
  uint32_t xref_stream_number_ = 0;
  ZPDFXrefManager xref_;
  bool modified_ = false;
  bool section_written_ = false;
};

}  // namespace zforms
