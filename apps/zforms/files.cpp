#include "apps/zforms/files.h"

#include <cstdio>
#include <filesystem>

#include "apps/zforms/standard_streams.h"
#include "platform/file_io.h"

namespace zforms::tool {
namespace {

bool ReadStandardInput(Chaine* bytes) {
  constexpr size_t kPiece = 1 << 16;
  SetBinary(stdin);
  size_t got = 0;
  do {
    const size_t before = bytes->size();
    got = std::fread(bytes->AppendUninitialized(kPiece), 1, kPiece, stdin);
    bytes->Truncate(before + got);
  } while (got > 0);
  return std::ferror(stdin) == 0;
}

}  // namespace

std::filesystem::path FilePath(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

bool ReadInput(const std::string& path, Chaine* bytes, Console& console) {
  if (path == kStandardStream) {
    if (ReadStandardInput(bytes)) return true;
    console.Fail("standard input cannot be read");
    return false;
  }
  std::string error;
  if (ReadFile(path, bytes, &error)) return true;
  console.Fail(error);
  return false;
}

bool WriteOutput(const std::string& path, const Chaine& bytes, Console& console) {
  if (path == kStandardStream) {
    SetBinary(stdout);
    if (Print(bytes)) return true;
    console.Fail("standard output cannot be written");
    return false;
  }
  std::string error;
  if (ReplaceFile(path, bytes, &error)) return true;
  console.Fail("cannot write " + path + ": " + error);
  return false;
}

bool IsSameFile(const std::string& a, const std::string& b) {
  if (a == kStandardStream || b == kStandardStream) return false;
  std::error_code ignored;
  return std::filesystem::equivalent(FilePath(a), FilePath(b), ignored);
}

bool Print(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return std::fflush(stdout) == 0 && written;
}

}  // namespace zforms::tool
