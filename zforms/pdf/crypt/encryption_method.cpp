#include "zforms/pdf/crypt/encryption_method.h"

#include "zforms/pdf/crypt/crypt_filters.h"
#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The method ("/CFM") of the crypt filter for streams, else of the one for strings; empty when there is none. Messages
// about methods that are not supported use it.
Chaine ForeignMethod(const ZPDFNodeDictionary& dictionary) {
  const auto* const filters = NodeCast<ZPDFNodeDictionary>(dictionary.GetTarget("/CF"));
  for (const char* key : {"/StmF", "/StrF"}) {
    const Chaine& name = dictionary.GetIdentifier(key);
    const ZPDFNode* const filter = filters == nullptr || name.IsEmpty() ? nullptr : filters->GetTarget(name);
    const auto* const entries = NodeCast<ZPDFNodeDictionary>(filter);
    if (entries != nullptr) return entries->GetIdentifier("/CFM");
  }
  return {};
}

// Says what the crypt filters encrypt, or leave unencrypted, as the end of a message; empty when they encrypt
// everything.
Chaine InClear(const ZPDFCryptFilters& filters, bool encrypts_metadata) {
  if (filters.ForStreams() == ZPDFCryptMethod::kNone && filters.ForStrings() == ZPDFCryptMethod::kNone) {
    return ", attached files only";
  }
  if (filters.ForStreams() == ZPDFCryptMethod::kNone) return ", strings only";
  if (filters.ForStrings() == ZPDFCryptMethod::kNone) return ", streams only";
  return encrypts_metadata ? Chaine() : Chaine(", metadata not encrypted");
}

}  // namespace

Chaine EncryptionMethod(const ZPDFEncryption& encryption) {
  if (encryption.Filter() != "/Standard") return "the security handler \"" + encryption.Filter() + "\"";
  const uint32_t code = encryption.AlgorithmCode();
  if (code == 1 || code == 2) return "RC4, " + FormatUInt(encryption.UsedKeyLength()) + " bits";
  const ZPDFCryptFilters filters(*encryption.Dictionary());
  const Chaine in_clear = code < 4 ? Chaine() : InClear(filters, encryption.StandardEncryptMetadata());
  switch (code < 4 ? ZPDFCryptMethod::kUnsupported : filters.Main()) {
    case ZPDFCryptMethod::kNone: return "crypt filters that encrypt nothing";
    case ZPDFCryptMethod::kRC4:
      return "RC4, " + FormatUInt(encryption.UsedKeyLength()) + " bits, by crypt filters" + in_clear;
    case ZPDFCryptMethod::kAESV2: return "AES, 128 bits" + in_clear;
    case ZPDFCryptMethod::kAESV3: return "AES, 256 bits" + in_clear;
    case ZPDFCryptMethod::kUnsupported: break;
  }
  const Chaine text = "algorithm " + FormatUInt(code);
  if (code < 4) return text;
  const Chaine method = ForeignMethod(*encryption.Dictionary());
  return text + (method.IsEmpty() ? Chaine(" with a crypt filter that names no method") : " with \"" + method + "\"");
}

Chaine EncryptionRefusal(const ZPDFEncryption& encryption) {
  if (!encryption.IsSupported()) return "unsupported encryption: " + EncryptionMethod(encryption);
  const Chaine damage = encryption.Damage();
  if (!damage.IsEmpty()) return "the encryption dictionary is damaged: " + damage;
  if (encryption.UserPassword().IsEmpty()) return "the document needs a password, and none was given";
  return "the password does not open the document";
}

}  // namespace zforms
