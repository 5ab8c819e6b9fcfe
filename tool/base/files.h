#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/files/file_io.h"

namespace zforms::tool {

// "-" names standard input or standard output.
inline constexpr std::string_view kStandardStream = "-";

// Reads standard input as bytes.
ReadStep StandardInput();

// The bytes of a file, or of standard input. False, and said, when it cannot be read.
bool ReadInput(const std::string& path, Chaine* bytes, Console& console, const ReadLimits& limits = {});

// Writes the bytes to standard output or beside the target, then moves them over
// it, so that nobody sees half a file. False, and said, when that fails.
bool WriteOutput(const std::string& path, const Chaine& bytes, Console& console);

// The path of UTF-8 text.
std::filesystem::path FilePath(const std::string& utf8);
std::string PathText(const std::filesystem::path& path);

// Whether both paths lead to one file that exists.
bool IsSameFile(const std::string& a, const std::string& b);

// False, and said, when the output is one of the files that are read and are to stay.
bool KeepsInputs(const std::string& output, const std::vector<std::string>& inputs, Console& console);

// Writes text to standard output; false when it does not take it all.
bool Print(std::string_view text);

}  // namespace zforms::tool
