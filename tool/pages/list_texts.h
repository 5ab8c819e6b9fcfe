#pragma once

#include <string_view>

namespace zforms::tool {

// The texts of the page that lists the forms, in one language.
struct ListTexts {
  const char* language;  // the language code for HTML
  const char* title;
  const char* lead;
  const char* lead_without_reader;
  const char* search;
  const char* open;
  const char* look;
  const char* fresh;
  const char* saved;
  const char* refused;
  // Texts about forms that this browser has opened and saved. The script of the page shows them; "{n}" stands for a
  // number.
  const char* opened_here;
  const char* draft_here;
  const char* saved_here;
  const char* refused_here;
  const char* go;
  const char* found_one;
  const char* found;
};

// The texts in the preferred language of an "Accept-Language" field (RFC 9110 12.5.4); in English when it contains no
// supported one. The page for filling has its texts in the same languages, in tool/reader/texts_*.js.
const ListTexts& ListTextsFor(std::string_view accepted);

}  // namespace zforms::tool
