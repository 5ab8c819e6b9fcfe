#include <algorithm>
#include <cstring>

#include "zforms/platform/crypto/cng_win32.h"
#include "zforms/platform/crypto/rc4.h"

namespace zforms {
namespace {

// The state holds one handle of a key, whose key stream goes on from call to call.
BCRYPT_KEY_HANDLE HandleIn(const std::byte* state) {
  BCRYPT_KEY_HANDLE handle;
  std::memcpy(&handle, state, sizeof(handle));
  return handle;
}

void Keep(BCRYPT_KEY_HANDLE handle, std::byte* state) { std::memcpy(state, &handle, sizeof(handle)); }

BCRYPT_KEY_HANDLE CopyOf(BCRYPT_KEY_HANDLE handle) {
  BCRYPT_KEY_HANDLE copy = nullptr;
  RequireCNG(BCryptDuplicateKey(handle, &copy, nullptr, 0, 0));
  return copy;
}

// The longest key of CNG's RC4. Those of documents have 16 bytes at most.
constexpr size_t kLongestKey = 64;

}  // namespace

RC4::RC4(std::string_view key) : state_{} {
  if (key.empty()) key = std::string_view("\0", 1);
  BCRYPT_KEY_HANDLE handle = nullptr;
  RequireCNG(BCryptGenerateSymmetricKey(CNGProvider(BCRYPT_RC4_ALGORITHM), &handle, nullptr, 0, CNGBytes(key),
                                        static_cast<ULONG>(std::min(key.size(), kLongestKey)), 0));
  Keep(handle, state_.data());
}

RC4::RC4(const RC4& other) : state_{} { Keep(CopyOf(HandleIn(other.state_.data())), state_.data()); }

RC4& RC4::operator=(const RC4& other) {
  if (this == &other) return *this;
  BCryptDestroyKey(HandleIn(state_.data()));
  Keep(CopyOf(HandleIn(other.state_.data())), state_.data());
  return *this;
}

RC4::~RC4() { BCryptDestroyKey(HandleIn(state_.data())); }

void RC4::Apply(const char* in, char* out, size_t n) {
  constexpr size_t kMostAtOnce = 1 << 30;  // CNG counts bytes in 32 bits
  while (n > 0) {
    const auto piece = static_cast<ULONG>(std::min(n, kMostAtOnce));
    ULONG written = 0;
    RequireCNG(BCryptEncrypt(HandleIn(state_.data()), CNGBytes({in, piece}), piece, nullptr, nullptr, 0,
                             reinterpret_cast<UCHAR*>(out), piece, &written, 0));
    in += piece;
    out += piece;
    n -= piece;
  }
}

}  // namespace zforms
