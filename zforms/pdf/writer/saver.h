#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "zforms/pdf/node.h"
#include "zforms/pdf/writer/writer.h"

namespace zforms {

class ZPDFEncryption;
class ZPDFNodeDictionary;

// ZPDFSaver writes a complete new file from a set of objects and a trailer. Every object is written under its own
// number, encrypted with the saver's encryption if there is one. The objects and the encryption are not owned. One
// thread at a time.
class ZFORMS_API ZPDFSaver : public ZPDFWriter {
 public:
  explicit ZPDFSaver(const ZPDFEncryption* encryption);
  ~ZPDFSaver() override;

  Chaine RawData() const override { return raw_data_; }
  uint32_t XRefOffset() const override { return xref_offset_; }
  bool Write(ZInetOStream& out) override;
  bool Write(const Chaine& path) override;

  void SetObjects(const ZPDFObjectMap& objects) { objects_.assign(objects.begin(), objects.end()); }
  // Sets the objects from a list in identifier order.
  void SetObjectList(ZPDFObjectList objects) { objects_ = std::move(objects); }
  // Sets the values of objects that have no nodes, in identifier order; the list of objects has a null pointer for each
  // of them. Each value is written from its text, which ZPDFUsedObjects has checked. Not for a saver with an
  // encryption.
  using RawValues = PTableau<std::pair<ZPDFObjectIdentifier, std::string_view>>;
  void SetRawValues(RawValues values) { raw_values_ = std::move(values); }
  // The whole header line, such as "%PDF-1.4"; must be set before writing.
  void SetPDFVersion(const Chaine& version) { version_ = version; }
  // An estimate of the file's size in bytes, so that its buffer need not grow.
  void SetExpectedSize(size_t bytes) { expected_size_ = bytes; }
  // Keeps a copy of the trailer. In it, "/Encrypt" is set to the encryption's dictionary, as a direct object, or
  // removed when there is no encryption.
  void SetTrailer(const ZPDFNodeDictionary* trailer);
  // The offset of each object in the last output.
  const ZPDFXrefManager::OffsetList& Offsets() const { return xref_.Offsets(); }

 protected:
  // Writes the whole file to raw_data_.
  virtual void PrepareData();
  void AppendNode(ZPDFOutStream& out, const ZPDFNode* node);
  void AppendNode(ZPDFOutStream& out, const ZPDFNodeIndirectObject* object, bool encrypt);
  static void AppendRaw(ZPDFOutStream& out, const ZPDFObjectIdentifier& id, std::string_view value);

 private:
  const ZPDFEncryption* encryption_;
  std::unique_ptr<ZPDFNodeDictionary> trailer_;
  ZPDFObjectList objects_;
  RawValues raw_values_;
  Chaine version_;
  size_t expected_size_ = 0;
  Chaine raw_data_;
  uint32_t xref_offset_ = 0;
  ZPDFXrefManager xref_;
};

}  // namespace zforms
