#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// Whole files in, whole files out. Paths are UTF-8. Each returns false on
// failure and then says why in `*error`, which may be null; the reason does
// not repeat the path.

// How much of an input is read, so that one without an end is given up.
struct ReadLimits {
  static constexpr size_t kHead = 4096;

  // What is longer is refused: before it is read where its size is known, else while it is read.
  uint64_t most = SIZE_MAX / 4;  // bytes
  // Told the first kHead bytes, or all of a shorter input, and the size, 0 when it is
  // not known. What it answers is why the rest is not read; empty to go on.
  std::function<std::string(std::string_view head, uint64_t size)> look = nullptr;
};

// Reads the whole file, in one piece, into `*out`, with room to spare for what
// is appended later. `*out` is untouched on failure.
ZFORMS_API bool ReadFile(const Chaine& path, Chaine* out, std::string* error = nullptr, const ReadLimits& limits = {});

// Reads up to `size` bytes; 0 at the end and on failure, which sets `*failed`.
using ReadStep = std::function<size_t(char* to, size_t size, bool* failed)>;

// The same for an input that gives its bytes step by step; `size` is what it is
// expected to hold, 0 when that is not known.
ZFORMS_API bool ReadToEnd(const ReadStep& step, uint64_t size, Chaine* out, std::string* error = nullptr,
                          const ReadLimits& limits = {});

// Writes the bytes into the file itself, made when missing, from its first
// byte, and cuts it after the last. The folder must exist. A failure half-way
// leaves the file half-written.
ZFORMS_API bool StoreFile(const Chaine& path, const Chaine& bytes, std::string* error = nullptr);

// Writes the bytes to a new file in the same folder and, once they are on the
// disk, moves it over the target: at any time the target is either the old file
// or the new one. The target's permissions stay; a link is followed; a device
// or pipe is written to directly. A write-protected target is refused.
ZFORMS_API bool ReplaceFile(const Chaine& path, const Chaine& bytes, std::string* error = nullptr);

}  // namespace zforms
