#pragma once

#include <memory>

namespace zforms {

class ZPDFEncrypter;
class ZPDFEncryption;
class ZPDFObjectIdentifier;

// Makes the encrypter for one indirect object. `handler` is the security handler of the document; when it is null, the
// encrypter changes nothing. Declared here so that the nodes do not depend on the handler; defined beside
// ZPDFEncryption::AllocEncrypter.
std::unique_ptr<ZPDFEncrypter> MakeObjectEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id);

}  // namespace zforms
