#pragma once

#include "zforms/pdf/node.h"

namespace zforms {

// A reference to an indirect object (ISO 32000-1 7.3.10). It asks the provider for the target when it is first used,
// and keeps the target until the provider changes.
class ZFORMS_API ZPDFNodeIndirectReference final : public ZPDFNode {
 public:
  explicit ZPDFNodeIndirectReference(IPDFObjectProvider* provider = nullptr);
  ZPDFNodeIndirectReference(const ZPDFObjectIdentifier& id, IPDFObjectProvider* provider);
  ZPDFNodeIndirectReference* Clone() const override;
  void SetObjectProvider(IPDFObjectProvider* provider) override;
  ZPDFNode* GetTarget() override;
  const ZPDFNode* GetTarget() const override;
  // Adds the target and all objects that can be reached from it; does nothing when the map contains the target.
  void GetReferencedObjects(ZPDFObjectMap& map) const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  const ZPDFObjectIdentifier& GetID() const { return id_; }
  // The target object, null when the provider does not have it. Not owned.
  ZPDFNodeIndirectObject* GetObject() const;

  // Returns the null node for a text without a number and a generation before its "R".
  static ZPDFNode* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider, const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kReference; }

 private:
  friend class ZPDFNode;
  friend class ZPDFParser;  // it renumbers objects
  ZPDFNodeIndirectReference(Parsed, const ZPDFObjectIdentifier& id, IPDFObjectProvider* provider)
      : ZPDFNode(provider, Kind::kReference), id_(id) {}
  const ZPDFNode* Follow() const;

  ZPDFObjectIdentifier id_;
  mutable ZPDFNodeIndirectObject* object_ = nullptr;
};

}  // namespace zforms
