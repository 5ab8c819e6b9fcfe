#include <algorithm>
#include <cstring>

#include "zforms/platform/crypto/aes.h"
#include "zforms/platform/crypto/cng_win32.h"

namespace zforms {
namespace {

// The state holds the handles of two keys, one for each mode.
struct Keys {
  BCRYPT_KEY_HANDLE cbc = nullptr;
  BCRYPT_KEY_HANDLE ecb = nullptr;
};

Keys KeysIn(const std::byte* state) {
  Keys keys;
  std::memcpy(&keys, state, sizeof(keys));
  return keys;
}

BCRYPT_KEY_HANDLE MakeKey(std::string_view key, const wchar_t* mode) {
  BCRYPT_KEY_HANDLE handle = nullptr;
  RequireCNG(BCryptGenerateSymmetricKey(CNGProvider(BCRYPT_AES_ALGORITHM), &handle, nullptr, 0, CNGBytes(key),
                                        static_cast<ULONG>(key.size()), 0));
  auto* const name = reinterpret_cast<UCHAR*>(const_cast<wchar_t*>(mode));
  const auto size = static_cast<ULONG>((std::wcslen(mode) + 1) * sizeof(wchar_t));
  RequireCNG(BCryptSetProperty(handle, BCRYPT_CHAINING_MODE, name, size, 0));
  return handle;
}

// `iv` is null without chaining.
void Run(AES::Direction direction, BCRYPT_KEY_HANDLE key, AES::Block* iv, const char* in, char* out, size_t n) {
  constexpr size_t kMostAtOnce = 1 << 30;  // CNG counts bytes in 32 bits
  const auto run = direction == AES::Direction::kEncrypt ? BCryptEncrypt : BCryptDecrypt;
  while (n > 0) {
    const auto piece = static_cast<ULONG>(std::min(n, kMostAtOnce));
    ULONG written = 0;
    RequireCNG(
        run(key, CNGBytes({in, piece}), piece, nullptr, iv == nullptr ? nullptr : reinterpret_cast<UCHAR*>(iv->data()),
            iv == nullptr ? 0 : static_cast<ULONG>(iv->size()), reinterpret_cast<UCHAR*>(out), piece, &written, 0));
    in += piece;
    out += piece;
    n -= piece;
  }
}

// Decrypts without the chaining of CNG: when the same initialization vector is passed again, not every implementation
// starts a new chain.
void DecryptCBC(BCRYPT_KEY_HANDLE ecb, AES::Block* iv, const char* in, char* out, size_t n) {
  constexpr size_t kPiece = 4096;
  char encrypted[kPiece];  // a copy of the input, because `out` may be the same buffer as `in`
  while (n > 0) {
    const size_t piece = std::min(n, kPiece);
    std::memcpy(encrypted, in, piece);
    Run(AES::Direction::kDecrypt, ecb, nullptr, encrypted, out, piece);
    for (size_t i = 0; i < piece; i++) {
      const size_t block = iv->size();
      const auto previous = static_cast<char>(i < block ? static_cast<char>((*iv)[i]) : encrypted[i - block]);
      out[i] = static_cast<char>(out[i] ^ previous);
    }
    std::memcpy(iv->data(), encrypted + piece - iv->size(), iv->size());
    in += piece;
    out += piece;
    n -= piece;
  }
}

}  // namespace

AES::AES(Direction direction, std::string_view key) : direction_(direction), is_long_(key.size() == 32), state_{} {
  const Keys keys{MakeKey(key, BCRYPT_CHAIN_MODE_CBC), MakeKey(key, BCRYPT_CHAIN_MODE_ECB)};
  std::memcpy(state_.data(), &keys, sizeof(keys));
}

AES::~AES() {
  const Keys keys = KeysIn(state_.data());
  BCryptDestroyKey(keys.cbc);
  BCryptDestroyKey(keys.ecb);
}

void AES::CBC(Block* iv, const char* in, char* out, size_t n) const {
  const Keys keys = KeysIn(state_.data());
  if (direction_ == Direction::kDecrypt) return DecryptCBC(keys.ecb, iv, in, out, n);
  Run(direction_, keys.cbc, iv, in, out, n);
  // Sets the vector for the next blocks: Windows has done this, but not every implementation of its interface does.
  if (n > 0) std::memcpy(iv->data(), out + n - iv->size(), iv->size());
}

void AES::ECB(const char* in, char* out, size_t n) const {
  Run(direction_, KeysIn(state_.data()).ecb, nullptr, in, out, n);
}

}  // namespace zforms
