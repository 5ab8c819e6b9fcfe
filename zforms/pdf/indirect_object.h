#pragma once

#include <memory>

#include "zforms/pdf/node.h"

namespace zforms {

class ZPDFEncryption;
class ZPDFNodeIndirectReference;

// An indirect object (ISO 32000-1 7.3.10), which the parser loads and the writers write as a whole. Child 0 is its
// value, absent until it is set. It owns the encrypter of its strings and streams. Its document owns it.
class ZFORMS_API ZPDFNodeIndirectObject final : public ZPDFNode {
 public:
  // When `encryption` is null, the object gets a neutral encrypter, which changes nothing.
  ZPDFNodeIndirectObject(const ZPDFEncryption* encryption, const ZPDFObjectIdentifier& id,
                         IPDFObjectProvider* provider);
  ZPDFNodeIndirectObject(const ZPDFNodeIndirectObject& other);
  ZPDFNodeIndirectObject& operator=(const ZPDFNodeIndirectObject& other);
  ~ZPDFNodeIndirectObject() override;
  ZPDFNodeIndirectObject* Clone() const override;
  // Writes with the given encrypter, or with the object's own when it is null.
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // What SendTo writes before the value and after it.
  static void WriteHead(ZPDFOutStream& out, const ZPDFObjectIdentifier& id);
  static void WriteEnd(ZPDFOutStream& out);

  const ZPDFObjectIdentifier& GetID() const { return id_; }
  // The neutral encrypter in a document that is not encrypted.
  const ZPDFEncrypter* Encrypter() const;
  // Sets the security handler of the document that now contains the object; null when it is not encrypted.
  void SetEncryption(const ZPDFEncryption* encryption);

  // Takes ownership of the value, destroys the old one and marks the object.
  void SetChild(ZPDFNode* value);
  // A new reference to this object; the caller owns it.
  ZPDFNodeIndirectReference* AllocReference() const;

  // Reads from the front: number, generation, "obj", the value, "endobj". Never null.
  static ZPDFNodeIndirectObject* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                           const ZPDFEncryption* encryption);
  // Reads the rest of an object from the value on; its number, its generation and "obj" were read before. Never null.
  static ZPDFNodeIndirectObject* BuildFrom(ZPDFTokenizedString& text, const ZPDFObjectIdentifier& id,
                                           IPDFObjectProvider* provider, const ZPDFEncryption* encryption);
  // Reads an object of an object stream. `text` is only the value; it was decrypted together with the stream. When the
  // object is written, it is encrypted on its own.
  static ZPDFNodeIndirectObject* BuildPacked(ZPDFTokenizedString& text, const ZPDFObjectIdentifier& id,
                                             IPDFObjectProvider* provider, const ZPDFEncryption* encryption);
  static bool Matches(Kind kind) { return kind == Kind::kIndirectObject; }

 private:
  friend class ZPDFNode;
  friend class ZPDFParser;  // which renumbers objects
  ZPDFNodeIndirectObject(Parsed, const ZPDFEncryption* encryption, const ZPDFObjectIdentifier& id,
                         IPDFObjectProvider* provider)
      : ZPDFNodeIndirectObject(encryption, id, provider) {}

  void AdoptValue(ZPDFNode* value, ZPDFNodePool* pool);

  ZPDFObjectIdentifier id_;
  std::unique_ptr<ZPDFEncrypter> encrypter_;  // null means the neutral one
};

}  // namespace zforms
