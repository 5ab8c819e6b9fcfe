#pragma once

#include "zforms/platform/base/chaine.h"

namespace zforms {

// ZPDFEncrypter (ZPDFEncryption::Encrypter) converts the plain bytes of one string or stream into the bytes of the
// file, and back. Every string and stream passes through one, whether or not the document is encrypted. Owned by
// whoever created it; one thread at a time.
class ZFORMS_API ZPDFEncrypter {
 public:
  virtual ~ZPDFEncrypter();
  // A new encrypter of the same kind and state; the caller owns it.
  virtual ZPDFEncrypter* Clone() const = 0;
  virtual Chaine Encrypt(const Chaine& data) const = 0;
  // RC4 is its own inverse, so this calls Encrypt.
  virtual Chaine Decrypt(const Chaine& data) const;
};

// ZPDFEncrypterNeutral (ZPDFEncryption::EncrypterNeutral) is used without encryption: it returns the data unchanged and
// copies no byte.
class ZFORMS_API ZPDFEncrypterNeutral final : public ZPDFEncrypter {
 public:
  ZPDFEncrypterNeutral* Clone() const override;
  Chaine Encrypt(const Chaine& data) const override;
  // The shared instance, usable by any thread; callers must never delete it.
  static const ZPDFEncrypterNeutral* Default();
};

}  // namespace zforms
