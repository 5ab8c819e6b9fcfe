#include <cstring>

#include "zforms/platform/crypto/cng_win32.h"
#include "zforms/platform/crypto/md5.h"

namespace zforms {
namespace {

// The state holds one handle.
BCRYPT_HASH_HANDLE HandleIn(const std::byte* state) {
  BCRYPT_HASH_HANDLE handle;
  std::memcpy(&handle, state, sizeof(handle));
  return handle;
}

void Keep(BCRYPT_HASH_HANDLE handle, std::byte* state) { std::memcpy(state, &handle, sizeof(handle)); }

BCRYPT_HASH_HANDLE CopyOf(BCRYPT_HASH_HANDLE handle) {
  BCRYPT_HASH_HANDLE copy = nullptr;
  RequireCNG(BCryptDuplicateHash(handle, &copy, nullptr, 0, 0));
  return copy;
}

// CNG counts bytes in 32 bits.
void AddTo(BCRYPT_HASH_HANDLE handle, std::string_view bytes) {
  constexpr size_t kMostAtOnce = 1 << 30;
  for (; !bytes.empty(); bytes.remove_prefix(bytes.size() < kMostAtOnce ? bytes.size() : kMostAtOnce)) {
    const std::string_view piece = bytes.substr(0, kMostAtOnce);
    RequireCNG(BCryptHashData(handle, CNGBytes(piece), static_cast<ULONG>(piece.size()), 0));
  }
}

}  // namespace

MD5::MD5() : state_{} {
  BCRYPT_HASH_HANDLE handle = nullptr;
  RequireCNG(BCryptCreateHash(CNGProvider(BCRYPT_MD5_ALGORITHM), &handle, nullptr, 0, nullptr, 0, 0));
  Keep(handle, state_.data());
}

MD5::MD5(const MD5& other) : state_{} { Keep(CopyOf(HandleIn(other.state_.data())), state_.data()); }

MD5& MD5::operator=(const MD5& other) {
  if (this == &other) return *this;
  BCryptDestroyHash(HandleIn(state_.data()));
  Keep(CopyOf(HandleIn(other.state_.data())), state_.data());
  return *this;
}

MD5::~MD5() { BCryptDestroyHash(HandleIn(state_.data())); }

void MD5::Update(std::string_view bytes) { AddTo(HandleIn(state_.data()), bytes); }

MD5::Bytes MD5::Digest() const {
  // Finishes a copy, because a finished hash takes no more bytes.
  const BCRYPT_HASH_HANDLE copy = CopyOf(HandleIn(state_.data()));
  Bytes digest;
  RequireCNG(BCryptFinishHash(copy, digest.data(), static_cast<ULONG>(digest.size()), 0));
  BCryptDestroyHash(copy);
  return digest;
}

Chaine MD5Of(std::string_view bytes) {
  MD5 hash;
  hash.Update(bytes);
  const MD5::Bytes digest = hash.Digest();
  return {reinterpret_cast<const char*>(digest.data()), digest.size()};
}

}  // namespace zforms
