#pragma once

#include <memory>

namespace zforms {

class ZPDFEncrypter;
class ZPDFEncryption;
class ZPDFObjectIdentifier;

// The encrypter for one indirect object of a document with that security handler, or a neutral one when the handler is
// null. Declared here for the nodes, which do not depend on the handler, and defined beside
// ZPDFEncryption::AllocEncrypter.
std::unique_ptr<ZPDFEncrypter> MakeObjectEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id);

}  // namespace zforms
