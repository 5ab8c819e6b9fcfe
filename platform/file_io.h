#pragma once

#include <string>

#include "platform/chaine.h"
#include "platform/export.h"

namespace zforms {

// Whole files in, whole files out. Paths are UTF-8. Each returns false on
// failure and then says why in `*error`, which may be null; the reason does
// not repeat the path.

// Reads the whole file, in one piece, into `*out`, with room to spare for what
// is appended later. `*out` is untouched on failure.
ZFORMS_API bool ReadFile(const Chaine& path, Chaine* out, std::string* error = nullptr);

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
