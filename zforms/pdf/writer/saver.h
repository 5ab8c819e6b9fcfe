#pragma once

#include <memory>
#include <utility>

#include "zforms/pdf/node.h"
#include "zforms/pdf/writer/writer.h"

namespace zforms {

class ZPDFEncryption;
class ZPDFNodeDictionary;

// ZPDFSaver writes a complete new file from a set of objects and a trailer. Every
// object is written under its own number and with the saver's encryption, or in
// clear without one. The objects and the encryption are not owned.
class ZFORMS_API ZPDFSaver : public ZPDFWriter {
 public:
  explicit ZPDFSaver(const ZPDFEncryption* encryption);
  ~ZPDFSaver() override;

  Chaine RawData() const override { return raw_data_; }
  uint32_t XRefOffset() const override { return xref_offset_; }
  bool Write(ZInetOStream& out) override;
  bool Write(const Chaine& path) override;

  void SetObjects(const ZPDFObjectMap& objects) { objects_.assign(objects.begin(), objects.end()); }
  // The same from a list in identifier order.
  void SetObjectList(ZPDFObjectList objects) { objects_ = std::move(objects); }
  // The whole header line, such as "%PDF-1.4"; it must be set before writing.
  void SetPDFVersion(const Chaine& version) { version_ = version; }
  // About how many bytes the file will have, so that its buffer need not grow.
  void SetExpectedSize(size_t bytes) { expected_size_ = bytes; }
  // Keeps a clone. Its "/Encrypt" becomes the encryption's dictionary, inline, or
  // is removed without one.
  void SetTrailer(const ZPDFNodeDictionary* trailer);
  // Where the last run wrote each object.
  const ZPDFXrefManager::OffsetList& Offsets() const { return xref_.Offsets(); }

 protected:
  // Builds the raw data.
  virtual void PrepareData();
  void AppendNode(ZPDFOutStream& out, const ZPDFNode* node);
  void AppendNode(ZPDFOutStream& out, const ZPDFNodeIndirectObject* object, bool encrypt);

 private:
  const ZPDFEncryption* encryption_;
  std::unique_ptr<ZPDFNodeDictionary> trailer_;
  ZPDFObjectList objects_;
  Chaine version_;
  size_t expected_size_ = 0;
  Chaine raw_data_;
  uint32_t xref_offset_ = 0;
  ZPDFXrefManager xref_;
};

}  // namespace zforms
