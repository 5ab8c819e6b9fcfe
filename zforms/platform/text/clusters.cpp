#include "zforms/platform/text/clusters.h"

#include <utf8proc.h>

#include <algorithm>

#include "zforms/platform/text/characters.h"

namespace zforms {
namespace {

// Variation selector 16: the character before it is shown as an emoji, which is wide.
constexpr char32_t kEmojiStyle = 0xFE0F;

// Two of these letters are a flag.
bool IsRegionalIndicator(char32_t c) { return c >= 0x1F1E6 && c <= 0x1F1FF; }

}  // namespace

std::string_view TakeCluster(std::string_view* text) {
  std::string_view rest = *text;
  std::optional<char32_t> before = TakeCharacter(&rest);
  utf8proc_int32_t state = 0;
  while (before && !rest.empty()) {
    std::string_view behind = rest;
    const std::optional<char32_t> next = TakeCharacter(&behind);
    if (!next || utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(*before),
                                                  static_cast<utf8proc_int32_t>(*next), &state)) {
      break;
    }
    before = next;
    rest = behind;
  }
  const std::string_view cluster = text->substr(0, text->size() - rest.size());
  *text = rest;
  return cluster;
}

size_t ClusterWidth(std::string_view cluster) {
  int width = 0;
  size_t indicators = 0;
  while (!cluster.empty()) {
    const std::optional<char32_t> c = TakeCharacter(&cluster);
    width = std::max(width, c ? utf8proc_charwidth(static_cast<utf8proc_int32_t>(*c)) : 1);
    indicators += c && IsRegionalIndicator(*c) ? 1 : 0;
    if (c == kEmojiStyle || indicators == 2) width = 2;
  }
  return static_cast<size_t>(width);
}

size_t DisplayWidth(std::string_view text) {
  size_t width = 0;
  while (!text.empty()) width += ClusterWidth(TakeCluster(&text));
  return width;
}

}  // namespace zforms
