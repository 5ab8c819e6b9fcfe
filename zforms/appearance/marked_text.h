#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zforms {

// The parts of an appearance stream that stay when its text is drawn again.
struct KeptContent {
  std::string before;
  std::string after;
};

// The content without its sections "/Tx BMC ... EMC", which contain the text of a field (ISO 32000-1 12.7.3.3).
// `before` ends at the place of the new section: that of the first one, or the end of the content when there is none.
// Empty when the content cannot be kept: it shows text outside such a section, a section has no end, or a section
// changes the state that later content uses. Takes time in proportion to the content.
std::optional<KeptContent> WithoutMarkedText(std::string_view content);

}  // namespace zforms
