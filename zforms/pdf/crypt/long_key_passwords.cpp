#include "zforms/pdf/crypt/long_key_passwords.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

#include "zforms/platform/crypto/aes.h"
#include "zforms/platform/crypto/sha2.h"

namespace zforms {
namespace {

constexpr size_t kLongestPassword = 127;
constexpr size_t kHash = 32;
constexpr size_t kSalt = 8;
// The length of "/O" and "/U": a hash, the salt for it, and the salt for the key.
constexpr size_t kEntry = kHash + 2 * kSalt;
constexpr int kRepeats = 64;
constexpr int kLeastRounds = 64;
constexpr int kMostRounds = 288;

std::string_view Validation(std::string_view entry) { return entry.substr(kHash, kSalt); }
std::string_view KeySalt(std::string_view entry) { return entry.substr(kHash + kSalt, kSalt); }

// Encrypts or decrypts a file key, with an initialization vector of zeros and without padding.
void Cross(AES::Direction direction, const ZPDFLongKey& key, const char* in, char* out) {
  AES::Block start = {};
  AES(direction, key.View()).CBC(&start, in, out, kHash);
}

// The data of one round: 64 times the password, the digest so far and "/U", enciphered in place.
class RoundData {
 public:
  RoundData(std::string_view password, std::string_view user_entry) : password_(password), user_entry_(user_entry) {}

  std::string_view Encipher(std::string_view digest) {
    char* at = bytes_.data();
    for (const std::string_view part : {password_, digest, user_entry_}) at = std::copy(part.begin(), part.end(), at);
    const auto once = static_cast<size_t>(at - bytes_.data());
    for (int i = 1; i < kRepeats; i++) at = std::copy_n(bytes_.data(), once, at);
    AES::Block start;
    std::copy_n(digest.data() + AES::kBlock, start.size(), start.data());
    const AES cipher(AES::Direction::kEncrypt, digest.substr(0, AES::kBlock));
    cipher.CBC(&start, bytes_.data(), bytes_.data(), once * kRepeats);
    return bytes_.View(0, once * kRepeats);
  }

 private:
  std::string_view password_;
  std::string_view user_entry_;
  SecretBytes<kRepeats*(kLongestPassword + kLongestSHA2 + kEntry)> bytes_;
};

// Applies the rounds of algorithm 2.B to `digest`, which holds the first digest.
void Harden(std::string_view password, std::string_view user_entry, SecretBytes<kLongestSHA2>* digest) {
  constexpr SHA2 kKinds[] = {SHA2::k256, SHA2::k384, SHA2::k512};
  RoundData data(password, user_entry);
  size_t length = kHash;
  int last = 0;
  for (int round = 0; round < kMostRounds && (round < kLeastRounds || last > round - 32); round++) {
    const std::string_view enciphered = data.Encipher(digest->View(0, length));
    // The first 16 bytes as one number, modulo 3. Their sum has the same remainder, because 256 modulo 3 is 1.
    const int sum = std::accumulate(enciphered.begin(), enciphered.begin() + AES::kBlock, 0,
                                    [](int so_far, char c) { return so_far + static_cast<unsigned char>(c); });
    last = static_cast<unsigned char>(enciphered.back());
    length = SHA2Of(kKinds[sum % 3], enciphered, digest->data());
  }
}

std::string_view UserEntry(const ZPDFLongKeyStrings& strings, ZPDFPasswordKind kind) {
  return kind == ZPDFPasswordKind::kUser ? std::string_view() : strings.u.View().substr(0, kEntry);
}

// Makes "/U" or "/O", and the file key encrypted for this password ("/UE" or "/OE").
std::pair<Chaine, Chaine> Lock(const ZPDFLongKey& key, std::string_view password, std::string_view user_entry) {
  Chaine entry;
  char* const at = entry.AppendUninitialized(kEntry);
  FillRandom(at + kHash, 2 * kSalt);
  ZPDFLongKey hash;
  HashPassword(6, password, Validation(entry), user_entry, &hash);
  std::copy_n(hash.data(), kHash, at);
  HashPassword(6, password, KeySalt(entry), user_entry, &hash);
  Chaine locked;
  Cross(AES::Direction::kEncrypt, hash, key.View().data(), locked.AppendUninitialized(kHash));
  return {entry, locked};
}

}  // namespace

void HashPassword(uint32_t revision, std::string_view password, std::string_view salt, std::string_view user_entry,
                  ZPDFLongKey* hash) {
  password = password.substr(0, kLongestPassword);
  SecretBytes<kLongestPassword + kSalt + kEntry> input;
  char* at = input.data();
  for (const std::string_view part : {password, salt, user_entry}) at = std::copy(part.begin(), part.end(), at);
  SecretBytes<kLongestSHA2> digest;
  SHA2Of(SHA2::k256, input.View(0, static_cast<size_t>(at - input.data())), digest.data());
  if (revision >= 6) Harden(password, user_entry, &digest);
  std::copy_n(digest.data(), kHash, hash->data());
}

bool OpenLongKey(const ZPDFLongKeyStrings& strings, uint32_t revision, ZPDFPasswordKind kind, std::string_view password,
                 ZPDFLongKey* key) {
  const bool is_user = kind == ZPDFPasswordKind::kUser;
  const std::string_view entry = is_user ? strings.u : strings.o;
  const std::string_view user_entry = UserEntry(strings, kind);
  ZPDFLongKey hash;
  HashPassword(revision, password, Validation(entry), user_entry, &hash);
  if (!EqualsInConstantTime(hash.View(), entry.substr(0, kHash))) return false;
  HashPassword(revision, password, KeySalt(entry), user_entry, &hash);
  Cross(AES::Direction::kDecrypt, hash, is_user ? strings.ue.data() : strings.oe.data(), key->data());
  return true;
}

ZPDFLongKeyStrings LockLongKey(const ZPDFLongKey& key, std::string_view user, std::string_view owner) {
  ZPDFLongKeyStrings strings;
  std::tie(strings.u, strings.ue) = Lock(key, user, {});
  std::tie(strings.o, strings.oe) = Lock(key, owner, strings.u);
  return strings;
}

Chaine PermissionsFor(std::string_view key, uint32_t flags, bool encrypts_metadata) {
  AES::Block plain;
  for (size_t i = 0; i < 4; i++) plain[i] = static_cast<char>((flags >> (8 * i)) & 0xFF);
  std::fill_n(plain.begin() + 4, 4, '\xFF');
  plain[8] = encrypts_metadata ? 'T' : 'F';
  std::copy_n("adb", 3, plain.begin() + 9);
  FillRandom(plain.data() + 12, 4);
  Chaine perms;
  AES(AES::Direction::kEncrypt, key).ECB(plain.data(), perms.AppendUninitialized(plain.size()), plain.size());
  return perms;
}

bool ConfirmsPermissions(const Chaine& perms, std::string_view key, uint32_t flags, bool encrypts_metadata) {
  AES::Block plain;
  AES(AES::Direction::kDecrypt, key).ECB(perms.data(), plain.data(), plain.size());
  for (size_t i = 0; i < 4; i++) {
    if (static_cast<unsigned char>(plain[i]) != ((flags >> (8 * i)) & 0xFF)) return false;
  }
  return std::string_view(plain.data() + 8, 4) == (encrypts_metadata ? "Tadb" : "Fadb");
}

}  // namespace zforms
