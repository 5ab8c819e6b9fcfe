#pragma once

#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/platform/crypto/rc4.h"

namespace zforms {

class ZPDFEncryption;
class ZPDFObjectIdentifier;

// The encrypter of one object (ZPDFEncryption::EncrypterStandard; ISO 32000-1 algorithm 1): applies RC4 to each string
// and stream, each time from the start of the same key stream.
class ZPDFEncrypterStandard final : public ZPDFEncrypter {
 public:
  ZPDFEncrypterStandard(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id);
  // Makes the encrypter of an object from the file key.
  ZPDFEncrypterStandard(const Chaine& file_key, const ZPDFObjectIdentifier& id);
  ZPDFEncrypterStandard* Clone() const override;
  Chaine Encrypt(const Chaine& data) const override;

 private:
  RC4 prepared_;
};

}  // namespace zforms
