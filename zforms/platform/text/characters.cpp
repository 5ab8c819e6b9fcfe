#include "zforms/platform/text/characters.h"

namespace zforms {

size_t SizeOfWholeCharacters(std::string_view text, size_t size) {
  if (text.size() <= size) return text.size();
  size_t end = size;
  while (end > 0 && size - end < 3 && IsTrailByte(text[end])) end--;
  return IsTrailByte(text[end]) ? size : end;
}

PTableau<Chaine> LinesOf(const Chaine& text) {
  PTableau<Chaine> lines;
  for (size_t at = 0;;) {
    const size_t end = std::min(text.View().find_first_of("\r\n", at), text.size());
    lines.push_back(text.Mid(at, end - at));
    if (end == text.size()) return lines;
    at = end + (text.View().substr(end, 2) == "\r\n" ? 2 : 1);
  }
}

}  // namespace zforms
