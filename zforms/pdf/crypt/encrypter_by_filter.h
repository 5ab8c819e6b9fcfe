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
  // Which method encrypts the data of such a stream.
  ZPDFCryptMethod MethodOf(const ZPDFStreamTraits& stream) const;
  std::unique_ptr<ZPDFEncrypter> Make(ZPDFCryptMethod method, const ZPDFObjectIdentifier& id) const;

 private:
  ZPDFCryptFilters filters_;
  SecretText file_key_;
  bool encrypts_metadata_;
  // The long key is used unchanged for all objects; null with a short key.
  std::unique_ptr<const ZPDFEncrypterAES> aes_256_;
};

// The encrypter of one object in a document with crypt filters ("/V" 4 and 5; ISO 32000-1 7.6.5): strings and streams
// may have different methods.
class ZPDFEncrypterByFilter final : public ZPDFEncrypter {
 public:
  ZPDFEncrypterByFilter(std::shared_ptr<const ZPDFFilterKeys> keys, const ZPDFObjectIdentifier& id);
  ~ZPDFEncrypterByFilter() override;
  ZPDFEncrypterByFilter* Clone() const override;
  // For strings.
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
  mutable std::unique_ptr<ZPDFEncrypter> strings_;  // null until it is needed
};

}  // namespace zforms
