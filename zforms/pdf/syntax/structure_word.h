#pragma once

#include <string_view>

namespace zforms {

// Whether a bare keyword or number that a damaged file left would be taken for the
// frame of the file when it is written: it holds "obj", "stream", "xref" or
// "trailer". Such a token is written as null.
inline bool IsStructureWord(std::string_view text) {
  // Every one of them has an "r" or a "b", which no number has.
  if (text.find('r') == std::string_view::npos && text.find('b') == std::string_view::npos) return false;
  for (const std::string_view word : {"obj", "stream", "xref", "trailer"}) {
    if (text.find(word) != std::string_view::npos) return true;
  }
  return false;
}

}  // namespace zforms
