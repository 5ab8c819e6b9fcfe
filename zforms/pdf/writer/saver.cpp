#include "zforms/pdf/writer/saver.h"

#include <algorithm>

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/raw_value.h"

namespace zforms {
namespace {

// A comment of high bytes after the header marks the file as binary.
constexpr std::string_view kBinaryComment = "%\xFF\xFE\xFD\xFC\n";

}  // namespace

ZPDFSaver::ZPDFSaver(const ZPDFEncryption* encryption) : encryption_(encryption) {}

ZPDFSaver::~ZPDFSaver() = default;

void ZPDFSaver::SetTrailer(const ZPDFNodeDictionary* trailer) {
  trailer_.reset(trailer->Clone());
  ZPDFNode* encrypt = encryption_ == nullptr ? nullptr : encryption_->Dictionary()->Clone();
  trailer_->SetValue("/Encrypt", encrypt);
}

void ZPDFSaver::AppendNode(ZPDFOutStream& out, const ZPDFNode* node) {
  out.NewLine();
  node->SendTo(out, ZPDFEncrypterNeutral::Default());
  out.NewLine();
}

void ZPDFSaver::AppendNode(ZPDFOutStream& out, const ZPDFNodeIndirectObject* object, bool encrypt) {
  out.NewLine();
  if (encrypt && encryption_ != nullptr) {
    const std::unique_ptr<ZPDFEncrypter> encrypter(ZPDFEncryption::AllocEncrypter(encryption_, object->GetID()));
    object->SendTo(out, encrypter.get());
  } else {
    object->SendTo(out, ZPDFEncrypterNeutral::Default());
  }
  out.NewLine();
}

void ZPDFSaver::AppendRaw(ZPDFOutStream& out, const ZPDFObjectIdentifier& id, std::string_view value) {
  out.NewLine();
  {
    const ZPDFOutStream::Run run(out);
    ZPDFNodeIndirectObject::WriteHead(out, id);
    ZPDFRawValue::Write(value, out);
    ZPDFNodeIndirectObject::WriteEnd(out);
  }
  out.NewLine();
}

void ZPDFSaver::PrepareData() {
  const size_t former_size = raw_data_.size();
  raw_data_ = version_ + '\n';
  raw_data_.Reserve(std::max(former_size, expected_size_));
  raw_data_ += kBinaryComment;
  xref_.Reset();
  ZPDFOutStream out(&raw_data_);
  auto raw = raw_values_.begin();
  for (const auto& [id, object] : objects_) {
    xref_.Record(id, static_cast<uint32_t>(raw_data_.size()));
    if (object != nullptr) {
      AppendNode(out, object, true);
    } else {
      while (raw->first != id) ++raw;
      AppendRaw(out, id, raw->second);
    }
  }
  xref_offset_ = static_cast<uint32_t>(raw_data_.size());
  raw_data_ += xref_.BuildSection();
  raw_data_ += "trailer\n";
  if (trailer_ == nullptr) trailer_ = std::make_unique<ZPDFNodeDictionary>();
  SetNumber(*trailer_, "/Size", static_cast<uint32_t>(objects_.size() + 1));
  // Removes the offsets of older sections: the new file has only one section.
  trailer_->RemoveValue("/Prev");
  trailer_->RemoveValue("/XRefStm");
  ZPDFOutStream end(&raw_data_);
  AppendNode(end, trailer_.get());
  raw_data_ += '\n';
  AppendEnd(&raw_data_, xref_offset_);
}

bool ZPDFSaver::Write(ZInetOStream& out) {
  PrepareData();
  return Send(out, raw_data_);
}

bool ZPDFSaver::Write(const Chaine& path) {
  PrepareData();
  return Store(path, raw_data_);
}

}  // namespace zforms
