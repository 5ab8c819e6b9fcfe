#include "zforms/platform/crypto/random_token.h"

#include <array>

#include "zforms/platform/base/hex.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {

std::string RandomToken() {
  std::array<char, 16> bits{};
  FillRandom(bits.data(), bits.size());
  std::string token;
  for (const char byte : bits) AppendHexByte(&token, static_cast<unsigned char>(byte), kLowerHexDigits);
  return token;
}

}  // namespace zforms
