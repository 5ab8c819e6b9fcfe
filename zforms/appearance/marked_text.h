#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zforms {

// What of an appearance stream stays when its text is drawn again.
struct KeptContent {
  std::string before;
  std::string after;
};

// The content apart from the sections "/Tx BMC ... EMC", in which the text of a field stands (ISO 32000-1 12.7.3.3).
// The new one goes where the first of them was, or to the end where there is none. Empty when the content cannot be
// kept: it shows text but has no such section, a section has no end, or what is in it sets what is used behind it.
// Takes time in proportion to the content.
std::optional<KeptContent> WithoutMarkedText(std::string_view content);

}  // namespace zforms
