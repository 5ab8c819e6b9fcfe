#include "zforms/platform/crypto/cng_win32.h"
#include "zforms/platform/crypto/sha2.h"

namespace zforms {
namespace {

const wchar_t* AlgorithmOf(SHA2 kind) {
  switch (kind) {
    case SHA2::k256: return BCRYPT_SHA256_ALGORITHM;
    case SHA2::k384: return BCRYPT_SHA384_ALGORITHM;
    case SHA2::k512: break;
  }
  return BCRYPT_SHA512_ALGORITHM;
}

}  // namespace

size_t SHA2Of(SHA2 kind, std::string_view bytes, char* out) {
  const auto length = static_cast<size_t>(kind);
  BCRYPT_HASH_HANDLE hash = nullptr;
  RequireCNG(BCryptCreateHash(CNGProvider(AlgorithmOf(kind)), &hash, nullptr, 0, nullptr, 0, 0));
  RequireCNG(BCryptHashData(hash, CNGBytes(bytes), static_cast<ULONG>(bytes.size()), 0));
  RequireCNG(BCryptFinishHash(hash, reinterpret_cast<UCHAR*>(out), static_cast<ULONG>(length), 0));
  BCryptDestroyHash(hash);
  return length;
}

}  // namespace zforms
