#pragma once

#include <string>

namespace zforms::tool {

class Office;
class ReaderPage;

// Adds the web pages of an office to its server: the list of its forms at "/", and below "/reader/" the page that
// shows a form in a browser, from the files of `reader_folder`; it runs the scripts of forms if `scripts` says so. Call
// it before the server starts.
// Returns the page for browsers, which the server owns; null when its files are missing.
const ReaderPage* AddPages(Office& office, const std::string& reader_folder, bool scripts);

// Adds the addresses below "/submissions/", which show the stored submissions to the person who runs the server.
// Requests need the key that is returned.
std::string AddSubmissionsPage(Office& office, const std::string& data);

}  // namespace zforms::tool
