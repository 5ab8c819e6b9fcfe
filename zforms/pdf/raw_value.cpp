#include "zforms/pdf/raw_value.h"

#include <algorithm>
#include <array>

#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/token_end.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/hex.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

constexpr int kDeepest = 32;
constexpr size_t kMostKeys = 64;

std::string_view Between(const char* begin, const char* end) { return {begin, static_cast<size_t>(end - begin)}; }

// The parts of a reference.
struct Reference {
  std::string_view number;
  std::string_view generation;
  const char* end = nullptr;  // null when there is no reference
};

Reference ReferenceAt(const char* at, const char* end) {
  const char* const number_end = SkipClass(at, end, kDigit);
  const char* const generation = SkipClass(number_end, end, kBlank);
  if (number_end == at || generation == number_end) return {};
  const char* const generation_end = SkipClass(generation, end, kDigit);
  const char* const letter = SkipClass(generation_end, end, kBlank);
  if (generation_end == generation || letter == generation_end || letter == end || *letter != 'R') return {};
  if (!EndsToken(letter + 1, end)) return {};
  return {Between(at, number_end), Between(generation, generation_end), letter + 1};
}

// The end of a string, after its closing parenthesis; null when it is not closed. `*escaped` becomes true when the
// bytes between the parentheses are not exactly the bytes of the string.
const char* LiteralEnd(const char* at, const char* end, bool* escaped) {
  *escaped = false;
  int open = 0;
  for (at = FindClass(at + 1, end, kInString); at != end; at = FindClass(at + 1, end, kInString)) {
    if (*at == '(') {
      open++;
    } else if (*at == ')') {
      if (open-- == 0) return at + 1;
    } else {
      *escaped = true;
      if (*at == '\\' && ++at == end) return nullptr;
    }
  }
  return nullptr;
}

// Checks a value and finds its end.
class Scanner {
 public:
  Scanner(std::string_view text, std::vector<ZPDFObjectIdentifier>* references)
      : end_(text.data() + text.size()), references_(references) {}

  // Each gives the end of what begins at `at`, or null. Precondition for Value: at != end.
  const char* Value(const char* at, int depth) {
    switch (*at) {
      case '/': return NameEnd(at, end_);
      case '(': {
        bool escaped = false;
        return LiteralEnd(at, end_, &escaped);
      }
      case '[': return depth < kDeepest ? Array(at, depth) : nullptr;
      case '<':
        if (end_ - at > 1 && at[1] == '<') return depth < kDeepest ? Dictionary(at, depth) : nullptr;
        return Hexadecimal(at);
      case 't': return Word(at, "true");
      case 'f': return Word(at, "false");
      case 'n': return Word(at, "null");
      default: return Number(at);
    }
  }

 private:
  const char* Word(const char* at, std::string_view word) const {
    if (!Between(at, end_).starts_with(word)) return nullptr;
    at += word.size();
    return EndsToken(at, end_) ? at : nullptr;
  }

  const char* Hexadecimal(const char* at) const {
    for (at++; at != end_ && HexDigit(*at) >= 0;) at++;
    return at != end_ && *at == '>' ? at + 1 : nullptr;
  }

  const char* Number(const char* at) {
    if (const Reference reference = ReferenceAt(at, end_); reference.end != nullptr) {
      references_->emplace_back(ParseUInt(reference.number), ParseUInt(reference.generation));
      return AreWrittenAsIs(reference.number) && AreWrittenAsIs(reference.generation) ? reference.end : nullptr;
    }
    const char* const after = NumberEnd(at, end_);
    if (after == nullptr) return nullptr;
    // A comment may stand within a reference.
    const char* const next = SkipClass(after, end_, kBlank);
    return next != end_ && *next == '%' ? nullptr : after;
  }

  const char* Array(const char* at, int depth) {
    for (at = SkipClass(at + 1, end_, kBlank); at != end_ && *at != ']'; at = SkipClass(at, end_, kBlank)) {
      at = Value(at, depth + 1);
      if (at == nullptr) return nullptr;
    }
    return at == end_ ? nullptr : at + 1;
  }

  const char* Dictionary(const char* at, int depth) {
    std::array<std::string_view, kMostKeys> keys;
    size_t count = 0;
    uint64_t seen = 0;
    for (at = SkipClass(at + 2, end_, kBlank); at != end_ && *at == '/'; at = SkipClass(at, end_, kBlank)) {
      const char* const key_end = NameEnd(at, end_);
      if (key_end == nullptr || count == kMostKeys) return nullptr;
      const std::string_view key = Between(at, key_end);
      // Most keys differ in their length, second and last characters.
      const uint64_t tag =
          uint64_t{1} << ((key.size() * 11 + static_cast<size_t>(key[1]) * 5 + static_cast<size_t>(key.back())) % 64);
      const auto known = keys.begin() + static_cast<std::ptrdiff_t>(count);
      if ((seen & tag) != 0 && std::find(keys.begin(), known, key) != known) return nullptr;
      seen |= tag;
      keys[count++] = key;
      at = SkipClass(key_end, end_, kBlank);
      if (at == end_) return nullptr;
      at = Value(at, depth + 1);
      if (at == nullptr) return nullptr;
    }
    return end_ - at > 1 && at[0] == '>' && at[1] == '>' ? at + 2 : nullptr;
  }

