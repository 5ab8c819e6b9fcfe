#include "zforms/pdf/crypt/encryption.h"

#include <algorithm>

#include "zforms/pdf/crypt/encrypter_standard.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/object_encrypter.h"
#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/crypto/rc4.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

constexpr size_t kPaddedLength = 32;
constexpr size_t kDigestLength = 16;
constexpr size_t kShortestKey = 5;
constexpr int kExtraRounds = 50;
constexpr int kKeyRounds = 19;

// The password padding string (ISO 32000-1 7.6.3.3, algorithm 2 step a).
constexpr std::string_view kPadding =
    "\x28\xBF\x4E\x5E\x4E\x75\x8A\x41\x64\x00\x4E\x56\xFF\xFA\x01\x08"
    "\x2E\x2E\x00\xB6\xD0\x68\x3E\x80\x2F\x0C\xA9\xFE\x64\x53\x69\x7A"sv;

Chaine Padded(const Chaine& password) { return (password + kPadding).Mid(0, kPaddedLength); }

Chaine RC4Of(std::string_view key, std::string_view data) { return RC4(key).Apply(data); }

// Appends the low bytes of the value, least significant first.
void AppendLowBytes(Chaine* out, uint32_t value, int count) {
  for (int i = 0; i < count; i++) out->Append(static_cast<char>((value >> (8 * i)) & 0xFF));
}

Chaine XoredWith(const Chaine& key, int value) {
  Chaine result;
  char* out = result.AppendUninitialized(key.size());
  for (const char c : key.View()) *out++ = static_cast<char>(static_cast<unsigned char>(c) ^ value);
  return result;
}

// Nineteen more passes of RC4; in each, every byte of the key is XORed with the number of the pass.
Chaine RC4Rounds(const Chaine& key, Chaine data) {
  for (int round = 1; round <= kKeyRounds; round++) data = RC4Of(XoredWith(key, round), data);
  return data;
}

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
      user_key_(other.user_key_),
      key_bytes_(other.key_bytes_) {}

ZPDFEncryption& ZPDFEncryption::operator=(const ZPDFEncryption& other) {
  if (this == &other) return *this;
  owned_dictionary_.reset(CloneDetached(*other.dictionary_));
  dictionary_ = owned_dictionary_.get();
  user_password_ = other.user_password_;
  file_identifier_ = other.file_identifier_;
  user_key_ = other.user_key_;
  key_bytes_ = other.key_bytes_;
  return *this;
}

ZPDFEncryption::~ZPDFEncryption() = default;

