#pragma once

#include <cstdint>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// Reads the file version of a Windows program or library (PE format, 32 or 64 bits): the four parts of "8.1.2.3" in 16
// bits each, the major one in the highest. False when the bytes are not such a program or have no version resource.
bool ReadVersionResource(std::string_view program, uint64_t* version);

// The file version of the program or library at `path` (UTF-8); 0 when it has none.
uint64_t GetAppVersionValue(const Chaine& path);

// The major part of a version.
constexpr uint16_t MajorVersion(uint64_t version) { return static_cast<uint16_t>(version >> 48); }

}  // namespace zforms
