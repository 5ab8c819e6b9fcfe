#include "zforms/platform/files/replacing_file.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <utility>

namespace zforms {
namespace {

constexpr int kNameAttempts = 64;

bool Fail(std::string* error, std::string reason) {
  if (error != nullptr) *error = std::move(reason);
  return false;
}

// Creates a file with an unused name in the folder of the target.
bool OpenBeside(const Chaine& target, OsFile::Mode mode, OsFile* file, Chaine* path, std::string* error) {
  const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
  uint64_t number = static_cast<uint64_t>(ticks) ^ (ProcessNumber() << 40);
  for (int attempt = 0; attempt < kNameAttempts; attempt++, number++) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, number, 16);
    *path = FolderOf(target) + ".zforms-" + std::string_view(digits, static_cast<size_t>(end.ptr - digits)) + ".tmp";
    if (file->Open(*path, mode, error)) return true;
    if (KindOfFile(*path) == OsFileKind::kAbsent) return false;
  }
  return false;
}

}  // namespace

ReplacingFile::~ReplacingFile() {
  file_.Close();
  if (!beside_.IsEmpty()) DeleteFileQuietly(beside_);
}

bool ReplacingFile::Open(const Chaine& path, std::string* error) {
  if (path.IsEmpty()) return Fail(error, "the path is empty");
  target_ = ResolveLinks(path);
  // The kind of the path, not of `target_`: a link such as /dev/stdout may lead to a pipe, which has no name.
  const OsFileKind kind = KindOfFile(path);
  if (kind == OsFileKind::kFolder) return Fail(error, "is a folder");
  if (kind == OsFileKind::kOther) return file_.Open(path, OsFile::Mode::kOverwrite, error);
  const bool there = kind == OsFileKind::kRegular;
  if (there && !IsWritableFile(target_)) return Fail(error, "the file is write-protected");
  Chaine beside;
  if (!OpenBeside(target_, there ? OsFile::Mode::kNew : OsFile::Mode::kNewShared, &file_, &beside, error)) return false;
  beside_ = beside;
  return !there || file_.CopyPermissions(target_) || Fail(error, LastSystemError());
}

bool ReplacingFile::Write(std::string_view bytes, std::string* error) {
  return file_.Write(bytes.data(), bytes.size()) || Fail(error, LastSystemError());
}

bool ReplacingFile::Finish(std::string* error) {
  if (!beside_.IsEmpty() && !file_.Sync()) return Fail(error, LastSystemError());
  if (!file_.Close()) return Fail(error, LastSystemError());
  if (beside_.IsEmpty()) return true;
  if (!MoveFileOver(beside_, target_, error)) return false;
  beside_.Clear();
  return true;
}

}  // namespace zforms
