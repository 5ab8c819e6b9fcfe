#include "zforms/pdf/object_head.h"

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/number.h"

namespace zforms {

std::optional<ZPDFObjectHead> TakeObjectHead(ZPDFTokenizedString& text) {
  const std::string_view number = text.TakeFirstToken();
  if (!AllDigits(number)) return std::nullopt;
  const std::string_view generation = text.TakeFirstToken();
  if (!AllDigits(generation)) return std::nullopt;
  const std::string_view word = text.TakeFirstToken();
  if (!word.starts_with("obj")) return std::nullopt;
  return ZPDFObjectHead{{ParseUInt(number), ParseUInt(generation)}, word == "obj"};
}

}  // namespace zforms
