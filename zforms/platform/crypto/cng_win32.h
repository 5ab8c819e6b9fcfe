#pragma once

// windows.h must come first.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include <cstdint>
#include <string_view>

// Shared by the sources that use Cryptography API: Next Generation.
namespace zforms {

// Ends the process when the system's cryptography fails: continuing would give wrong digests or write unencrypted data.
void RequireCNG(NTSTATUS status);

// A provider of that algorithm (such as BCRYPT_MD5_ALGORITHM), opened once for the whole process. Any thread may call
// it.
BCRYPT_ALG_HANDLE CNGProvider(const wchar_t* algorithm);

// CNG takes pointers to non-const bytes that it does not change.
inline UCHAR* CNGBytes(std::string_view bytes) {
  return const_cast<UCHAR*>(reinterpret_cast<const UCHAR*>(bytes.data()));
}

}  // namespace zforms
