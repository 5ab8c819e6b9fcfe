#include "zforms/appearance/paragraph_maker.h"

#include <fribidi.h>
#include <hb.h>
#include <linebreak.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "zforms/appearance/fonts/fallback_fonts.h"
#include "zforms/platform/text/clusters.h"
#include "zforms/platform/text/text.h"

namespace zforms {
namespace {

using Levels = std::vector<uint8_t>;

// Longer clusters are split, since shaping takes time that grows with the square of their length. The Stream-Safe Text
// Format (UAX 15) allows 30 combining marks in a row.
constexpr size_t kLongestCluster = 64;

// Characters below this are Latin, Greek and Cyrillic. Except for the combining marks, each has a glyph of its own, and
// they run from left to right. U+00AD, which is invisible, is already removed.
constexpr char32_t kSimpleEnd = 0x530;
bool IsSimple(char32_t c) { return c < kSimpleEnd && !(c >= 0x300 && c < 0x370) && !(c >= 0x483 && c < 0x48A); }

// True for scripts with one glyph for each character.
bool IsSimpleScript(hb_script_t script) {
  switch (script) {
    case HB_SCRIPT_COMMON:
    case HB_SCRIPT_LATIN:
    case HB_SCRIPT_GREEK:
    case HB_SCRIPT_CYRILLIC:
    case HB_SCRIPT_ARMENIAN:
    case HB_SCRIPT_GEORGIAN:
    case HB_SCRIPT_HAN:
    case HB_SCRIPT_HIRAGANA:
    case HB_SCRIPT_KATAKANA:
    case HB_SCRIPT_HANGUL:
    case HB_SCRIPT_BOPOMOFO: return true;
    default: return false;
  }
}

Levels LevelsOf(const std::u32string& text, bool* right_to_left) {
  static_assert(sizeof(FriBidiChar) == sizeof(char32_t));
  const auto length = static_cast<FriBidiStrIndex>(text.size());
  const auto* const characters = reinterpret_cast<const FriBidiChar*>(text.data());
  std::vector<FriBidiCharType> types(text.size());
  std::vector<FriBidiBracketType> brackets(text.size());
  std::vector<FriBidiLevel> levels(text.size());
  fribidi_get_bidi_types(characters, length, types.data());
  fribidi_get_bracket_types(characters, length, types.data(), brackets.data());
  FriBidiParType base = FRIBIDI_PAR_ON;
  if (fribidi_get_par_embedding_levels_ex(types.data(), brackets.data(), length, &base, levels.data()) == 0) {
    return Levels(text.size(), 0);
  }
  *right_to_left = FRIBIDI_IS_RTL(base) != 0;
  return Levels(levels.begin(), levels.end());
}

std::vector<uint8_t> MarksOf(const std::u32string& text) {
  static_assert(sizeof(utf32_t) == sizeof(char32_t));
  // libunibreak reads U+FFFF as the end of the text, and aborts when more text follows.
  std::u32string readable = text;
  std::replace(readable.begin(), readable.end(), U'\uFFFF', U'\uFFFD');
  std::vector<char> breaks(text.size());
  set_linebreaks_utf32(reinterpret_cast<const utf32_t*>(readable.data()), readable.size(), "", breaks.data());
  std::vector<uint8_t> marks(text.size(), 0);
  for (size_t i = 1; i < text.size(); i++) {
    if (breaks[i - 1] == LINEBREAK_ALLOWBREAK || breaks[i - 1] == LINEBREAK_MUSTBREAK) {
      marks[i] |= TextParagraph::kBreakBefore;
    }
  }
  Chaine utf8;
  for (const char32_t c : text) AppendUTF8(&utf8, c);
  std::string_view rest = utf8;
  for (size_t i = 0; !rest.empty(); i++) {
    const std::string_view cluster = TakeCluster(&rest);
    const auto is_first_byte = [](char byte) { return (static_cast<uint8_t>(byte) & 0xC0) != 0x80; };
    auto left = std::count_if(cluster.begin(), cluster.end(), is_first_byte);
    for (size_t place = 1; --left > 0 && i + 1 < marks.size(); place++) {
      marks[++i] = place % kLongestCluster == 0 ? TextParagraph::kSplitCluster : TextParagraph::kInsideCluster;
    }
  }
  return marks;
}

// The script of each character. Blanks, digits and marks have the script of the text before them, or, at the start, of
// the text after them.
std::vector<hb_script_t> ScriptsOf(const std::u32string& text) {
  hb_unicode_funcs_t* const unicode = hb_unicode_funcs_get_default();
  std::vector<hb_script_t> scripts(text.size());
  hb_script_t last = HB_SCRIPT_COMMON;
  for (size_t i = 0; i < text.size(); i++) {
    const hb_script_t script = hb_unicode_script(unicode, text[i]);
    const bool is_shared = script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN;
    if (!is_shared && last == HB_SCRIPT_COMMON) std::fill_n(scripts.begin(), i, script);
    if (!is_shared) last = script;
    scripts[i] = last;
  }
  return scripts;
}

// Chooses the fonts of a text, run by run.
class FontChooser {
 public:
  FontChooser(std::u32string* text, TextFont* font, const ZFontStyle& style, FallbackFonts* fallback,
              std::u32string* missing)
      : text_(*text), font_(font), style_(style), fallback_(fallback), missing_(*missing) {}

