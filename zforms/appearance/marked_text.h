#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zforms {

// The parts of an appearance stream that stay when its text is drawn again. The new text goes between them.
struct KeptContent {
  std::string before;
  std::string after;
};

// Removes the sections "/Tx BMC ... EMC", which contain the text of a field (ISO 32000-1 12.7.3.3), and splits the rest
// where the first section was. Without a section, the rest is all in `before`. Returns nothing when the content cannot
// be kept: it shows text outside such a section, a section has no end, or a section changes the state that later
// content uses. Takes time in proportion to the content.
std::optional<KeptContent> WithoutMarkedText(std::string_view content);

}  // namespace zforms
