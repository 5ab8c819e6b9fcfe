#pragma once

#include <string>
#include <string_view>

namespace zforms::tool {

class Office;
class ReaderPage;

enum class Language { kEnglish, kFrench };

// The preferred language of an "Accept-Language" field (RFC 9110 12.5.4); English when it contains no supported one.
Language LanguageFor(std::string_view accepted);

// The page that lists the office's forms, each with its state and links to open it, as HTML. `reader` shows forms in a
// browser; null without it.
std::string FormList(Office& office, const ReaderPage* reader, Language language);

}  // namespace zforms::tool
