#pragma once

#include <string>

namespace zforms::tool {

class Office;
class ReaderPage;
struct ListTexts;

// Makes the page that lists the office's forms, as HTML: each form with its state and links to open it. `reader` is the
// page that shows forms in a browser, or null. False when the store cannot be read.
bool FormList(Office& office, const ReaderPage* reader, const ListTexts& texts, std::string* list);

}  // namespace zforms::tool
