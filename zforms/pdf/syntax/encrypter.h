#pragma once

#include "zforms/platform/base/chaine.h"

namespace zforms {

// ZPDFEncrypter (ZPDFEncryption::Encrypter) turns the plain bytes of one string
// or stream into the bytes that stand in the file, and back. Every string and
// every stream passes through one, whether or not the document is encrypted.
class ZFORMS_API ZPDFEncrypter {
 public:
  virtual ~ZPDFEncrypter();
  // A new encrypter of the same kind and state; the caller owns it.
  virtual ZPDFEncrypter* Clone() const = 0;
  virtual Chaine Encrypt(const Chaine& data) const = 0;
  // RC4 is its own inverse, so this calls Encrypt.
  virtual Chaine Decrypt(const Chaine& data) const;
};

// ZPDFEncrypterNeutral (ZPDFEncryption::EncrypterNeutral) stands for no
// encryption: data come out as they went in, and no byte is copied.
class ZFORMS_API ZPDFEncrypterNeutral final : public ZPDFEncrypter {
 public:
  ZPDFEncrypterNeutral* Clone() const override;
  Chaine Encrypt(const Chaine& data) const override;
  // The shared instance, for any thread; callers never delete it.
  static const ZPDFEncrypterNeutral* Default();
};

}  // namespace zforms
