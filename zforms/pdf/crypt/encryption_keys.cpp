// The keys and passwords of the security handler: opening a file, and new entries for new passwords.

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "zforms/pdf/crypt/encryption.h"
#include "zforms/pdf/crypt/long_key_passwords.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/crypto/rc4.h"
#include "zforms/platform/text/sasl_prep.h"

namespace zforms {
namespace {

using namespace std::string_view_literals;

constexpr size_t kPaddedLength = 32;
constexpr size_t kDigestLength = 16;
constexpr size_t kShortestKey = 5;
constexpr size_t kLongKeyLength = 32;
constexpr size_t kLongEntryLength = 48;  // the length of "/O" and "/U" from revision 5 on
constexpr uint32_t kNewestRevision = 6;
constexpr int kExtraRounds = 50;
constexpr int kKeyRounds = 19;

// The password padding string (ISO 32000-1 7.6.3.3, algorithm 2 step a).
constexpr std::string_view kPadding =
    "\x28\xBF\x4E\x5E\x4E\x75\x8A\x41\x64\x00\x4E\x56\xFF\xFA\x01\x08"
    "\x2E\x2E\x00\xB6\xD0\x68\x3E\x80\x2F\x0C\xA9\xFE\x64\x53\x69\x7A"sv;

SecretText Padded(const Chaine& password) {
  const SecretText longer = password + kPadding;
  return longer.Mid(0, kPaddedLength);
}

Chaine RC4Of(std::string_view key, std::string_view data) { return RC4(key).Apply(data); }

// Appends the low bytes of the value, least significant first.
void AppendLowBytes(Chaine* out, uint32_t value, int count) {
  for (int i = 0; i < count; i++) out->Append(static_cast<char>((value >> (8 * i)) & 0xFF));
}

SecretText XoredWith(const Chaine& key, int value) {
  SecretText result;
  char* out = result.AppendUninitialized(key.size());
  for (const char c : key.View()) *out++ = static_cast<char>(static_cast<unsigned char>(c) ^ value);
  return result;
}

// Applies RC4 nineteen more times; in each pass, every byte of the key is XORed with the number of the pass.
Chaine RC4Rounds(const Chaine& key, Chaine data) {
  for (int round = 1; round <= kKeyRounds; round++) data = RC4Of(XoredWith(key, round), data);
  return data;
}

// Prepares a password for revisions 5 and 6 (RFC 4013). A password with characters that are not allowed is used
// unchanged, since the writer of the file may have used it so.
SecretText PreparedForOpening(const Chaine& password) {
  std::optional<SecretText> prepared = SASLPrep(password);
  return prepared ? *std::move(prepared) : SecretText(password);
}

}  // namespace

PTableau<size_t> ZPDFEncryption::KeySizes() const {
  PTableau<size_t> sizes;
  const size_t length = KeyLength();
  // By ISO 32000-1 table 20 "/Length" is in bits and applies at "/V" 2 only; the keys of crypt filters have 128 bits.
  // Some writers state "/Length" in bytes.
  const size_t by_version = AlgorithmCode() == 1 ? kShortestKey : AlgorithmCode() == 4 ? kDigestLength : 0;
  const bool is_fixed = AlgorithmCode() == 4;
  for (const size_t bytes : {is_fixed ? by_version : length / 8, is_fixed ? length / 8 : by_version, length}) {
    if (bytes >= kShortestKey && bytes <= kDigestLength) sizes.push_back(bytes);
  }
  return sizes;
}

size_t ZPDFEncryption::KeyBytes() const {
  if (opening_.key_bytes != 0) return opening_.key_bytes;
  return AlgorithmCode() == 4 ? kDigestLength : AlgorithmCode() == 5 ? kLongKeyLength : KeyLength() / 8;
}

SecretText ZPDFEncryption::ComputeKey(const Chaine& user_password, size_t length, bool encrypt_metadata) const {
  constexpr size_t kNumbers = 8;  // 4 bytes for the permissions, and 4 that say that metadata are not encrypted
  SecretText material;
  material.Reserve(kPaddedLength + StandardOwnerKey().size() + file_identifier_.size() + kNumbers);
  material += Padded(user_password);
  material += StandardOwnerKey();
  AppendLowBytes(&material, StandardFlags(), 4);
  material += file_identifier_;
  if (StandardRevision() > 2 && !encrypt_metadata) material += "\xFF\xFF\xFF\xFF";
  length = std::min(length, kDigestLength);
  SecretText digest = MD5Of(material);
  if (StandardRevision() > 2) {
    for (int i = 0; i < kExtraRounds; i++) digest = MD5Of(digest.Mid(0, length));
  }
  return digest.Mid(0, length);
}

const Chaine& ZPDFEncryption::StandardComputedUserEncryptionKey() const {
  if (opening_.key.IsEmpty() && !HasLongKey()) {
    opening_.key = ComputeKey(KeyPassword(), KeyBytes(), StandardEncryptMetadata());
  }
  return opening_.key;
}

Chaine ZPDFEncryption::StandardComputeO(const Chaine& owner) const {
  SecretText digest = MD5Of(Padded(owner.IsEmpty() ? KeyPassword() : owner));
  if (StandardRevision() > 2) {
    for (int i = 0; i < kExtraRounds; i++) digest = MD5Of(digest);
  }
  Chaine data = RC4Of(digest.Mid(0, KeyBytes()), Padded(KeyPassword()));
  // The rounds use all 16 bytes of the digest, even for shorter keys.
  return StandardRevision() > 2 ? RC4Rounds(digest, data) : data;
}

Chaine ZPDFEncryption::StandardComputeU(const Chaine& key) const {
  if (StandardRevision() <= 2) return RC4Of(key, kPadding);
  const Chaine digest = MD5Of(Chaine(kPadding) + file_identifier_);
  return (RC4Rounds(key, RC4Of(key, digest)) + kPadding).Mid(0, kPaddedLength);
}

bool ZPDFEncryption::MatchesUserKey(const Chaine& key) const {
  const Chaine computed = StandardComputeU(key);
  if (StandardRevision() == 2) return EqualsInConstantTime(computed, StandardUserKey());
  return EqualsInConstantTime(computed.Mid(0, kDigestLength), StandardUserKey().Mid(0, kDigestLength));
}

// Decrypts "/O" with an owner password, and returns the possible results: padded user passwords (ISO 32000-1 algorithm
// 7). When the key is shorter than a digest, some writers repeat RC4 with the whole digest as the key, so both lengths
// are tried.
PTableau<SecretText> ZPDFEncryption::UserPasswordsBehind(const Chaine& owner) const {
  PTableau<SecretText> found;
  SecretText digest = MD5Of(Padded(owner));
  const bool has_rounds = StandardRevision() > 2;
  for (int i = 0; has_rounds && i < kExtraRounds; i++) digest = MD5Of(digest);
  for (const size_t bytes : KeySizes()) {
    const SecretText key = digest.Mid(0, bytes);
    if (!has_rounds) found.push_back(RC4Of(key, StandardOwnerKey()));
    if (!has_rounds) continue;
    for (const SecretText& round_key : {key, digest}) {
      SecretText data = StandardOwnerKey();
      for (int round = kKeyRounds; round > 0; round--) data = RC4Of(XoredWith(round_key, round), data);
      found.push_back(RC4Of(key, data));
      if (bytes == kDigestLength) break;
    }
  }
  return found;
}

// Tries the user password with each possible length of the key. The key may depend on whether metadata are encrypted:
// writers disagree about this in files of revision 3 and later, so both ways are tried.
bool ZPDFEncryption::OpenWith(const Chaine& user_password, Opening* opening) const {
  const bool stated = StandardEncryptMetadata();
  const bool is_in_doubt = StandardRevision() >= 3 && !stated;
  for (const size_t bytes : KeySizes()) {
    for (const bool encrypt_metadata : {stated, true}) {
      opening->key = ComputeKey(user_password, bytes, encrypt_metadata);
      opening->key_bytes = bytes;
      if (MatchesUserKey(opening->key)) {
        opening->confirmed_by = StandardUserKey();
        return true;
      }
      if (!is_in_doubt) break;
    }
  }
  return false;
}

bool ZPDFEncryption::OpenShort(const Chaine& password, bool as_owner, Opening* opening) const {
  if (!as_owner) return OpenWith(password, opening);
  for (const SecretText& user_password : UserPasswordsBehind(password)) {
    if (!OpenWith(user_password, opening)) continue;
    opening->user_password = user_password;
    return true;
  }
  return false;
}

ZPDFLongKeyStrings ZPDFEncryption::LongKeyStrings() const {
  return {StandardOwnerKey(), StandardUserKey(), dictionary_->GetStringValue("/OE"), dictionary_->GetStringValue("/UE"),
          dictionary_->GetStringValue("/Perms")};
}

bool ZPDFEncryption::OpenLong(const Chaine& password, bool as_owner, Opening* opening) const {
  const ZPDFPasswordKind kind = as_owner ? ZPDFPasswordKind::kOwner : ZPDFPasswordKind::kUser;
  const ZPDFLongKeyStrings strings = LongKeyStrings();
  // Checks only the strings of the given kind of password. The owner's strings depend on "/U", so it is checked too.
  const auto are_whole = [](const Chaine& entry, const Chaine& locked_key) {
    return entry.size() >= kLongEntryLength && locked_key.size() >= kLongKeyLength;
  };
  if (as_owner ? !are_whole(strings.o, strings.oe) || strings.u.size() < kLongEntryLength
               : !are_whole(strings.u, strings.ue)) {
    return false;
  }
  const SecretText prepared = PreparedForOpening(password);
  for (const Chaine& bytes : {Chaine(prepared), password}) {
    auto key = std::make_shared<ZPDFLongKey>();
    if (OpenLongKey(strings, StandardRevision(), kind, bytes, key.get())) {
      opening->long_key = std::move(key);
      opening->key_bytes = kLongKeyLength;
      return true;
    }
    if (prepared == password) break;
  }
  return false;
}

bool ZPDFEncryption::Open(const Chaine& password, bool as_owner, Opening* opening) const {
  const bool opens = HasLongKey() ? OpenLong(password, as_owner, opening) : OpenShort(password, as_owner, opening);
  opening->by_owner = opens && as_owner;
  return opens;
}

// Whether the key in use matches "/U", which a host may have changed since the file was opened.
bool ZPDFEncryption::IsConfirmed() const {
  const Chaine& user_key = StandardUserKey();
  if (!opening_.confirmed_by.IsEmpty() && opening_.confirmed_by == user_key) return true;
  if (!MatchesUserKey(StandardComputedUserEncryptionKey())) return false;
  opening_.confirmed_by = user_key;
  return true;
}

bool ZPDFEncryption::CanBeDecrypted() const {
  if (!IsSupported()) return false;
  if (opening_.key_bytes != 0 && (HasLongKey() || IsConfirmed())) return true;
  if (HasLongKey() && opening_.is_refused) return false;
  opening_ = Opening();
  if (Open(user_password_, false, &opening_)) return true;
  if (encryptions_ == ZPDFEncryptions::kAll && Open(user_password_, true, &opening_)) return true;
  opening_ = Opening();
  opening_.is_refused = true;
  return false;
}

bool ZPDFEncryption::HasOwnerRights() const {
  if (opening_.by_owner) return true;
  if (!opening_.owner_rights) {
    Opening ignored;
    opening_.owner_rights =
        Open(user_password_, true, &ignored) || (!user_password_.IsEmpty() && Open(Chaine(), true, &ignored));
  }
  return *opening_.owner_rights;
}

Chaine ZPDFEncryption::Damage() const {
  const size_t length = HasLongKey() ? kLongEntryLength : kPaddedLength;
  const struct {
    const char* key;
    size_t length;
  } needed[] = {{"/O", length}, {"/U", length}, {"/OE", kLongKeyLength}, {"/UE", kLongKeyLength}};
  for (const auto& [key, bytes] : needed) {
    const size_t found = dictionary_->GetStringValue(key).size();
    if (found < bytes) return Chaine("\"") + key + "\" has " + FormatUInt(found) + " bytes, not " + FormatUInt(bytes);
    if (!HasLongKey() && key == std::string_view("/U")) break;
  }
  return {};
}

bool ZPDFEncryption::ConfirmsPermissions() const {
  if (!HasLongKey()) return true;
  const Chaine& perms = dictionary_->GetStringValue("/Perms");
  return perms.size() >= kDigestLength &&
         zforms::ConfirmsPermissions(perms, opening_.long_key->View(), StandardFlags(), StandardEncryptMetadata());
}

// --- new entries ---

ZPDFEncryption* ZPDFEncryption::Create(std::unique_ptr<ZPDFNodeDictionary> dictionary, const Chaine& file_identifier) {
  auto* handler = new ZPDFEncryption(dictionary.get(), file_identifier, Chaine());
  handler->owned_dictionary_ = std::move(dictionary);
  return handler;
}

ZPDFEncryption* ZPDFEncryption::CreateStandard(const Chaine& file_identifier, const Chaine& user_password,
                                               const Chaine& owner_password) {
  auto dictionary = std::make_unique<ZPDFNodeDictionary>();
  dictionary->SetIdentifier("/Filter", "/Standard");
  dictionary->SetValue("/V", 1);
  dictionary->SetValue("/Length", 40);
  dictionary->SetValue("/R", 3);
  dictionary->SetValue("/P", -4);
  dictionary->SetValue("/EncryptMetadata", true);
  ZPDFEncryption* const handler = Create(std::move(dictionary), file_identifier);
  handler->SetPasswords(user_password, owner_password);
  return handler;
}

ZPDFEncryption* ZPDFEncryption::CreateAES256(const Chaine& user_password, const Chaine& owner_password) {
  auto dictionary = std::make_unique<ZPDFNodeDictionary>();
  dictionary->SetIdentifier("/Filter", "/Standard");
  dictionary->SetValue("/V", 5);
  dictionary->SetValue("/Length", 256);
  dictionary->SetValue("/R", 6);
  dictionary->SetValue("/P", -4);
  auto* const filter = new ZPDFNodeDictionary;
  filter->SetIdentifier("/CFM", "/AESV3");
  filter->SetIdentifier("/AuthEvent", "/DocOpen");
  filter->SetValue("/Length", 32);
  auto* const filters = new ZPDFNodeDictionary;
  filters->SetValue("/StdCF", filter);
  dictionary->SetValue("/CF", filters);
  dictionary->SetIdentifier("/StmF", "/StdCF");
  dictionary->SetIdentifier("/StrF", "/StdCF");
  std::unique_ptr<ZPDFEncryption> handler(Create(std::move(dictionary), Chaine()));
  handler->SetEncryptions(ZPDFEncryptions::kAll);
  return handler->SetPasswords(user_password, owner_password) ? handler.release() : nullptr;
}

bool ZPDFEncryption::SetPasswords(const Chaine& user, const Chaine& owner) {
  if (HasLongKey()) return SetLongKey(user, owner);
  opening_ = Opening();
  user_password_ = user;
  return SetOwnerPassword(owner);
}

bool ZPDFEncryption::SetOwnerPassword(const Chaine& owner) {
  if (HasLongKey()) return SetLongKey(user_password_, owner);
  opening_.key.Wipe();
  opening_.owner_rights.reset();
  opening_.filter_keys.reset();
  opening_.is_refused = false;
  dictionary_->SetValue("/O", StandardComputeO(owner));
  dictionary_->SetValue("/U", StandardComputeU(StandardComputedUserEncryptionKey()));
  return true;
}

bool ZPDFEncryption::SetLongKey(const Chaine& user, const Chaine& owner) {
  const std::optional<SecretText> prepared_user = SASLPrep(user);
  const std::optional<SecretText> prepared_owner = SASLPrep(owner.IsEmpty() ? user : owner);
  if (!prepared_user || !prepared_owner || StandardRevision() > kNewestRevision) return false;
  auto key = std::make_shared<ZPDFLongKey>();
  FillRandom(key->data(), kLongKeyLength);
  const ZPDFLongKeyStrings strings = LockLongKey(*key, *prepared_user, *prepared_owner);
  opening_ = Opening();
  user_password_ = user;
  opening_.long_key = std::move(key);
  opening_.key_bytes = kLongKeyLength;
  // Writes entries of revision 6 in place of revision 5, which is obsolete.
  dictionary_->SetValue("/R", kNewestRevision);
  dictionary_->SetValue("/O", strings.o);
  dictionary_->SetValue("/U", strings.u);
  dictionary_->SetValue("/OE", strings.oe);
  dictionary_->SetValue("/UE", strings.ue);
  SetStandardFlags(StandardFlags());
  return true;
}

void ZPDFEncryption::SetStandardFlags(uint32_t flags) {
  dictionary_->SetValue("/P", static_cast<int32_t>(flags));
  if (HasLongKey()) {
    if (opening_.long_key == nullptr) return;
    dictionary_->SetValue("/Perms", PermissionsFor(opening_.long_key->View(), flags, StandardEncryptMetadata()));
    return;
  }
  opening_.key.Wipe();
  opening_.filter_keys.reset();
  dictionary_->SetValue("/U", StandardComputeU(StandardComputedUserEncryptionKey()));
}

}  // namespace zforms
