#include "zforms/platform/files/temp_folder.h"

#include <algorithm>
#include <string_view>

#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/file_names.h"
#include "zforms/platform/files/os_temp.h"
#include "zforms/platform/text/text.h"

namespace zforms {

ZTempFolder::ZTempFolder() : path_(MakePrivateFolder()) {}

ZTempFolder::~ZTempFolder() {
  if (!path_.IsEmpty()) RemoveFolder(path_);
}

bool ZTempFolder::IsPlainName(const Chaine& name) {
  constexpr size_t kMaxLength = 200;
  const std::string_view text = name;
  if (text.empty() || text.size() > kMaxLength || !IsValidUTF8(text) || IsDeviceName(text)) return false;
  // This also refuses "." and "..".
  if (text.back() == '.' || text.back() == ' ') return false;
  return std::none_of(text.begin(), text.end(), IsRefusedInFileName);
}

Chaine ZTempFolder::PathOf(const Chaine& name) const {
  return path_.IsEmpty() || !IsPlainName(name) ? Chaine() : path_ + "/" + name;
}

Chaine ZTempFolder::Write(const Chaine& name, const Chaine& bytes, std::string* error) const {
  const Chaine path = PathOf(name);
  if (path.IsEmpty()) {
    if (error != nullptr) {
      *error = path_.IsEmpty() ? "the folder for temporary files could not be created"
                               : "the name cannot be used as a file name";
    }
    return {};
  }
  return ReplaceFile(path, bytes, error) ? path : Chaine();
}

}  // namespace zforms
