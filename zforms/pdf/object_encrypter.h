#pragma once

#include <memory>

#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFEncrypter;
class ZPDFEncryption;
class ZPDFObjectIdentifier;

// The encrypter for one indirect object of a document with that security
// handler, or a neutral one when the handler is null. Declared for the nodes,
// which know no handler, and defined beside ZPDFEncryption::AllocEncrypter.
ZFORMS_API std::unique_ptr<ZPDFEncrypter> MakeObjectEncrypter(const ZPDFEncryption* handler,
                                                              const ZPDFObjectIdentifier& id);

}  // namespace zforms
