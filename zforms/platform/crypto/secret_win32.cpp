#include <algorithm>
#include <system_error>

#include "zforms/platform/crypto/cng_win32.h"
#include "zforms/platform/crypto/secret.h"

namespace zforms {

void FillRandom(char* out, size_t n) {
  constexpr size_t kMostAtOnce = 1 << 30;  // CNG counts bytes in 32 bits
  while (n > 0) {
    const auto piece = static_cast<ULONG>(std::min(n, kMostAtOnce));
    const NTSTATUS status =
        BCryptGenRandom(nullptr, reinterpret_cast<UCHAR*>(out), piece, BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    if (!BCRYPT_SUCCESS(status)) {
      throw std::system_error(std::make_error_code(std::errc::io_error), "the operating system gives no random bytes");
    }
    out += piece;
    n -= piece;
  }
}

// CNG has no function for this.
bool EqualsInConstantTime(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  volatile unsigned char difference = 0;
  for (size_t i = 0; i < a.size(); i++) {
    difference =
        static_cast<unsigned char>(difference | (static_cast<unsigned char>(a[i]) ^ static_cast<unsigned char>(b[i])));
  }
  return difference == 0;
}

}  // namespace zforms
