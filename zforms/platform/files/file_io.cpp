#include "zforms/platform/files/file_io.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <new>
#include <utility>

#include "zforms/platform/files/os_file.h"

namespace zforms {

namespace {

constexpr uint64_t kSpareBytes = 64 * 1024;
constexpr uint64_t kLargestRead = SIZE_MAX / 4;
constexpr int kNameAttempts = 64;

bool Fail(std::string* error, std::string reason) {
  if (error != nullptr) *error = std::move(reason);
  return false;
}

std::string TooLarge(uint64_t most) {
  constexpr uint64_t kMegabyte = 1 << 20;
  const uint64_t whole = (most + 1) / kMegabyte;
  if (whole == 0) return "is longer than " + std::to_string(most) + " bytes";
  return "is larger than " + (whole < 1024 ? std::to_string(whole) + " MB" : std::to_string(whole / 1024) + " GB");
}

// Appends `wanted` bytes, or fewer at the end of the input.
bool ReadPiece(const ReadStep& step, size_t wanted, Chaine* bytes, std::string* error) {
  while (wanted > 0) {
    bool failed = false;
    const size_t before = bytes->size();
    const size_t got = step(bytes->AppendUninitialized(wanted), wanted, &failed);
    bytes->Truncate(before + got);
    if (failed) return Fail(error, LastSystemError());
    if (got == 0) break;
    wanted -= got;
  }
  return true;
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

bool FillNewFile(OsFile* file, const Chaine& bytes, const Chaine& model, std::string* error) {
  if (!model.IsEmpty() && !file->CopyPermissions(model)) return Fail(error, LastSystemError());
  if (!file->Write(bytes.data(), bytes.size()) || !file->Sync()) return Fail(error, LastSystemError());
  return file->Close() || Fail(error, LastSystemError());
}

}  // namespace

bool ReadFile(const Chaine& path, Chaine* out, std::string* error, const ReadLimits& limits) {
  OsFile file;
  if (KindOfFile(path) == OsFileKind::kFolder) return Fail(error, "is a folder");
  if (!file.Open(path, OsFile::Mode::kRead, error)) return false;
  const auto step = [&file](char* to, size_t size, bool* failed) { return file.Read(to, size, failed); };
  return ReadToEnd(step, file.Size(), out, error, limits);
}

bool ReadToEnd(const ReadStep& step, uint64_t size, Chaine* out, std::string* error, const ReadLimits& limits) {
  const uint64_t most = std::min<uint64_t>(limits.most, kLargestRead);
  if (size > most) return Fail(error, TooLarge(most));
  try {
    Chaine bytes;
    if (limits.look != nullptr) {
      if (!ReadPiece(step, ReadLimits::kHead, &bytes, error)) return false;
      if (std::string reason = limits.look(bytes, size); !reason.empty()) return Fail(error, std::move(reason));
    }
    bytes.Reserve(static_cast<size_t>(size + size / 8 + kSpareBytes));
    // Asks for one byte more than the size, so that the next read finds the end if the file has not grown.
    uint64_t wanted = size + 1 > bytes.size() ? size + 1 - bytes.size() : kSpareBytes;
    while (true) {
      const size_t before = bytes.size();
      if (!ReadPiece(step, static_cast<size_t>(wanted), &bytes, error)) return false;
      if (bytes.size() > most) return Fail(error, TooLarge(most));
      if (bytes.size() - before < wanted) break;
      wanted = std::min<uint64_t>(std::max<uint64_t>(kSpareBytes, bytes.size()), most + 1 - bytes.size());
    }
    *out = std::move(bytes);
    return true;
  } catch (const std::bad_alloc&) {
    return Fail(error, "not enough memory for the file");
  }
}

bool StoreFile(const Chaine& path, const Chaine& bytes, std::string* error) {
  if (path.IsEmpty()) return Fail(error, "the path is empty");
  const Chaine folder = FolderOf(path);
  if (!folder.IsEmpty() && KindOfFile(folder) != OsFileKind::kFolder) return Fail(error, "the folder does not exist");
  OsFile file;
  if (!file.Open(path, OsFile::Mode::kOverwrite, error)) return false;
  if (!file.Write(bytes.data(), bytes.size()) || !file.Cut(bytes.size())) return Fail(error, LastSystemError());
  return file.Close() || Fail(error, LastSystemError());
}

bool ReplaceFile(const Chaine& path, const Chaine& bytes, std::string* error) {
  const Chaine target = ResolveLinks(path);
  const OsFileKind kind = KindOfFile(target);
  if (kind == OsFileKind::kFolder) return Fail(error, "is a folder");
  if (kind == OsFileKind::kOther || path.IsEmpty()) return StoreFile(path, bytes, error);
  const bool there = kind == OsFileKind::kRegular;
  if (there && !IsWritableFile(target)) return Fail(error, "the file is write-protected");

  OsFile file;
  Chaine beside;
  const OsFile::Mode mode = there ? OsFile::Mode::kNew : OsFile::Mode::kNewShared;
  if (!OpenBeside(target, mode, &file, &beside, error)) return false;
  if (FillNewFile(&file, bytes, there ? target : Chaine(), error) && MoveFileOver(beside, target, error)) return true;
  file.Close();
  DeleteFileQuietly(beside);
  return false;
}

}  // namespace zforms
