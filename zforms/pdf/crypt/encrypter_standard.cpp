#include "zforms/pdf/crypt/encrypter_standard.h"

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/crypt/object_key.h"

namespace zforms {

ZPDFEncrypterStandard::ZPDFEncrypterStandard(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id)
    : ZPDFEncrypterStandard(handler->StandardComputedUserEncryptionKey(), id) {}

ZPDFEncrypterStandard::ZPDFEncrypterStandard(const Chaine& file_key, const ZPDFObjectIdentifier& id)
    : prepared_(ObjectKeyOf(file_key, id, false)) {}

ZPDFEncrypterStandard* ZPDFEncrypterStandard::Clone() const { return new ZPDFEncrypterStandard(*this); }

Chaine ZPDFEncrypterStandard::Encrypt(const Chaine& data) const {
  RC4 cipher = prepared_;
  return cipher.Apply(data);
}

}  // namespace zforms
