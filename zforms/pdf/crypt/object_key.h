#pragma once

#include "zforms/platform/base/secret_text.h"

namespace zforms {

class ZPDFObjectIdentifier;

// The key of one object, made from the file key (ISO 32000-1 algorithm 1): five bytes longer, but 16 at most. For AES a
// fixed text is added.
SecretText ObjectKeyOf(const Chaine& file_key, const ZPDFObjectIdentifier& id, bool for_aes);

}  // namespace zforms