ZPDFEncryption* ZPDFEncryption::CreateStandard(const Chaine& file_identifier, const Chaine& user_password,
                                               const Chaine& owner_password) {
  auto dictionary = std::make_unique<ZPDFNodeDictionary>();
  dictionary->SetIdentifier("/Filter", "/Standard");
  dictionary->SetValue("/V", 1);
  dictionary->SetValue("/Length", 40);
  dictionary->SetValue("/R", 3);
  dictionary->SetValue("/P", -4);
  dictionary->SetValue("/EncryptMetadata", true);
  auto* handler = new ZPDFEncryption(dictionary.get(), file_identifier, user_password);
  handler->owned_dictionary_ = std::move(dictionary);
  handler->SetPasswords(user_password, owner_password);
  return handler;
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

void ZPDFEncryption::SetPasswords(const Chaine& user, const Chaine& owner) {
  user_password_ = user;
  SetOwnerPassword(owner);
}

void ZPDFEncryption::SetOwnerPassword(const Chaine& owner) {
  user_key_.Clear();
  dictionary_->SetValue("/O", StandardComputeO(owner));
  dictionary_->SetValue("/U", StandardComputeU());
}

void ZPDFEncryption::SetStandardFlags(uint32_t flags) {
  user_key_.Clear();
  dictionary_->SetValue("/P", static_cast<int32_t>(flags));
  dictionary_->SetValue("/U", StandardComputeU());
}

PTableau<size_t> ZPDFEncryption::KeySizes() const {
  PTableau<size_t> sizes;
  const size_t length = KeyLength();
  // By ISO 32000-1 table 20 "/Length" is in bits and applies at "/V" 2 only. Some writers count bytes.
  for (const size_t bytes : {length / 8, AlgorithmCode() == 1 ? kShortestKey : 0, length}) {
    if (bytes >= kShortestKey && bytes <= kDigestLength) sizes.push_back(bytes);
  }
  return sizes;
}

size_t ZPDFEncryption::KeyBytes() const { return key_bytes_ != 0 ? key_bytes_ : KeyLength() / 8; }

Chaine ZPDFEncryption::ComputeKey(bool encrypt_metadata) const {
  Chaine material = Padded(user_password_) + StandardOwnerKey();
  AppendLowBytes(&material, StandardFlags(), 4);
  material += file_identifier_;
  if (StandardRevision() > 2 && !encrypt_metadata) material += "\xFF\xFF\xFF\xFF";
  const size_t length = std::min(KeyBytes(), kDigestLength);
  Chaine digest = MD5Of(material);
  if (StandardRevision() > 2) {
    for (int i = 0; i < kExtraRounds; i++) digest = MD5Of(digest.Mid(0, length));
  }
  return digest.Mid(0, length);
}

const Chaine& ZPDFEncryption::StandardComputedUserEncryptionKey() const {
  if (user_key_.IsEmpty()) user_key_ = ComputeKey(StandardEncryptMetadata());
  return user_key_;
}

Chaine ZPDFEncryption::StandardComputeO(const Chaine& owner) const {
  Chaine digest = MD5Of(Padded(owner.IsEmpty() ? user_password_ : owner));
  if (StandardRevision() > 2) {
    for (int i = 0; i < kExtraRounds; i++) digest = MD5Of(digest);
  }
  Chaine data = RC4Of(digest.Mid(0, KeyBytes()), Padded(user_password_));
  // The rounds use all 16 bytes of the digest, even for shorter keys.
  return StandardRevision() > 2 ? RC4Rounds(digest, data) : data;
}

Chaine ZPDFEncryption::StandardComputeU() const {
  const Chaine& key = StandardComputedUserEncryptionKey();
  if (StandardRevision() <= 2) return RC4Of(key, kPadding);
  const Chaine digest = MD5Of(Chaine(kPadding) + file_identifier_);
  return (RC4Rounds(key, RC4Of(key, digest)) + kPadding).Mid(0, kPaddedLength);
}

bool ZPDFEncryption::MatchesUserKey() const {
  const Chaine computed = StandardComputeU();
  if (StandardRevision() == 2) return computed == StandardUserKey();
  return computed.Mid(0, kDigestLength) == StandardUserKey().Mid(0, kDigestLength);
}

bool ZPDFEncryption::CanBeDecrypted() const {
  if (Filter() != "/Standard" || (AlgorithmCode() != 1 && AlgorithmCode() != 2)) return false;
  if (key_bytes_ != 0 && MatchesUserKey()) return true;
  for (const size_t bytes : KeySizes()) {
    key_bytes_ = bytes;
    user_key_.Clear();
    if (MatchesWithEitherMetadata()) return true;
  }
  key_bytes_ = 0;
  user_key_.Clear();
  return false;
}

bool ZPDFEncryption::MatchesWithEitherMetadata() const {
  if (MatchesUserKey()) return true;
  if (StandardRevision() < 3 || StandardEncryptMetadata()) return false;
  // Writers disagree whether the key depends on unencrypted metadata at revision 3, so both ways are tried.
  user_key_ = ComputeKey(true);
  if (MatchesUserKey()) return true;
  user_key_.Clear();
  return false;
}

ZPDFEncrypter* ZPDFEncryption::AllocEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id) {
  if (handler == nullptr) return new ZPDFEncrypterNeutral;
  return new ZPDFEncrypterStandard(handler, id);
}

std::unique_ptr<ZPDFEncrypter> MakeObjectEncrypter(const ZPDFEncryption* handler, const ZPDFObjectIdentifier& id) {
  return std::unique_ptr<ZPDFEncrypter>(ZPDFEncryption::AllocEncrypter(handler, id));
}

}  // namespace zforms
