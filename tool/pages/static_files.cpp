#include "tool/pages/static_files.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "zforms/platform/base/hex.h"
#include "zforms/platform/crypto/md5.h"
#include "zforms/platform/files/file_io.h"

namespace zforms::tool {
namespace {

namespace fs = std::filesystem;

struct Type {
  std::string_view suffix;
  std::string_view content_type;
};

constexpr Type kTypes[] = {
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".mjs", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".json", "application/json"},
    {".txt", "text/plain; charset=utf-8"},
    {".bcmap", "application/octet-stream"},
    {".pfb", "application/octet-stream"},
    {".ttf", "font/ttf"},
    {".wasm", "application/wasm"},
};

std::string_view ContentTypeOf(std::string_view name) {
  for (const Type& type : kTypes) {
    if (name.ends_with(type.suffix)) return type.content_type;
  }
  return {};
}

std::string UTF8(const fs::path& path) {
  const std::u8string text = path.generic_u8string();
  return {text.begin(), text.end()};
}

std::string TagOf(std::string_view bytes) {
  std::string tag = "\"";
  const Chaine digest = MD5Of(bytes);
  for (const char byte : digest) AppendHexByte(&tag, static_cast<unsigned char>(byte), kLowerHexDigits);
  return tag + '"';
}

}  // namespace

void StaticFiles::Read(const std::string& folder) {
  const fs::path root(std::u8string(folder.begin(), folder.end()));
  std::error_code error;
  for (fs::recursive_directory_iterator at(root, error), end; !error && at != end; at.increment(error)) {
    std::error_code ignored;
    if (at->is_symlink(ignored) || !at->is_regular_file(ignored)) continue;
    Add(UTF8(at->path()), UTF8(at->path().lexically_relative(root)));
  }
}

void StaticFiles::Add(const std::string& path, const std::string& name) {
  const std::string_view type = ContentTypeOf(name);
  File file;
  if (type.empty() || !ReadFile(path, &file.bytes)) return;
  file.content_type = type;
  file.entity_tag = TagOf(file.bytes);
  files_.emplace(name, std::move(file));
}

const StaticFiles::File* StaticFiles::Find(std::string_view name) const {
  const auto found = files_.find(name);
  return found == files_.end() ? nullptr : &found->second;
}

}  // namespace zforms::tool
