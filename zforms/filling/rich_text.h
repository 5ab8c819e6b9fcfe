#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/xml/xml_element.h"

namespace zforms {

// The plain text of a rich text (ISO 32000-1 12.7.3.4), with CR LF between its paragraphs and for each "br".
Chaine PlainTextOf(const ZXMLElement& rich_text);

}  // namespace zforms
