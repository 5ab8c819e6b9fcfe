#include "zforms/pdf/reference_node.h"

#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/object_provider.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The longest chain of references to references; a longer one is treated as a cycle.
constexpr int kMaxChain = 100;

bool EndsInNumber(const ZPDFTokenizedString& text) { return !text.IsEmpty() && Is(text.LastChar(), kDigit); }

}  // namespace

ZPDFNodeIndirectReference::ZPDFNodeIndirectReference(IPDFObjectProvider* provider)
    : ZPDFNode(provider, Kind::kReference) {}

ZPDFNodeIndirectReference::ZPDFNodeIndirectReference(const ZPDFObjectIdentifier& id, IPDFObjectProvider* provider)
    : ZPDFNode(provider, Kind::kReference), id_(id) {
  SetModified(true, false);
}

ZPDFNodeIndirectReference* ZPDFNodeIndirectReference::Clone() const { return new ZPDFNodeIndirectReference(*this); }

void ZPDFNodeIndirectReference::SetObjectProvider(IPDFObjectProvider* provider) {
  if (provider != ObjectProvider()) object_ = nullptr;
  ZPDFNode::SetObjectProvider(provider);
}

ZPDFNodeIndirectObject* ZPDFNodeIndirectReference::GetObject() const {
  if (object_ == nullptr && ObjectProvider() != nullptr) object_ = ObjectProvider()->GetObject(id_);
  return object_;
}

const ZPDFNode* ZPDFNodeIndirectReference::Follow() const {
  const ZPDFNodeIndirectReference* reference = this;
  for (int i = 0; i < kMaxChain; i++) {
    const ZPDFNodeIndirectObject* object = reference->GetObject();
    const ZPDFNode* value = object == nullptr ? nullptr : object->GetDirectAt(0);
    if (value == nullptr) break;
    reference = NodeCast<ZPDFNodeIndirectReference>(value);
    if (reference == nullptr) return value;
  }
  return ZPDFNodeNull::Default();
}

ZPDFNode* ZPDFNodeIndirectReference::GetTarget() { return const_cast<ZPDFNode*>(Follow()); }

const ZPDFNode* ZPDFNodeIndirectReference::GetTarget() const { return Follow(); }

void ZPDFNodeIndirectReference::SendTo(ZPDFOutStream& out, const ZPDFEncrypter*) const {
  out.WriteNumber(id_.Number());
  out.Separate();
  out.WriteNumber(id_.Generation());
  out.Separate();
  out.WriteChar('R');
}

ZPDFNode* ZPDFNodeIndirectReference::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                               const ZPDFEncrypter*) {
  text.TakeLastToken();
  const uint32_t generation = EndsInNumber(text) ? ParseUInt(text.TakeLastToken()) : 0;
  if (!EndsInNumber(text)) {
    text.Warn("a reference lacks its object number");
    return ZPDFNodeNull::Default();
  }
  const uint32_t number = ParseUInt(text.TakeLastToken());
  auto* node = new ZPDFNodeIndirectReference({number, generation}, provider);
  node->SetModified(false, false);
  return node;
}

}  // namespace zforms
