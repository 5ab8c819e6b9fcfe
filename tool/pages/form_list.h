#pragma once

#include <string>

namespace zforms::tool {

class Office;
class ReaderPage;
struct ListTexts;

// The page that lists the office's forms, each with its state and links to open it, as HTML. `reader` shows forms in a
// browser; null without it. False when the store cannot be read.
bool FormList(Office& office, const ReaderPage* reader, const ListTexts& texts, std::string* list);

}  // namespace zforms::tool
