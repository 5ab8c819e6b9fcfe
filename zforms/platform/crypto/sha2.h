#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zforms/platform/base/export.h"

namespace zforms {

// The message digests SHA-256, SHA-384 and SHA-512 (FIPS 180-4), by the length of the digest in bytes.
enum class SHA2 : uint8_t { k256 = 32, k384 = 48, k512 = 64 };

inline constexpr size_t kLongestSHA2 = 64;

// Writes the digest of `bytes` to `out`, which has room for it, and returns its length.
ZFORMS_API size_t SHA2Of(SHA2 kind, std::string_view bytes, char* out);

}  // namespace zforms
