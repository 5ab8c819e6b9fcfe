#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Reads and writes whole files. Paths are UTF-8. Each function returns false on failure and then sets `*error`, which
// may be null, to the reason; the reason does not repeat the path.

// Limits on an input, so that an endless one is refused.
struct ReadLimits {
  static constexpr size_t kHead = 4096;

  // A longer input is refused: before reading when its size is known, else while reading.
  uint64_t most = SIZE_MAX / 4;  // bytes
  // Checks the start of the input: gets the first kHead bytes, or all of a shorter input, and the size (0 when
  // unknown). Returns the reason to refuse the input, or an empty text to continue.
  std::function<std::string(std::string_view head, uint64_t size)> look = nullptr;
};

// Reads the whole file into one buffer, `*out`, with spare room for appending. `*out` is unchanged on failure.
ZFORMS_API bool ReadFile(const Chaine& path, Chaine* out, std::string* error = nullptr, const ReadLimits& limits = {});

// Reads up to `size` bytes; 0 at the end and on failure, which sets `*failed`.
using ReadStep = std::function<size_t(char* to, size_t size, bool* failed)>;

// Like ReadFile, for an input that is read step by step; `size` is the expected size, 0 when unknown.
ZFORMS_API bool ReadToEnd(const ReadStep& step, uint64_t size, Chaine* out, std::string* error = nullptr,
                          const ReadLimits& limits = {});

// Overwrites the file in place and truncates it after the last byte; creates it when it is missing. The folder must
// exist. A failure half-way leaves the file half-written.
ZFORMS_API bool StoreFile(const Chaine& path, const Chaine& bytes, std::string* error = nullptr);

// Writes the bytes to a new file in the same folder, flushes it to the disk and renames it over the target: at any time
// the target is either the old file or the new one. The target's permissions are kept; symbolic links are followed; a
// device or pipe is written to directly. A write-protected target is refused.
ZFORMS_API bool ReplaceFile(const Chaine& path, const Chaine& bytes, std::string* error = nullptr);

}  // namespace zforms
