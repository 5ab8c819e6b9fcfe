#include "zforms/pdf/crypt/encrypter_standard.h"

#include <algorithm>

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/crypto/md5.h"

namespace zforms {
namespace {

// The 16-byte digest from which the object's key is cut.
Chaine ObjectKey(const Chaine& file_key, const ZPDFObjectIdentifier& id) {
  Chaine material = file_key;
  for (const int shift : {0, 8, 16}) material += static_cast<char>((id.Number() >> shift) & 0xFF);
  for (const int shift : {0, 8}) material += static_cast<char>((id.Generation() >> shift) & 0xFF);
  return MD5Of(material);
}

// The key is five bytes longer than the file's, but never longer than the digest.
size_t ObjectKeyLength(const Chaine& file_key) { return std::min<size_t>(file_key.size() + 5, 16); }

}  // namespace

ZPDFEncrypterStandard::ZPDFEncrypterStandard(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id)
    : object_key_(ObjectKey(handler->StandardComputedUserEncryptionKey(), id)),
      prepared_(object_key_.View().substr(0, ObjectKeyLength(handler->StandardComputedUserEncryptionKey()))) {}

ZPDFEncrypterStandard* ZPDFEncrypterStandard::Clone() const { return new ZPDFEncrypterStandard(*this); }

Chaine ZPDFEncrypterStandard::Encrypt(const Chaine& data) const {
  RC4 cipher = prepared_;
  return cipher.Apply(data);
}

}  // namespace zforms
