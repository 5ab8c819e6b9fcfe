#include "zforms/appearance/default_appearance.h"

#include <algorithm>
#include <array>
#include <optional>

#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// At most this many bytes of a string are read, so that a form with a different long string in each field does not take
// long. The strings of real forms have less than 200.
constexpr size_t kMostRead = 4096;
constexpr double kLargestSize = 10000;
constexpr double kLargestSpacing = 1000;
constexpr double kLargestScaling = 1000;
// The largest number of components of a colour (ISO 32000-1 Annex C: 32 in DeviceN).
constexpr size_t kMostOperands = 32;

bool IsNumber(std::string_view word) {
  const size_t digits = word.find_first_not_of("+-");
  if (digits == std::string_view::npos) return false;
  word.remove_prefix(digits);
  return word.find_first_not_of("0123456789.") == std::string_view::npos &&
         word.find_first_of("0123456789") != std::string_view::npos;
}

// The operands before an operator; only the last kMostOperands are kept.
class Operands {
 public:
  void Add(std::string_view word) { words_[count_++ % kMostOperands] = word; }
  void Clear() { count_ = 0; }
  size_t Count() const { return std::min(count_, kMostOperands); }
  // The operand at that place, counted back from the last one, which has place 0. Precondition: back < Count().
  std::string_view Last(size_t back = 0) const { return words_[(count_ - 1 - back) % kMostOperands]; }
  std::optional<double> Number(size_t back = 0) const {
    if (back >= Count() || !IsNumber(Last(back))) return std::nullopt;
    return ParseDouble(Last(back));
  }

 private:
  std::array<std::string_view, kMostOperands> words_;
  size_t count_ = 0;
};

class Reader {
 public:
  explicit Reader(std::string_view text) : at_(text.data()), end_(at_ + text.size()) {}

  DefaultAppearance Read() {
    while (SkipBlanks()) {
      if (*at_ == '(') {
        SkipString();
      } else if (*at_ == '/') {
        operands_.Add(Word(1));
      } else if (Is(*at_, kSpecial)) {
        at_++;
      } else {
        Take(Word(0));
      }
    }
    return result_;
  }

 private:
  // Skips blanks and comments; false at the end of the text.
  bool SkipBlanks() {
    for (;;) {
      at_ = SkipClass(at_, end_, kBlank);
      if (at_ == end_ || *at_ != '%') return at_ != end_;
      at_ = FindClass(at_, end_, kLineEnd);
    }
  }
  std::string_view Word(size_t skip) {
    const char* const first = at_;
    at_ = FindClass(at_ + skip, end_, kBlankOrSpecial);
    return {first, static_cast<size_t>(at_ - first)};
  }
  void SkipString() {
    size_t depth = 0;
    do {
      if (*at_ == '(') depth++;
      if (*at_ == ')') depth--;
      if (*at_ == '\\' && at_ + 1 != end_) at_++;
      at_++;
    } while (at_ != end_ && depth > 0);
    operands_.Add("()");
  }

  void Take(std::string_view word) {
    if (IsNumber(word)) {
      operands_.Add(word);
      return;
    }
    Apply(word);
    operands_.Clear();
  }
  void Apply(std::string_view name) {
    if (name == "Tf") return SetFont();
    if (name == "g") return SetDeviceColor(1);
    if (name == "rg") return SetDeviceColor(3);
    if (name == "k") return SetDeviceColor(4);
    if (name == "cs") return SetColorSpace();
    if (name == "sc" || name == "scn") return SetColor(name);
    if (name == "Tc") return SetSpacing(&result_.character_spacing);
    if (name == "Tw") return SetSpacing(&result_.word_spacing);
    if (name == "Tz") return SetScaling();
  }
  void SetFont() {
    // Some files have "/Helv Tf", without a size.
    const std::optional<double> size = operands_.Number();
    const size_t place = size ? 1 : 0;
    if (operands_.Count() <= place || !operands_.Last(place).starts_with('/')) return;
    result_.font = ZPDFNodeIdentifier::Decode(operands_.Last(place)).Mid(1);
    result_.size = size && *size > 0 && *size <= kLargestSize ? *size : 0;
  }
  void SetSpacing(double* spacing) {
    const std::optional<double> value = operands_.Number();
    if (value && *value >= -kLargestSpacing && *value <= kLargestSpacing) *spacing = *value;
  }
  void SetScaling() {
    const std::optional<double> value = operands_.Number();
    if (value && *value > 0 && *value <= kLargestScaling) result_.horizontal_scaling = *value;
  }

  // The last `count` operands in their order, each limited to [least, most]; empty when one of them is not a number.
  std::optional<Chaine> Components(size_t count, double least, double most) const {
    Chaine text;
    for (size_t back = count; back-- > 0;) {
      const std::optional<double> value = operands_.Number(back);
      if (!value) return std::nullopt;
      text += FormatDouble(std::clamp(*value, least, most)) + " ";
    }
    return text;
  }
  void SetDeviceColor(size_t count) {
    const std::optional<Chaine> components = Components(count, 0, 1);
    if (!components) return;
    space_.Clear();
    result_.color_space.Clear();
    result_.color = *components + (count == 1 ? "g" : count == 3 ? "rg" : "k");
  }
  void SetColorSpace() {
    if (operands_.Count() == 0 || !operands_.Last().starts_with('/')) return;
    const Chaine name = ZPDFNodeIdentifier::Decode(operands_.Last());
    space_ = name == "/Pattern" ? Chaine() : name;
  }
  // When no "cs" precedes, or one with a device colour space, the number of components decides which device colour
  // space is meant.
  void SetColor(std::string_view name) {
    const size_t count = operands_.Count();
    if (space_.IsEmpty() || space_.View().starts_with("/Device")) {
      if (count == 1 || count == 3 || count == 4) SetDeviceColor(count);
      return;
    }
    const std::optional<Chaine> components = Components(count, -kLargestSize, kLargestSize);
    if (count == 0 || !components) return;
    Chaine color;
    ZPDFOutStream out(&color);
    ZPDFNodeIdentifier::Write(out, space_);
    result_.color = color + " cs " + *components + name;
    result_.color_space = space_.Mid(1);
  }

  const char* at_;
  const char* end_;
  Operands operands_;
  Chaine space_;  // the operand of the last cs, empty for none
  DefaultAppearance result_;
};

}  // namespace

DefaultAppearance ParseDefaultAppearance(std::string_view text) { return Reader(text.substr(0, kMostRead)).Read(); }

}  // namespace zforms
