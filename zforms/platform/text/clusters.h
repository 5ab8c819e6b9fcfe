#pragma once

#include <cstddef>
#include <string_view>

#include "zforms/platform/base/export.h"

namespace zforms {

// Removes the first extended grapheme cluster (Unicode UAX 29) from the front of UTF-8 text, and returns it. Readers
// see a cluster as one character, such as a letter with its accents or a flag. A byte that is not UTF-8 is a cluster by
// itself. Precondition: the text is not empty.
ZFORMS_API std::string_view TakeCluster(std::string_view* text);

// How many columns of a terminal the cluster takes: 2 for wide East Asian characters and emoji, 0 for combining marks
// and control characters by themselves, else 1.
ZFORMS_API size_t ClusterWidth(std::string_view cluster);

// How many columns of a terminal the UTF-8 text takes.
ZFORMS_API size_t DisplayWidth(std::string_view text);

}  // namespace zforms
