#pragma once

#include <string_view>

#include "zforms/pdf/node.h"

namespace zforms {

// One key and value of a dictionary (ZPDFNodeDictionary::ZPDFNodeDictionaryEntry). Child 0 is the key, a name with its
// "/"; child 1 is the value.
class ZFORMS_API ZPDFNodeDictionaryEntry final : public ZPDFNode {
 public:
  explicit ZPDFNodeDictionaryEntry(IPDFObjectProvider* provider = nullptr);
  // Takes ownership of the value; the new entry is marked modified.
  ZPDFNodeDictionaryEntry(std::string_view key, ZPDFNode* value, IPDFObjectProvider* provider);
  ZPDFNodeDictionaryEntry* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // The key's text; empty for an entry without a key in a damaged file.
  std::string_view Key() const;
  ZPDFNode* Value();
  const ZPDFNode* Value() const;
  // Takes ownership of the value; null means the null node. Destroys the old value, and marks the entry and the new
  // value as modified.
  void SetValue(ZPDFNode* value);

  static ZPDFNodeDictionaryEntry* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                            const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kEntry; }
};

}  // namespace zforms
