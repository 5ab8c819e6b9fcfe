#include "zforms/appearance/fonts/shared_font_codes.h"

namespace zforms {

std::shared_ptr<const FontCodes> SharedFontCodes::Of(uint32_t number, const ZPDFNodeDictionary& font) {
  const std::lock_guard lock(mutex_);
  std::shared_ptr<const FontCodes>& codes = codes_[number];
  if (codes == nullptr) codes = FontCodes::Read(font);
  return codes;
}

}  // namespace zforms