  // Chooses the fonts for the characters [from, to), which have one script and one level.
  void Choose(size_t from, size_t to, hb_script_t script, uint8_t level, const std::vector<uint8_t>& marks) {
    TextFont* const one = FontOf(from, to, script);
    if (one != nullptr) return Add(one, from, to - from, level, marks);
    for (size_t start = from; start < to;) {
      size_t end = start + 1;
      while (end < to && (marks[end] & TextParagraph::kInsideCluster) != 0) end++;
      TextFont* font = FontOf(start, end, script);
      if (font == nullptr) font = Replace(start, end);
      Add(font, start, end - start, level, marks);
      start = end;
    }
  }

  std::vector<TextRun> Runs() { return std::move(runs_); }

 private:
  TextFont* FontOf(size_t from, size_t to, hb_script_t script) {
    const std::u32string_view part = std::u32string_view(text_).substr(from, to - from);
    const auto is_mark = [](char32_t c) { return c >= 0x300 && c < 0x370; };
    const bool may_show =
        font_->Shapes() || (IsSimpleScript(script) && std::none_of(part.begin(), part.end(), is_mark));
    if (may_show && std::all_of(part.begin(), part.end(), [&](char32_t c) { return font_->Has(c); })) return font_;
    return fallback_ == nullptr ? nullptr : fallback_->Find(style_, part);
  }

  // Replaces the characters that `font_` lacks by "?" or a blank, and adds them to `missing_`.
  TextFont* Replace(size_t from, size_t to) {
    for (size_t i = from; i < to; i++) {
      if (font_->Has(text_[i])) continue;
      missing_ += text_[i];
      text_[i] = font_->Has(U'?') ? U'?' : U' ';
    }
    return font_;
  }

  void Add(TextFont* font, size_t from, size_t count, uint8_t level, const std::vector<uint8_t>& marks) {
    const bool is_split = (marks[from] & TextParagraph::kSplitCluster) != 0;
    if (!is_split && !runs_.empty() && runs_.back().font == font && runs_.back().level == level) {
      runs_.back().count += count;
    } else {
      runs_.push_back({font, from, count, level});
    }
  }

  std::u32string& text_;
  TextFont* font_;
  const ZFontStyle& style_;
  FallbackFonts* fallback_;
  std::u32string& missing_;
  std::vector<TextRun> runs_;
};

}  // namespace

TextParagraph MakeParagraph(std::u32string text, TextFont* font, const ZFontStyle& style, FallbackFonts* fallback,
                            std::u32string* missing) {
  if (std::all_of(text.begin(), text.end(), [font](char32_t c) { return IsSimple(c) && font->Has(c); })) {
    return {std::move(text), font};
  }
  bool right_to_left = false;
  const Levels levels = LevelsOf(text, &right_to_left);
  const std::vector<hb_script_t> scripts = ScriptsOf(text);
  std::vector<uint8_t> marks = MarksOf(text);
  FontChooser chooser(&text, font, style, fallback, missing);
  for (size_t from = 0; from < text.size();) {
    size_t to = from + 1;
    const auto is_same = [&](size_t at) {
      return levels[at] == levels[from] && scripts[at] == scripts[from] &&
             (marks[at] & TextParagraph::kSplitCluster) == 0;
    };
    while (to < text.size() && is_same(to)) to++;
    chooser.Choose(from, to, scripts[from], levels[from], marks);
    from = to;
  }
  return {std::move(text), chooser.Runs(), std::move(marks), right_to_left};
}

}  // namespace zforms
