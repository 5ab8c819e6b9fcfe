#include <nettle/memops.h>
#include <string.h>  // NOLINT(modernize-deprecated-headers): explicit_bzero is not in <cstring>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "zforms/platform/crypto/secret.h"

namespace zforms {

void FillRandom(char* out, size_t n) {
  constexpr size_t kMostAtOnce = 256;  // getentropy(3)
  while (n > 0) {
    const size_t piece = std::min(n, kMostAtOnce);
    if (getentropy(out, piece) != 0) {
      throw std::system_error(errno, std::generic_category(), "the system gives no random bytes");
    }
    out += piece;
    n -= piece;
  }
}

bool EqualsInConstantTime(std::string_view a, std::string_view b) {
  return a.size() == b.size() && memeql_sec(a.data(), b.data(), a.size()) != 0;
}

void WipeBytes(void* bytes, size_t n) { explicit_bzero(bytes, n); }

}  // namespace zforms
