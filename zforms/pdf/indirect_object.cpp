#include "zforms/pdf/indirect_object.h"

#include "zforms/pdf/child_list.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/object_encrypter.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/syntax/element_scan.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

std::unique_ptr<ZPDFEncrypter> EncrypterFor(const ZPDFEncryption* encryption, const ZPDFObjectIdentifier& id) {
  return encryption == nullptr ? nullptr : MakeObjectEncrypter(encryption, id);
}

// Removes the text of the value from the front, and returns it. If "endobj" is missing and the next object follows, the
// number and generation of that object are not a part of the value.
ZPDFTokenizedString TakeValue(ZPDFTokenizedString& text) {
  ZPDFTokenizedString value = text.TakeFirstElement(ScanStop::kEndobjOrObj);
  text.TrimLeftComments();
  if (text.StartWith("obj")) {
    value.TrimComments();
    value.TakeLastToken();
    value.TakeLastToken();
  }
  return value;
}

// Reads the value at the front of the text and removes it, with the comments after it.
ZPDFNode* ReadValue(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter) {
  if (text.IsDocument()) {
    ZPDFNode* const value = ReadForward(text, provider, encrypter);
    if (value == nullptr) text.Warn("the object has no value");
    return value;
  }
  ZPDFTokenizedString value_text = TakeValue(text);
  return ZPDFNode::BuildFrom(value_text, provider, encrypter);
}

}  // namespace

ZPDFNodeIndirectObject::ZPDFNodeIndirectObject(const ZPDFEncryption* encryption, const ZPDFObjectIdentifier& id,
                                               IPDFObjectProvider* provider)
    : ZPDFNode(provider, Kind::kIndirectObject), id_(id), encrypter_(EncrypterFor(encryption, id)) {}

ZPDFNodeIndirectObject::ZPDFNodeIndirectObject(const ZPDFNodeIndirectObject& other)
    : ZPDFNode(other), id_(other.id_), encrypter_(other.encrypter_ == nullptr ? nullptr : other.encrypter_->Clone()) {}

ZPDFNodeIndirectObject& ZPDFNodeIndirectObject::operator=(const ZPDFNodeIndirectObject& other) {
  if (this == &other) return *this;
  ZPDFNode::operator=(other);
  id_ = other.id_;
  encrypter_.reset(other.encrypter_ == nullptr ? nullptr : other.encrypter_->Clone());
  return *this;
}

ZPDFNodeIndirectObject::~ZPDFNodeIndirectObject() = default;

ZPDFNodeIndirectObject* ZPDFNodeIndirectObject::Clone() const { return new ZPDFNodeIndirectObject(*this); }

const ZPDFEncrypter* ZPDFNodeIndirectObject::Encrypter() const {
  return encrypter_ == nullptr ? ZPDFEncrypterNeutral::Default() : encrypter_.get();
}

void ZPDFNodeIndirectObject::SetEncryption(const ZPDFEncryption* encryption) {
  encrypter_ = EncrypterFor(encryption, id_);
}

void ZPDFNodeIndirectObject::SetChild(ZPDFNode* value) {
  if (Size() > 0) {
    ReplaceChild(0, value);
  } else if (value != nullptr) {
    AppendChild(value);
  }
  SetModified(true, false);
}

ZPDFNodeIndirectReference* ZPDFNodeIndirectObject::AllocReference() const {
  return new ZPDFNodeIndirectReference(id_, ObjectProvider());
}

void ZPDFNodeIndirectObject::WriteHead(ZPDFOutStream& out, const ZPDFObjectIdentifier& id) {
  out.WriteNumber(id.Number());
  out.Separate();
  out.WriteNumber(id.Generation());
  out.Separate();
  out.WriteToken("obj");
  out.NewLine();
}

void ZPDFNodeIndirectObject::WriteEnd(ZPDFOutStream& out) {
  out.NewLine();
  out.WriteToken("endobj");
}

void ZPDFNodeIndirectObject::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  const ZPDFOutStream::Run run(out);
  WriteHead(out, id_);
  const ZPDFNode* value = GetDirectAt(0);
  if (value != nullptr) {
    value->SendTo(out, encrypter != nullptr ? encrypter : Encrypter());
    Encrypter()->Rest();
  }
  WriteEnd(out);
}

ZPDFNodeIndirectObject* ZPDFNodeIndirectObject::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                                          const ZPDFEncryption* encryption) {
  // Trims only the front. The text may reach to the end of the file, and trimming its end for every object would take
  // too long.
  text.TrimLeftComments();
  const uint32_t number = ParseUInt(text.TakeFirstToken());
  const uint32_t generation = ParseUInt(text.TakeFirstToken());
  text.TakeFirstToken();
  return BuildFrom(text, {number, generation}, provider, encryption);
}

ZPDFNodeIndirectObject* ZPDFNodeIndirectObject::BuildFrom(ZPDFTokenizedString& text, const ZPDFObjectIdentifier& id,
                                                          IPDFObjectProvider* provider,
                                                          const ZPDFEncryption* encryption) {
  text.SetObject(id.Number(), id.Generation());
  auto* object = MakeParsed<ZPDFNodeIndirectObject>(text.Pool(), encryption, id, provider);

  ZPDFNode* value = ReadValue(text, provider, object->Encrypter());
  auto* dictionary = NodeCast<ZPDFNodeDictionary>(value);
  if (dictionary != nullptr && text.StartWith("stream")) {
    value = ZPDFNodeStream::BuildFrom(text, dictionary, provider, object->Encrypter());
  }
  object->Encrypter()->Rest();
  if (value != nullptr) object->AdoptValue(value, text.Pool());
  if (text.StartWith("endobj")) {
    const bool alone = text.TakeFirstToken() == "endobj";
    if (!alone && text.IsDocument()) text.Warn("a blank is missing after \"endobj\"");
  } else {
    text.Warn("\"endobj\" is missing");
  }
  return object;
}

void ZPDFNodeIndirectObject::AdoptValue(ZPDFNode* value, ZPDFNodePool* pool) {
  AdoptChildren(pool == nullptr ? ZPDFChildList::Make(1) : ZPDFChildList::Make(1, *pool));
  AppendChild(value);
}

ZPDFNodeIndirectObject* ZPDFNodeIndirectObject::BuildPacked(ZPDFTokenizedString& text, const ZPDFObjectIdentifier& id,
                                                            IPDFObjectProvider* provider,
                                                            const ZPDFEncryption* encryption) {
  text.SetObject(id.Number(), id.Generation());
  text.TrimLeftComments();
  auto* object = MakeParsed<ZPDFNodeIndirectObject>(text.Pool(), encryption, id, provider);
  ZPDFNode* value = ReadValue(text, provider, ZPDFEncrypterNeutral::Default());
  if (value != nullptr) object->AdoptValue(value, text.Pool());
  if (text.IsDocument() && !text.IsEmpty()) text.Warn("text after the value of the object is left out");
  return object;
}

}  // namespace zforms
