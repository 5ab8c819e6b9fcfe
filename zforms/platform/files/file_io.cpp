#include "zforms/platform/files/file_io.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

#include "zforms/platform/files/os_file.h"
#include "zforms/platform/files/replacing_file.h"

namespace zforms {

namespace {

constexpr uint64_t kSpareBytes = 64 * 1024;
constexpr uint64_t kLargestRead = SIZE_MAX / 4;

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
  if (!file.Replace(bytes)) return Fail(error, LastSystemError());
  return file.Close() || Fail(error, LastSystemError());
}

bool ReplaceFile(const Chaine& path, const Chaine& bytes, std::string* error) {
  ReplacingFile file;
  return file.Open(path, error) && file.Write(bytes, error) && file.Finish(error);
}

}  // namespace zforms
