#pragma once

#include "zforms/platform/base/secret_text.h"

namespace zforms {

class ZPDFObjectIdentifier;

// The key of one object: a hash of the file key and the object's identifier (ISO 32000-1 algorithm 1). It is five bytes
// longer than the file key, but has at most 16 bytes. For AES, the hash includes a fixed text too.
SecretText ObjectKeyOf(const Chaine& file_key, const ZPDFObjectIdentifier& id, bool for_aes);

}  // namespace zforms
