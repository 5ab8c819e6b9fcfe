#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tool/base/console.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/files/file_io.h"

namespace zforms::tool {

// "-" means standard input or standard output.
inline constexpr std::string_view kStandardStream = "-";

// Reads standard input as bytes.
ReadStep StandardInput();

// Reads a file or standard input. When it cannot be read, prints the reason and returns false.
bool ReadInput(const std::string& path, Chaine* bytes, Console& console, const ReadLimits& limits = {});

// Writes the bytes to standard output, or to a temporary file that then replaces the target, so that no reader sees an
// incomplete file. On failure prints the reason and returns false.
bool WriteOutput(const std::string& path, const Chaine& bytes, Console& console);

// Conversions between UTF-8 text and a path.
std::filesystem::path FilePath(const std::string& utf8);
std::string PathText(const std::filesystem::path& path);

// True when both paths lead to the same existing file.
bool IsSameFile(const std::string& a, const std::string& b);

// False, with a message, when the output is one of the input files, which must not be overwritten.
bool KeepsInputs(const std::string& output, const std::vector<std::string>& inputs, Console& console);

// Writes text to standard output; false when not all of it could be written.
bool Print(std::string_view text);

// The message that standard output cannot be written, with the system's reason (`errno`). Call it right after the
// failure.
std::string OutputFault();

}  // namespace zforms::tool