  const char* end_;
  std::vector<ZPDFObjectIdentifier>* references_;
};

// Writes a value that was checked and whose lines all stay short, as nearly all do. Takes the same steps as
// ZPDFOutStream, but on a pointer, and without looking for the end of a line.
class ShortLineWriter {
 public:
  // `to` is the start of a line. It must have room for kMostGrowth bytes for each byte of the text.
  ShortLineWriter(std::string_view text, char* to)
      : at_(text.data()), end_(text.data() + text.size()), line_(to), to_(to) {}

  static constexpr size_t kMostGrowth = 2;
  static constexpr std::ptrdiff_t kLongLine = 250;

  // The end of what was written; null when the value cannot be written in this way.
  char* Write() {
    Value();
    for (SkipBlanks(); at_ != end_; SkipBlanks()) Part();
    EndLine();
    return fits_ ? to_ : nullptr;
  }
  std::ptrdiff_t Column() const { return to_ - line_; }

 private:
  void SkipBlanks() { at_ = SkipClass(at_, end_, kBlank); }
  void DropBlank() {
    if (to_[-1] == ' ') to_--;
  }
  void Separate() {
    if (!Is(to_[-1], kSelfDelimited)) *to_++ = ' ';
  }
  void EndLine() { fits_ = fits_ && to_ - line_ <= kLongLine; }
  void NewLine() {
    if (to_[-1] == '\n') return;
    DropBlank();
    EndLine();
    *to_++ = '\n';
    line_ = to_;
  }
  void Copy(const char* after) {
    const auto length = static_cast<size_t>(after - at_);
    Chaine::CopyBytes(to_, {at_, length});
    to_ += length;
    at_ = after;
  }

  void Value() {
    switch (*at_) {
      case '(': Literal(); break;
      case '[': Array(); break;
      case '<': at_[1] == '<' ? Dictionary() : Hexadecimal(); break;
      default: Token(); break;
    }
  }
  // The second or third part of a reference.
  void Part() {
    Separate();
    Token();
  }
  void Token() {
    if (*at_ == '/') DropBlank();
    Copy(FindClass(at_ + 1, end_, kBlankOrSpecial));
  }
  void Literal() {
    bool escaped = false;
    const char* const after = LiteralEnd(at_, end_, &escaped);
    const std::string_view body = Between(at_ + 1, after - 1);
    if (FindClass(body.data(), after - 1, kEscaped) != after - 1) {
      const Chaine value = escaped ? ZPDFNodeLiteralString::Decode(body) : Chaine(body);
      fits_ = fits_ && ZPDFNodeLiteralString::Encode(value) == body;
    }
    DropBlank();
    Copy(after);
  }
  void Hexadecimal() {
    const char* const after = std::find(at_, end_, '>') + 1;
    fits_ = fits_ && (after - at_) % 2 == 0;
    DropBlank();
    for (; at_ != after; at_++) *to_++ = *at_ >= 'a' ? static_cast<char>(*at_ - 'a' + 'A') : *at_;
  }
  void Array() {
    DropBlank();
    *to_++ = *at_++;
    for (SkipBlanks(); *at_ != ']'; SkipBlanks()) {
      Separate();
      Value();
      Separate();
    }
    *to_++ = *at_++;
  }
  void Dictionary() {
    DropBlank();
    Copy(at_ + 2);
    SkipBlanks();
    const bool has_entries = *at_ == '/';
    while (*at_ == '/') {
      NewLine();
      Token();
      Separate();
      SkipBlanks();
      Value();
      for (SkipBlanks(); *at_ != '/' && *at_ != '>'; SkipBlanks()) Part();
    }
    if (has_entries) NewLine();
    Copy(at_ + 2);
  }

  const char* at_;
  const char* end_;
  char* line_;
  char* to_;
  bool fits_ = true;
};

// Writes a value with longer lines.
void WriteByNodes(std::string_view text, ZPDFOutStream& out) {
  ZPDFTokenizedString tokens{Chaine(text)};
  tokens.SetDocument();
  ZPDFNode* const node = ReadForward(tokens, nullptr, nullptr);
  if (node != nullptr) node->SendTo(out, nullptr);
  ZPDFNode::Destroy(node);
}

}  // namespace

size_t ZPDFRawValue::LengthAt(std::string_view text, std::vector<ZPDFObjectIdentifier>* references) {
  if (text.empty()) return 0;
  const char* const after = Scanner(text, references).Value(text.data(), 0);
  return after == nullptr ? 0 : static_cast<size_t>(after - text.data());
}

void ZPDFRawValue::Write(std::string_view text, ZPDFOutStream& out) {
  const ZPDFOutStream::Run run(out);
  char* const to = out.Room(ShortLineWriter::kMostGrowth * text.size());
  ShortLineWriter writer(text, to);
  if (const char* const end = out.Column() == 0 ? writer.Write() : nullptr) {
    out.Accept(static_cast<size_t>(end - to), static_cast<size_t>(writer.Column()));
  } else {
    WriteByNodes(text, out);
  }
}

}  // namespace zforms
