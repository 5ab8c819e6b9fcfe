#include "zforms/appearance/fonts/font_library.h"

#include <algorithm>
#include <utility>

#include "zforms/appearance/fonts/shared_font_codes.h"

namespace zforms {
namespace {

// At most this many results of searches are kept.
constexpr size_t kMostAnswers = 4096;

bool HasAll(const FontProgram& program, std::u32string_view characters) {
  return std::all_of(characters.begin(), characters.end(), [&](char32_t c) { return program.Has(c); });
}

}  // namespace

FontLibrary::FontLibrary(std::unique_ptr<ZFontSource> source) : source_(std::move(source)) {}

FontLibrary::FontLibrary(std::shared_ptr<FontLibrary> fonts)
    : fonts_(std::move(fonts)), of_form_(std::make_shared<SharedFontCodes>()) {}

FontLibrary::~FontLibrary() = default;

bool FontLibrary::AddFile(const Chaine& path, Chaine* fault) {
  if (fonts_ != nullptr) return fonts_->AddFile(path, fault);
  Program program = FontProgram::Open({path, 0}, fault);
  if (program == nullptr) return false;
  const std::lock_guard lock(mutex_);
  named_.push_back(std::move(program));
  return true;
}

FontLibrary::Program FontLibrary::Find(const ZFontStyle& style, std::u32string_view characters) {
  if (fonts_ != nullptr) return fonts_->Find(style, characters);
  std::u32string set(characters);
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
  const std::lock_guard lock(mutex_);
  for (const Program& program : named_) {
    if (HasAll(*program, set)) return program;
  }
  const auto known = found_.find({style, set});
  if (known != found_.end()) return known->second;
  if (found_.size() >= kMostAnswers) found_.clear();
  return found_[{style, set}] = Search(style, set);
}

FontLibrary::Program FontLibrary::Search(const ZFontStyle& style, std::u32string_view characters) {
  if (source_ == nullptr) return nullptr;
  for (const ZFontFile& file : source_->Find(style, characters)) {
    const Program& program = Open(file);
    // Checks the characters again: the list of the system may be wrong about a file.
    if (program != nullptr && HasAll(*program, characters)) return program;
  }
  return nullptr;
}

const FontLibrary::Program& FontLibrary::Open(const ZFontFile& file) {
  const auto [known, is_new] = programs_.try_emplace({file.path.ToString(), file.face});
  Chaine fault;
  if (is_new) known->second = FontProgram::Open(file, &fault);
  return known->second;
}

}  // namespace zforms
