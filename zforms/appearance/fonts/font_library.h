#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "zforms/appearance/fonts/font_program.h"
#include "zforms/appearance/fonts/font_source.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class SharedFontCodes;

// The fonts that replace a form's own: font files that the user named, then the fonts of the system. Each font is
// opened once. The result of a search depends only on style and characters, not on earlier searches. Any thread may use
// it.
class FontLibrary {
 public:
  explicit FontLibrary(std::unique_ptr<ZFontSource> source);
  // The same fonts, for copies of one form, whose own fonts are then read only once.
  explicit FontLibrary(std::shared_ptr<FontLibrary> fonts);
  ~FontLibrary();
  FontLibrary(const FontLibrary&) = delete;
  FontLibrary& operator=(const FontLibrary&) = delete;

  // Adds a font. Added fonts are tried before the fonts of the system, in the order in which they were added. False
  // when it cannot be used; `fault` then says why. Call it before the first Find.
  bool AddFile(const Chaine& path, Chaine* fault);

  // A font that has all the characters and may be embedded; null when there is none.
  std::shared_ptr<const FontProgram> Find(const ZFontStyle& style, std::u32string_view characters);

  // The codes of the form's own fonts; null in a library that is not made for one form.
  const std::shared_ptr<SharedFontCodes>& OfForm() const { return of_form_; }

 private:
  using Program = std::shared_ptr<const FontProgram>;

  Program Search(const ZFontStyle& style, std::u32string_view characters);
  const Program& Open(const ZFontFile& file);

  std::shared_ptr<FontLibrary> fonts_;  // the library that has the fonts; null if this object has them
  std::shared_ptr<SharedFontCodes> of_form_;
  std::mutex mutex_;
  std::unique_ptr<ZFontSource> source_;
  std::vector<Program> named_;
  std::map<std::pair<std::string, uint32_t>, Program>
      programs_;  // by file and face; null for those that cannot be used
  std::map<std::pair<ZFontStyle, std::u32string>, Program> found_;
};

}  // namespace zforms
