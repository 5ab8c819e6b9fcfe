#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "zforms/appearance/fonts/resource_font.h"

namespace zforms {

// The character codes of the fonts of a document, by the object numbers of the fonts. Copies of the document, which may
// be drawn by several threads, share it, so each font is read once for all of them. Any thread may use it.
class SharedFontCodes {
 public:
  // The codes of the font with that object number. `font` is the value of the object in one of the copies.
  std::shared_ptr<const FontCodes> Of(uint32_t number, const ZPDFNodeDictionary& font);

 private:
  std::mutex mutex_;
  std::unordered_map<uint32_t, std::shared_ptr<const FontCodes>> codes_;
};

}  // namespace zforms
