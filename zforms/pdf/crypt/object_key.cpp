#include "zforms/pdf/crypt/object_key.h"

#include <algorithm>

#include "zforms/pdf/object_identifier.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {
namespace {

constexpr size_t kLongestFileKey = 16;
constexpr std::string_view kForAES = "sAlT";

}  // namespace

SecretText ObjectKeyOf(const Chaine& file_key, const ZPDFObjectIdentifier& id, bool for_aes) {
  SecretBytes<kLongestFileKey + 5 + kForAES.size()> material;
  const size_t length = std::min(file_key.size(), kLongestFileKey);
  char* at = std::copy_n(file_key.data(), length, material.data());
  for (const int shift : {0, 8, 16}) *at++ = static_cast<char>((id.Number() >> shift) & 0xFF);
  for (const int shift : {0, 8}) *at++ = static_cast<char>((id.Generation() >> shift) & 0xFF);
  if (for_aes) at = std::copy(kForAES.begin(), kForAES.end(), at);
  const SecretText digest = MD5Of(material.View(0, static_cast<size_t>(at - material.data())));
  return digest.Mid(0, std::min<size_t>(length + 5, digest.size()));
}

}  // namespace zforms
