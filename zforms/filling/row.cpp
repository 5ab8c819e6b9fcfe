#include "zforms/filling/row.h"

#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

Chaine Text(const std::string& text) {
  return text.find_first_of("\r\n") == std::string::npos ? Chaine(text) : WithLineEnds(text, "\r\n");
}

}  // namespace

PTableau<Chaine> TextsOf(const Cell& cell) {
  PTableau<Chaine> texts = {Text(cell.text)};
  for (const std::string& more : cell.more) texts.push_back(Text(more));
  return texts;
}

}  // namespace zforms
