#pragma once

#include <cstdint>
#include <string_view>

namespace zforms::tool {

// A hash that is the same in every process and on every machine: FNV-1a with a final mix of the bits.
inline uint64_t StableHash(std::string_view bytes, uint64_t seed = 0) {
  uint64_t hash = 0xCBF29CE484222325U ^ (seed * 0x9E3779B97F4A7C15U);
  for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  hash = (hash ^ (hash >> 33)) * 0xFF51AFD7ED558CCDU;
  hash = (hash ^ (hash >> 33)) * 0xC4CEB9FE1A85EC53U;
  return hash ^ (hash >> 33);
}

}  // namespace zforms::tool
