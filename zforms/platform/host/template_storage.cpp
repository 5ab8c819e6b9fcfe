#include "zforms/platform/host/template_storage.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>
#include <system_error>

#include "zforms/platform/base/ascii.h"

namespace zforms {
namespace {

namespace fs = std::filesystem;

fs::path PathFrom(std::string_view utf8) { return {std::u8string(utf8.begin(), utf8.end())}; }

Chaine TextOf(const fs::path& path) {
  const std::u8string text = path.generic_u8string();
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

bool IsBelow(const fs::path& file, const fs::path& folder) {
  const auto [end, rest] = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
  return end == folder.end() && rest != file.end();
}

}  // namespace

ZTemplateStorage::ZTemplateStorage(const Chaine& folder) : folder_(folder) {
  std::error_code error;
  const bool named = !folder.IsEmpty() && folder.View().find('\0') == std::string_view::npos;
  if (named) path_ = fs::canonical(PathFrom(folder), error);
  if (error) path_.clear();
}

ZTemplateStorage::~ZTemplateStorage() = default;

Chaine ZTemplateStorage::PathOf(const Chaine& code) const {
  const std::lock_guard lock(mutex_);
  Refresh();
  const auto found = paths_.find(code);
  return found == paths_.end() ? Chaine() : found->second;
}

PTableau<Chaine> ZTemplateStorage::Codes() const {
  const std::lock_guard lock(mutex_);
  Refresh();
  PTableau<Chaine> codes;
  for (const auto& [code, path] : paths_) codes.push_back(code);
  return codes;
}

// Lists the folder when it has changed. A folder that was changed just now may change again within the resolution of
// its time stamp, so it is listed at each call until its time stamp is old enough.
void ZTemplateStorage::Refresh() const {
  if (path_.empty()) return;
  std::error_code error;
  const fs::file_time_type changed = fs::last_write_time(path_, error);
  if (error) {
    paths_.clear();
    settled_ = false;
    return;
  }
  if (settled_ && changed == listed_) return;
  listed_ = changed;
  settled_ = fs::file_time_type::clock::now() - changed > std::chrono::seconds(2);
  List();
}

void ZTemplateStorage::List() const {
  paths_.clear();
  std::error_code error;
  for (fs::directory_iterator entry(path_, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code ignored;
    const fs::path target = fs::canonical(entry->path(), ignored);
    if (ignored || !fs::is_regular_file(target, ignored) || !IsBelow(target, path_)) continue;
    const Chaine name = TextOf(entry->path().filename());
    constexpr std::string_view kSuffix = ".pdf";
    if (name.size() <= kSuffix.size()) continue;
    const size_t stem = name.size() - kSuffix.size();
    if (SameIgnoringASCIICase(name.View().substr(stem), kSuffix)) paths_.emplace(name.Mid(0, stem), TextOf(target));
  }
}

bool StampOfFile(const Chaine& path, ZFileStamp* stamp) {
  std::error_code error;
  const fs::path file = PathFrom(path);
  const uintmax_t size = fs::file_size(file, error);
  if (error) return false;
  const fs::file_time_type time = fs::last_write_time(file, error);
  if (error) return false;
  *stamp = {size, static_cast<int64_t>(time.time_since_epoch().count())};
  return true;
}

}  // namespace zforms
