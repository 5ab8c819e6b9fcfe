#pragma once

#include <string>

namespace zforms::tool {

class Office;
class ReaderPage;

// Adds the web pages of an office to its server: the list of its forms at "/", and below "/reader/" the page that shows
// a form in a browser, from the files in `reader_folder`. With `scripts`, that page runs the scripts of forms. Call
// this before the server starts. Returns the page that shows forms, which the server owns; null when its files are
// missing.
const ReaderPage* AddPages(Office& office, const std::string& reader_folder, bool scripts);

// Adds the addresses below "/submissions/", which show the stored submissions to the person who runs the server.
// Requests need the returned key.
std::string AddSubmissionsPage(Office& office, const std::string& data);

}  // namespace zforms::tool
