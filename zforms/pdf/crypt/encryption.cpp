#include "zforms/pdf/crypt/encryption.h"

#include <utility>

#include "zforms/pdf/crypt/crypt_filters.h"
#include "zforms/pdf/crypt/encrypter_by_filter.h"
#include "zforms/pdf/crypt/encrypter_standard.h"
#include "zforms/pdf/crypt/long_key_passwords.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/object_encrypter.h"
#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {
namespace {

constexpr uint32_t kFirstWithFilters = 4;  // the lowest "/V" with crypt filters

// A copy that does not depend on a document: values in other indirect objects are copied into it.
ZPDFNodeDictionary* CloneDetached(const ZPDFNodeDictionary& dictionary) {
  ZPDFNodeDictionary* clone = dictionary.Clone();
  for (size_t i = 0; i < clone->Size(); i++) {
    auto* entry = NodeCast<ZPDFNodeDictionaryEntry>(clone->GetDirectAt(i));
    ZPDFNode* value = entry == nullptr ? nullptr : entry->Value();
    if (value != nullptr && value->GetTarget() != value) entry->SetValue(value->GetTarget()->Clone());
  }
  clone->SetObjectProvider(nullptr);
  return clone;
}

}  // namespace

ZPDFEncryption::ZPDFEncryption(ZPDFNodeDictionary* dictionary, const Chaine& file_identifier,
                               const Chaine& user_password)
    : dictionary_(dictionary), user_password_(user_password), file_identifier_(file_identifier) {}

ZPDFEncryption::ZPDFEncryption(const ZPDFEncryption& other)
    : dictionary_(CloneDetached(*other.dictionary_)),
      owned_dictionary_(dictionary_),
      user_password_(other.user_password_),
      file_identifier_(other.file_identifier_),
      encryptions_(other.encryptions_),
      opening_(other.opening_) {}

ZPDFEncryption& ZPDFEncryption::operator=(const ZPDFEncryption& other) {
  if (this == &other) return *this;
  owned_dictionary_.reset(CloneDetached(*other.dictionary_));
  dictionary_ = owned_dictionary_.get();
  user_password_ = other.user_password_;
  file_identifier_ = other.file_identifier_;
  encryptions_ = other.encryptions_;
  opening_ = other.opening_;
  return *this;
}

ZPDFEncryption::~ZPDFEncryption() = default;

void ZPDFEncryption::SetEncryptions(ZPDFEncryptions encryptions) {
  encryptions_ = encryptions;
  opening_ = Opening();
}

const Chaine& ZPDFEncryption::Filter() const { return dictionary_->GetIdentifier("/Filter"); }

uint32_t ZPDFEncryption::AlgorithmCode() const { return dictionary_->GetUIntValue("/V"); }

uint32_t ZPDFEncryption::KeyLength() const {
  return dictionary_->Exist("/Length") ? dictionary_->GetUIntValue("/Length") : 40;
}

uint32_t ZPDFEncryption::StandardRevision() const { return dictionary_->GetUIntValue("/R"); }

uint32_t ZPDFEncryption::StandardFlags() const { return dictionary_->GetUIntValue("/P"); }

bool ZPDFEncryption::StandardEncryptMetadata() const {
  return !dictionary_->Exist("/EncryptMetadata") || dictionary_->GetBoolValue("/EncryptMetadata");
}

const Chaine& ZPDFEncryption::StandardOwnerKey() const { return dictionary_->GetStringValue("/O"); }

const Chaine& ZPDFEncryption::StandardUserKey() const { return dictionary_->GetStringValue("/U"); }

bool ZPDFEncryption::IsSupported() const {
  const uint32_t version = AlgorithmCode();
  if (Filter() != "/Standard") return false;
  if (version == 1 || version == 2) return !HasLongKey() && !KeySizes().empty();
  if (encryptions_ != ZPDFEncryptions::kAll || !ZPDFCryptFilters(*dictionary_).AreSupported()) return false;
  const uint32_t revision = StandardRevision();
  return version == 4 ? revision <= 4 : version == 5 && (revision == 5 || revision == 6);
}

ZPDFEncrypter* ZPDFEncryption::AllocEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id) {
  if (handler == nullptr) return new ZPDFEncrypterNeutral;
  const bool has_filters =
      handler->encryptions_ == ZPDFEncryptions::kAll && handler->AlgorithmCode() >= kFirstWithFilters;
  if (!has_filters) return new ZPDFEncrypterStandard(handler, id);
  std::shared_ptr<const ZPDFFilterKeys>& keys = handler->opening_.filter_keys;
  if (keys == nullptr) {
    // Makes the keys once, not for each object, because this takes long.
    if (handler->opening_.is_refused || !handler->CanBeDecrypted()) return new ZPDFEncrypterNeutral;
    ZPDFCryptFilters filters(*handler->dictionary_);
    const bool encrypts_metadata = handler->StandardEncryptMetadata();
    keys =
        handler->HasLongKey()
            ? std::make_shared<const ZPDFFilterKeys>(std::move(filters), *handler->opening_.long_key, encrypts_metadata)
            : std::make_shared<const ZPDFFilterKeys>(std::move(filters), handler->StandardComputedUserEncryptionKey(),
                                                     encrypts_metadata);
  }
  return new ZPDFEncrypterByFilter(keys, id);
}

std::unique_ptr<ZPDFEncrypter> MakeObjectEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id) {
  return std::unique_ptr<ZPDFEncrypter>(ZPDFEncryption::AllocEncrypter(handler, id));
}

}  // namespace zforms
