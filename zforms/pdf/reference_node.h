#pragma once

#include "zforms/pdf/node.h"

namespace zforms {

// A reference to an indirect object (ISO 32000-1 7.3.10). The target is asked of
// the provider when first used and kept as long as the provider stays.
class ZFORMS_API ZPDFNodeIndirectReference final : public ZPDFNode {
 public:
  explicit ZPDFNodeIndirectReference(IPDFObjectProvider* provider = nullptr);
  ZPDFNodeIndirectReference(const ZPDFObjectIdentifier& id, IPDFObjectProvider* provider);
  ZPDFNodeIndirectReference* Clone() const override;
  void SetObjectProvider(IPDFObjectProvider* provider) override;
  ZPDFNode* GetTarget() override;
  const ZPDFNode* GetTarget() const override;
  // Adds the target, and what can be reached from it, unless the map has it.
  void GetReferencedObjects(ZPDFObjectMap& map) const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  const ZPDFObjectIdentifier& GetID() const { return id_; }
  // The object referred to, null when the provider knows none. Not owned.
  ZPDFNodeIndirectObject* GetObject() const;

  // A text without a number and a generation before its "R" gives the null node.
  static ZPDFNode* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kReference; }

 private:
  friend class ZPDFNode;
  friend class ZPDFParser;  // which numbers objects anew
  ZPDFNodeIndirectReference(Parsed, const ZPDFObjectIdentifier& id, IPDFObjectProvider* provider)
      : ZPDFNode(provider, Kind::kReference), id_(id) {}
  const ZPDFNode* Follow() const;

  ZPDFObjectIdentifier id_;
  mutable ZPDFNodeIndirectObject* object_ = nullptr;
};

}  // namespace zforms
