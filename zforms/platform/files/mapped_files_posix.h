#pragma once

#include <cstddef>
#include <string_view>

namespace zforms {

// Functions that OsFile needs for mapped files. `file` is the descriptor of an open file.

// Lets the system copy the leading bytes of `bytes` to the file's position, if these are bytes of a mapped file.
// Returns how many it copied: 0 when there are none, or the system cannot do this.
size_t CopyMapped(std::string_view bytes, int file) noexcept;
// How many leading bytes of `bytes` are mapped from the start of this same file; 0 when there are none, or when the
// file has become shorter.
size_t MappedFrom(int file, std::string_view bytes) noexcept;
// For texts that are mapped from this file, replaces the mapped bytes by copies. False when there is no memory for
// them.
bool DetachMapped(int file) noexcept;

}  // namespace zforms
