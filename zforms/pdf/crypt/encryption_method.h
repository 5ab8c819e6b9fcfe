#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFEncryption;

// How the document is enciphered, in words for its user: "RC4, 40 bits", "AES, 256
// bits", "the security handler \"/Other\"" (ISO 32000-1 tables 20 and 25).
ZFORMS_API Chaine EncryptionMethod(const ZPDFEncryption& encryption);

// Why a document that cannot be decrypted is not opened: its method is not read, it
// needs a password, the one that was given is another.
// Precondition: !encryption.CanBeDecrypted().
ZFORMS_API Chaine EncryptionRefusal(const ZPDFEncryption& encryption);

}  // namespace zforms
