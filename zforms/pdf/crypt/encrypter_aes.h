#pragma once

#include <memory>
#include <string_view>

#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/platform/base/secret_text.h"

namespace zforms {

class AES;

// Encrypts strings and streams with AES (ISO 32000-1 algorithm 1, ISO 32000-2 algorithm 1.A): cipher block chaining, a
// random initialization vector before the data, and a padding of 1 to 16 bytes after them (RFC 8018 6.1.1). Copies
// share the prepared key.
class ZPDFEncrypterAES final : public ZPDFEncrypter {
 public:
  // Takes the file key, which has 32 bytes, and prepares it at once, so that any number of threads may use copies.
  explicit ZPDFEncrypterAES(std::string_view key);
  // Takes the key of one object, which has 16 bytes and is prepared when it is first needed.
  static ZPDFEncrypterAES ForOneObject(const Chaine& key);
  ZPDFEncrypterAES(const ZPDFEncrypterAES& other);
  ZPDFEncrypterAES& operator=(const ZPDFEncrypterAES&) = delete;
  ~ZPDFEncrypterAES() override;
  ZPDFEncrypterAES* Clone() const override;
  Chaine Encrypt(const Chaine& data) const override;
  Chaine Decrypt(const Chaine& data) const override;
  // If the data end within a block, only the whole blocks are decrypted; a wrong padding is kept. Data shorter than an
  // initialization vector are returned unchanged.
  Chaine DecryptChecked(const Chaine& data, std::string* fault) const override;

 private:
  ZPDFEncrypterAES();

  SecretText key_;  // the key of one object; empty when the constructor prepared the key
  mutable std::shared_ptr<const AES> encrypt_, decrypt_;
};

}  // namespace zforms
