#pragma once

#include <optional>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/text/text.h"

namespace zforms {

// The byte order mark at the front of a text is U+FEFF in the encoding of the text, and so identifies the encoding (RFC
// 3629 6, RFC 2781 3.2).

inline constexpr std::string_view kUTF8Mark = "\xEF\xBB\xBF";
inline constexpr std::string_view kUTF16BEMark = "\xFE\xFF";
inline constexpr std::string_view kUTF16LEMark = "\xFF\xFE";

// The byte order of UTF-16 that begins with its mark; nothing for any other text.
constexpr std::optional<ByteOrder> UTF16OrderByMark(std::string_view text) {
  if (text.starts_with(kUTF16BEMark)) return ByteOrder::eBigEndian;
  if (text.starts_with(kUTF16LEMark)) return ByteOrder::eLittleEndian;
  return std::nullopt;
}

// The mark that the text begins with; empty when it begins with none.
constexpr std::string_view ByteOrderMarkOf(std::string_view text) {
  if (text.starts_with(kUTF8Mark)) return text.substr(0, kUTF8Mark.size());
  return UTF16OrderByMark(text) ? text.substr(0, kUTF16BEMark.size()) : std::string_view();
}

constexpr std::string_view WithoutUTF8Mark(std::string_view text) {
  return text.starts_with(kUTF8Mark) ? text.substr(kUTF8Mark.size()) : text;
}

// Converts UTF-16 that begins with its mark to UTF-8 without a mark. Any other text is returned unchanged, and shares
// its bytes.
Chaine MarkedUTF16ToUTF8(const Chaine& text);

}  // namespace zforms
