#include <hb.h>

#include <limits>

#include "zforms/appearance/fonts/font_bytes.h"
#include "zforms/platform/files/path_win32.h"

// Comes last: it includes <windows.h>, whose macros could change other headers.
#include "zforms/platform/text/wide_win32.h"

namespace zforms {
namespace {

void Unmap(void* view) { ::UnmapViewOfFile(view); }

// Maps the file into memory. HarfBuzz's own function takes paths in the system's code page, not in UTF-8.
hb_blob_t* Map(HANDLE file) {
  LARGE_INTEGER size;
  if (!::GetFileSizeEx(file, &size) || size.QuadPart <= 0 || size.QuadPart > std::numeric_limits<int>::max()) {
    return nullptr;
  }
  const HANDLE mapping = ::CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
  if (mapping == nullptr) return nullptr;
  void* const view = ::MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
  ::CloseHandle(mapping);  // the view keeps the mapping
  if (view == nullptr) return nullptr;
  return hb_blob_create_or_fail(static_cast<const char*>(view), static_cast<unsigned>(size.QuadPart),
                                HB_MEMORY_MODE_READONLY, view, Unmap);
}

}  // namespace

hb_blob_t* OpenFontBytes(const Chaine& path) {
  const std::wstring wide = SystemPath(path);
  if (wide.empty()) return nullptr;
  constexpr DWORD kShared = FILE_SHARE_READ | FILE_SHARE_DELETE;
  const HANDLE file = ::CreateFileW(wide.c_str(), GENERIC_READ, kShared, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return nullptr;
  hb_blob_t* const blob = Map(file);
  ::CloseHandle(file);
  return blob;
}

}  // namespace zforms
