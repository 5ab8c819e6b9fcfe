#include "zforms/platform/crypto/cng_win32.h"

#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

namespace zforms {

void RequireCNG(NTSTATUS status) {
  if (!BCRYPT_SUCCESS(status)) std::abort();
}

BCRYPT_ALG_HANDLE CNGProvider(const wchar_t* algorithm) {
  static std::mutex mutex;
  static auto* const providers = new std::map<std::wstring, BCRYPT_ALG_HANDLE>;
  const std::lock_guard lock(mutex);
  BCRYPT_ALG_HANDLE& provider = (*providers)[algorithm];
  if (provider == nullptr) RequireCNG(BCryptOpenAlgorithmProvider(&provider, algorithm, nullptr, 0));
  return provider;
}

}  // namespace zforms
