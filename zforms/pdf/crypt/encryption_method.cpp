#include "zforms/pdf/crypt/encryption_method.h"

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The method of the crypt filter for streams, or of the one for strings when streams are not encrypted.
Chaine CryptFilterMethod(const ZPDFNodeDictionary& dictionary) {
  const auto* const filters = NodeCast<ZPDFNodeDictionary>(dictionary.GetTarget("/CF"));
  for (const char* key : {"/StmF", "/StrF"}) {
    const Chaine& name = dictionary.GetIdentifier(key);
    const ZPDFNode* const filter = filters == nullptr || name.IsEmpty() ? nullptr : filters->GetTarget(name);
    const auto* const entries = NodeCast<ZPDFNodeDictionary>(filter);
    if (entries != nullptr) return entries->GetIdentifier("/CFM");
  }
  return {};
}

}  // namespace

Chaine EncryptionMethod(const ZPDFEncryption& encryption) {
  if (encryption.Filter() != "/Standard") return "the security handler \"" + encryption.Filter() + "\"";
  const uint32_t code = encryption.AlgorithmCode();
  if (code == 1 || code == 2) return "RC4, " + FormatUInt(encryption.UsedKeyLength()) + " bits";
  const Chaine method = code < 4 ? Chaine() : CryptFilterMethod(*encryption.Dictionary());
  if (method == "/AESV2") return "AES, 128 bits";
  if (method == "/AESV3") return "AES, 256 bits";
  if (method == "/V2") return "RC4 by crypt filters";
  return "algorithm " + FormatUInt(code) + (method.IsEmpty() ? Chaine() : " with \"" + method + "\"");
}

Chaine EncryptionRefusal(const ZPDFEncryption& encryption) {
  const uint32_t code = encryption.AlgorithmCode();
  const bool is_read =
      encryption.Filter() == "/Standard" && (code == 1 || code == 2) && encryption.IsKeyLengthSupported();
  if (!is_read) return "unsupported encryption: " + EncryptionMethod(encryption);
  if (encryption.UserPassword().IsEmpty()) return "the document opens with a password, and none was given";
  return "the password does not open the document";
}

}  // namespace zforms
