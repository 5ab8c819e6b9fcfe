#include "zforms/pdf/dictionary_entry.h"

#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"

namespace zforms {

ZPDFNodeDictionaryEntry::ZPDFNodeDictionaryEntry(IPDFObjectProvider* provider) : ZPDFNode(provider, Kind::kEntry) {}

ZPDFNodeDictionaryEntry::ZPDFNodeDictionaryEntry(std::string_view key, ZPDFNode* value, IPDFObjectProvider* provider)
    : ZPDFNodeDictionaryEntry(provider) {
  AppendChild(new ZPDFNodeIdentifier(Chaine(key), provider));
  AppendChild(value);
  SetModified(true, false);
}

ZPDFNodeDictionaryEntry* ZPDFNodeDictionaryEntry::Clone() const { return new ZPDFNodeDictionaryEntry(*this); }

std::string_view ZPDFNodeDictionaryEntry::Key() const {
  const auto* key = Size() < 2 ? nullptr : NodeCast<ZPDFNodeIdentifier>(GetDirectAt(0));
  return key == nullptr ? std::string_view() : key->GetIdentifier().View();
}

ZPDFNode* ZPDFNodeDictionaryEntry::Value() { return Size() < 2 ? nullptr : GetDirectAt(1); }

const ZPDFNode* ZPDFNodeDictionaryEntry::Value() const { return GetDirectAt(1); }

void ZPDFNodeDictionaryEntry::SetValue(ZPDFNode* value) {
  if (value == nullptr) value = ZPDFNodeNull::Default();
  ReplaceChild(1, value);
  SetModified(true, false);
  value->SetModified(true, false);
}

void ZPDFNodeDictionaryEntry::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  for (size_t i = 0; i < Size(); i++) {
    const ZPDFNode* part = GetDirectAt(i);
    if (part == nullptr) part = ZPDFNodeNull::Default();
    if (i > 0) out.Separate();
    part->SendTo(out, encrypter);
  }
}

ZPDFNodeDictionaryEntry* ZPDFNodeDictionaryEntry::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                                            const ZPDFEncrypter* encrypter) {
  auto* entry = new ZPDFNodeDictionaryEntry(provider);
  const ZPDFTokenizedString with_value = text;
  ZPDFNode* value = ZPDFNode::BuildFrom(text, provider, encrypter);
  ZPDFNode* key = nullptr;
  if (value != nullptr && !text.IsEmpty() && !text.EndWith("<<")) {
    key = ZPDFNode::BuildFrom(text, provider, encrypter);
  }
  if (key != nullptr) {
    if (NodeCast<ZPDFNodeString>(value) != nullptr && key->GetIdentifier() == "/Contents") {
      // Reads the string again without decrypting it. The dictionary decrypts it later, unless it is the dictionary of
      // a signature.
      ZPDFNode::Destroy(value);
      ZPDFTokenizedString again = with_value;
      value = ZPDFNode::BuildFrom(again, provider, ZPDFEncrypterNeutral::Default());
    }
    entry->AppendChild(key);
  } else if (NodeCast<ZPDFNodeIdentifier>(value) != nullptr && value->GetIdentifier().View().starts_with('/')) {
    // A missing value reads as null, which means the same as an absent key.
    text.Warn("a dictionary key has no value");
    entry->AppendChild(value);
    value = ZPDFNodeNull::Default();
  }
  if (value != nullptr) entry->AppendChild(value);
  return entry;
}

}  // namespace zforms
