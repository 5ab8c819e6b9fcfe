#pragma once

#include <string>
#include <string_view>

namespace zforms::tool {

class Office;
class ReaderPage;

enum class Language { kEnglish, kFrench };

// The one that an "Accept-Language" field likes best (RFC 9110 12.5.4); English when
// it names neither.
Language LanguageFor(std::string_view accepted);

// The page that lists the forms of the office, each with its state and the ways to
// open it, as HTML.
// `reader` shows forms in a browser; null without it.
std::string FormList(Office& office, const ReaderPage* reader, Language language);

}  // namespace zforms::tool
