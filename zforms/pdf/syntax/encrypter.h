#pragma once

#include <memory>
#include <string>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// The properties of a stream that decide how its data is encrypted.
struct ZPDFStreamTraits {
  Chaine type;                    // "/Type" with its slash; empty when absent
  bool has_crypt_filter = false;  // its first filter is /Crypt
  Chaine crypt_filter;            // that filter's "/Name" with its slash, /Identity when absent
};

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
  // Decrypts bytes of a file. When the bytes are damaged, returns the part that can be decrypted and sets `fault` to
  // the reason; otherwise `fault` is unchanged.
  virtual Chaine DecryptChecked(const Chaine& data, std::string* fault) const;
  // True when the encryption of a stream depends on its dictionary: use ForStream then.
  virtual bool TellsStreamsApart() const;
  // The encrypter for the data of a stream with these properties; null when this encrypter is the right one.
  virtual std::unique_ptr<ZPDFEncrypter> ForStream(const ZPDFStreamTraits& stream) const;
  // Called after the object was read or written: frees what can be computed again, such as the object's key.
  virtual void Rest() const;
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
