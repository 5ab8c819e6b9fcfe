#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// Decode the filters of streams that need no library (ISO 32000-1 7.4.2, 7.4.3, 7.4.5). Each returns the decoded bytes,
// up to the first byte that is not valid; nothing when they are more than `limit` bytes.
std::optional<Chaine> UndoASCIIHex(std::string_view bytes, size_t limit);
std::optional<Chaine> UndoASCII85(std::string_view bytes, size_t limit);
std::optional<Chaine> UndoRunLength(std::string_view bytes, size_t limit);

}  // namespace zforms
