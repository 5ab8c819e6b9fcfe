#pragma once

#include <string_view>

namespace zforms {

// True when a bare keyword or number, left by a damaged file, could be mistaken for the file's structure when it is
// written: it contains "obj", "stream", "xref" or "trailer". Such a token is written as null.
inline bool IsStructureWord(std::string_view text) {
  // Fast path: every one of these words has an "r" or a "b", which no number has.
  if (text.find('r') == std::string_view::npos && text.find('b') == std::string_view::npos) return false;
  for (const std::string_view word : {"obj", "stream", "xref", "trailer"}) {
    if (text.find(word) != std::string_view::npos) return true;
  }
  return false;
}

}  // namespace zforms
