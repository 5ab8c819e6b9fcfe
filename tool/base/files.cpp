#include "tool/base/files.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "tool/base/standard_streams.h"
#include "zforms/platform/files/file_io.h"
#include "zforms/platform/files/mapped_file.h"

namespace zforms::tool {
namespace {

size_t ReadStandardInput(char* to, size_t size, bool* failed) {
  const size_t got = std::fread(to, 1, size, stdin);
  *failed = got == 0 && std::ferror(stdin) != 0;
  return got;
}

}  // namespace

ReadStep StandardInput() {
  SetBinary(stdin);
  return ReadStandardInput;
}

std::filesystem::path FilePath(const std::string& utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

bool ReadInput(const std::string& path, Chaine* bytes, Console& console, const ReadLimits& limits) {
  std::string error;
  if (path == kStandardStream) {
    if (ReadToEnd(StandardInput(), 0, bytes, &error, limits)) return true;
  } else if (MapFile(path, bytes, &error, limits)) {
    return true;
  }
  console.Fail(error);
  return false;
}

bool WriteOutput(const std::string& path, const Chaine& bytes, Console& console) {
  if (path == kStandardStream) {
    SetBinary(stdout);
    if (Print(bytes)) return true;
    console.Fail(OutputFault());
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

bool KeepsInputs(const std::string& output, const std::vector<std::string>& inputs, Console& console) {
  for (const std::string& input : inputs) {
    if (!IsSameFile(output, input)) continue;
    console.Fail("\"" + output + "\" is both the input and the output; write to another file");
    return false;
  }
  return true;
}

bool Print(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return std::fflush(stdout) == 0 && written;
}

std::string OutputFault() {
  const int reason = errno;
  const std::string text = "standard output cannot be written";
  return reason == 0 ? text : text + ": " + std::generic_category().message(reason);
}

}  // namespace zforms::tool
