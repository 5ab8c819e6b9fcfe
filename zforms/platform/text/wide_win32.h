#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
// A macro of that name would replace the function of file_io.h.
#undef ReplaceFile

#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// Conversions between UTF-8 and the text of Windows functions; only for sources named *_win32.

// Converts from UTF-8. Empty when the text is empty, contains a zero byte or is not valid UTF-8.
inline std::wstring Widen(std::string_view text) {
  if (text.empty() || text.size() > 0x7FFF || text.find('\0') != std::string_view::npos) return {};
  const int length = static_cast<int>(text.size());
  const int count = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, nullptr, 0);
  std::wstring wide(static_cast<size_t>(count > 0 ? count : 0), L'\0');
  if (count > 0) ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), length, wide.data(), count);
  return wide;
}

// Converts to UTF-8 or to another code page.
inline std::string Narrow(std::wstring_view wide, UINT code_page = CP_UTF8) {
  if (wide.empty()) return {};
  const int length = static_cast<int>(wide.size());
  const int count = ::WideCharToMultiByte(code_page, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(count > 0 ? count : 0), '\0');
  if (count > 0) ::WideCharToMultiByte(code_page, 0, wide.data(), length, text.data(), count, nullptr, nullptr);
  return text;
}

// Reads a text value of the registry and expands references to environment variables; false when there is no such
// value.
inline bool ReadRegistryText(HKEY root, const std::wstring& key, const wchar_t* name, std::wstring* value) {
  constexpr DWORD kTypes = RRF_RT_REG_SZ;  // texts that were expanded are of this type too
  DWORD size = 0;
  if (::RegGetValueW(root, key.c_str(), name, kTypes, nullptr, nullptr, &size) != ERROR_SUCCESS) return false;
  // If the value becomes longer between the two calls, the second call fails.
  std::wstring text(size / sizeof(wchar_t) + 1, L'\0');
  size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  if (::RegGetValueW(root, key.c_str(), name, kTypes, nullptr, text.data(), &size) != ERROR_SUCCESS) return false;
  text.resize(text.find(L'\0') == std::wstring::npos ? text.size() : text.find(L'\0'));
  *value = text;
  return true;
}

}  // namespace zforms
