#include "zforms/appearance/text_drawing.h"

#include <algorithm>
#include <utility>

#include "zforms/appearance/value_text.h"

namespace zforms {
namespace {

constexpr char32_t kBullet = 0x2022;
// How many layouts of a text are charged to the budget when its size is automatic: several sizes are tried.
constexpr size_t kPasses = 12;

}  // namespace

size_t TextDrawer::CellsOf(uint32_t flags, uint32_t max_length) {
  constexpr uint32_t kOthers = kMultilineFlag | kPasswordFlag | kFileSelectFlag;
  const bool is_comb = (flags & kCombFlag) != 0 && (flags & kOthers) == 0;
  return is_comb && max_length <= kMostCells ? max_length : 0;
}

void TextDrawer::Prepare(const WidgetDrawing& drawing, const Chaine& utf8, Kind kind, const TextSpacing& spacing) {
  const bool is_same = font_ == drawing.look.font && kind_ == kind && spacing_ == spacing &&
                       text_.size() == utf8.size() && (text_.data() == utf8.data() || text_ == utf8);
  if (is_same && font_ != nullptr) return;
  *work_ -= std::min(*work_, utf8.size());
  text_ = utf8;
  font_ = drawing.look.font;
  kind_ = kind;
  spacing_ = spacing;
  paragraphs_.clear();
  missing_.clear();
  characters_ = 0;
  const auto add = [this](std::u32string line) {
    characters_ += line.size();
    paragraphs_.push_back(fonts_.MakeParagraph(std::move(line), font_, &missing_));
    paragraphs_.back().Space(spacing_);
  };
  if (kind == Kind::kLines) {
    for (std::u32string& line : LinesOfText(utf8, &missing_)) add(std::move(line));
  } else {
    std::u32string line = LineOfText(utf8, kind == Kind::kPassword ? nullptr : &missing_);
    // Shows bullets or asterisks in place of a password.
    if (kind == Kind::kPassword) line.assign(line.size(), font_->Has(kBullet) ? kBullet : U'*');
    add(std::move(line));
  }
}

TextLayout TextDrawer::LayOut(const TextBox& box, Kind kind, size_t cells) {
  if (cells > 0) return LayOutComb(paragraphs_[0], box, cells);
  if (kind != Kind::kLines) return LayOutLine(paragraphs_[0], box);
  *work_ -= std::min(*work_, characters_ * (box.size > 0 ? 1 : kPasses));
  return LayOutLines(paragraphs_, box);
}

void TextDrawer::Draw(WidgetDrawing& drawing, const Chaine& utf8, uint32_t flags, uint32_t max_length) {
  if (utf8.IsEmpty() || drawing.look.font == nullptr) return;
  const bool is_password = (flags & kPasswordFlag) != 0;
  const Kind kind = is_password ? Kind::kPassword : (flags & kMultilineFlag) != 0 ? Kind::kLines : Kind::kLine;
  const size_t cells = CellsOf(flags, max_length);
  // In a comb the cells space the text, so Tc and Tw do not apply.
  TextSpacing spacing = drawing.Spacing();
  if (cells > 0) spacing.character = spacing.word = 0;
  Prepare(drawing, utf8, kind, spacing);
  drawing.missing += missing_;
  if (characters_ == 0) return;
  const TextLayout layout = LayOut(drawing.box, kind, cells);
  drawing.characters = characters_;
  drawing.left_out = is_password ? 0 : layout.left_out;
  drawing.Clip();
  drawing.ShowText(paragraphs_, layout);
}

}  // namespace zforms
