#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFEncryption;

// The encryption method of the document, for messages: "RC4, 40 bits", "AES, 256 bits", "the security handler
// \"/Other\"" (ISO 32000-1 tables 20 and 25).
ZFORMS_API Chaine EncryptionMethod(const ZPDFEncryption& encryption);

// Why a document cannot be decrypted: its method is not supported, it needs a password, or the password is wrong.
// Precondition: !encryption.CanBeDecrypted().
ZFORMS_API Chaine EncryptionRefusal(const ZPDFEncryption& encryption);

}  // namespace zforms
