#pragma once

#include <cstddef>
#include <string_view>

namespace zforms {

// What OsFile asks about the files that are mapped. `file` is the descriptor of an open file.

// Lets the system copy the leading bytes of `bytes` to the file's position, if these are bytes of a mapped file.
// Returns how many it copied: 0 when there are none, or the system cannot do this.
size_t CopyMapped(std::string_view bytes, int file) noexcept;
// How many leading bytes of `bytes` are those of this very file, mapped from its start.
size_t MappedFrom(int file, std::string_view bytes) noexcept;
// Gives texts that are mapped from this file bytes of their own. False when there is no memory for them.
bool DetachMapped(int file) noexcept;

}  // namespace zforms
