#pragma once

#include <string>

namespace zforms::tool {

class Office;
class ReaderPage;
struct ListTexts;

// The page that lists the office's forms, each with its state and links to open it, as HTML. `reader` shows forms in a
// browser; null without it.
std::string FormList(Office& office, const ReaderPage* reader, const ListTexts& texts);

}  // namespace zforms::tool
