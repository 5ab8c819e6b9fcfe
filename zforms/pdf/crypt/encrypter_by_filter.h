#pragma once

#include <memory>

#include "zforms/pdf/crypt/crypt_filters.h"
#include "zforms/pdf/object_identifier.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/platform/base/secret_text.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {

class ZPDFEncrypterAES;

// The common part of the encrypters of a document with crypt filters: the methods and the file key. Immutable; any
// number of threads may use one.
class ZPDFFilterKeys {
 public:
  // The key has up to 16 bytes for RC4 and AESV2, or 32 bytes for AESV3.
  ZPDFFilterKeys(ZPDFCryptFilters filters, const Chaine& file_key, bool encrypts_metadata);
  ZPDFFilterKeys(ZPDFCryptFilters filters, const SecretBytes<32>& file_key, bool encrypts_metadata);
  ZPDFFilterKeys(const ZPDFFilterKeys&) = delete;
  ZPDFFilterKeys& operator=(const ZPDFFilterKeys&) = delete;
  ~ZPDFFilterKeys();

  const ZPDFCryptFilters& Filters() const { return filters_; }
  // The method that encrypts the data of a stream with these properties.
  ZPDFCryptMethod MethodOf(const ZPDFStreamTraits& stream) const;
  std::unique_ptr<ZPDFEncrypter> Make(ZPDFCryptMethod method, const ZPDFObjectIdentifier& id) const;

 private:
  ZPDFCryptFilters filters_;
  SecretText file_key_;
  bool encrypts_metadata_;
  // The encrypter for the key of 32 bytes, which is the same for all objects; null when the key is shorter.
  std::unique_ptr<const ZPDFEncrypterAES> aes_256_;
};

// The encrypter of one object in a document with crypt filters ("/V" 4 and 5; ISO 32000-1 7.6.5): strings and streams
// may have different methods.
class ZPDFEncrypterByFilter final : public ZPDFEncrypter {
 public:
  ZPDFEncrypterByFilter(std::shared_ptr<const ZPDFFilterKeys> keys, const ZPDFObjectIdentifier& id);
  ~ZPDFEncrypterByFilter() override;
  ZPDFEncrypterByFilter* Clone() const override;
  // These functions are for strings; see ForStream for streams.
  Chaine Encrypt(const Chaine& data) const override;
  Chaine Decrypt(const Chaine& data) const override;
  Chaine DecryptChecked(const Chaine& data, std::string* fault) const override;

  bool TellsStreamsApart() const override { return true; }
  std::unique_ptr<ZPDFEncrypter> ForStream(const ZPDFStreamTraits& stream) const override;
  void Rest() const override { strings_.reset(); }

 private:
  const ZPDFEncrypter& ForStrings() const;

  std::shared_ptr<const ZPDFFilterKeys> keys_;
  ZPDFObjectIdentifier id_;
  mutable std::unique_ptr<ZPDFEncrypter> strings_;  // the encrypter for strings, null until it is needed
};

}  // namespace zforms
