#include "zforms/platform/text/text.h"

#include <array>
#include <cstdint>
#include <optional>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/text/byte_order_mark.h"
#include "zforms/platform/text/characters.h"

namespace zforms {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// The character of each byte of a one-byte encoding.
using ByteTable = std::array<char16_t, 256>;

constexpr ByteTable Latin1Table() {
  ByteTable table{};
  for (size_t i = 0; i < table.size(); ++i) table[i] = static_cast<char16_t>(i);
  return table;
}

template <size_t kCount>
constexpr ByteTable Overlaid(ByteTable table, size_t first, const char16_t (&characters)[kCount]) {
  for (size_t i = 0; i < kCount; ++i) table[first + i] = characters[i];
  return table;
}

constexpr char16_t kWindows1252From80[] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                           0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                           0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                           0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
// ISO 32000-1 Annex D.2.
constexpr char16_t kPDFDocFrom18[] = {0x02D8, 0x02C7, 0x02C6, 0x02D9, 0x02DD, 0x02DB, 0x02DA, 0x02DC};
constexpr char16_t kPDFDocFrom80[] = {0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044, 0x2039,
                                      0x203A, 0x2212, 0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A,
                                      0x2122, 0xFB01, 0xFB02, 0x0141, 0x0152, 0x0160, 0x0178, 0x017D, 0x0131,
                                      0x0142, 0x0153, 0x0161, 0x017E, 0x009F, 0x20AC};

constexpr ByteTable kLatin1 = Latin1Table();
constexpr ByteTable kWindows1252 = Overlaid(kLatin1, 0x80, kWindows1252From80);
constexpr ByteTable kPDFDoc = Overlaid(Overlaid(kLatin1, 0x18, kPDFDocFrom18), 0x80, kPDFDocFrom80);

constexpr bool IsUndefinedInPDFDoc(size_t byte) { return byte == 0x7F || byte == 0x9F || byte == 0xAD; }

// The byte of the character in PDFDocEncoding, if the encoding has it.
std::optional<char> PDFDocByte(char32_t c) {
  if (c < kPDFDoc.size() && kPDFDoc[c] == c) {
    if (IsUndefinedInPDFDoc(c)) return std::nullopt;
    return static_cast<char>(c);
  }
  const auto search = [c](size_t first, size_t end) -> std::optional<char> {
    for (size_t byte = first; byte < end; ++byte) {
      if (kPDFDoc[byte] == c) return static_cast<char>(byte);
    }
    return std::nullopt;
  };
  if (const auto low = search(0x18, 0x20)) return low;
  return search(0x80, 0xA1);
}

bool IsHighSurrogate(char32_t c) { return c >= 0xD800 && c < 0xDC00; }
bool IsLowSurrogate(char32_t c) { return c >= 0xDC00 && c < 0xE000; }

void AppendUTF16BE(Chaine* out, char32_t c) {
  if (c >= 0x10000) {
    AppendUTF16BE(out, 0xD800 + ((c - 0x10000) >> 10));
    c = 0xDC00 + (c & 0x3FF);
  }
  const char unit[] = {static_cast<char>(c >> 8), static_cast<char>(c & 0xFF)};
  out->Append({unit, sizeof(unit)});
}

void AppendUTF16BE(Chaine* out, std::string_view utf8) {
  while (!utf8.empty()) AppendUTF16BE(out, TakeCharacter(&utf8).value_or(kReplacement));
}

// True when every byte is the same in ASCII, UTF-8 and the one-byte encodings here.
bool IsPlainASCII(std::string_view text) {
  for (const char c : text) {
    const auto byte = static_cast<uint8_t>(c);
    if (byte >= 0x7F || (byte >= 0x18 && byte < 0x20)) return false;
  }
  return true;
}

Chaine BytesToUTF8(std::string_view bytes, const ByteTable& table) {
  const auto passes = [&table](char c) { return IsASCII(c) && table[static_cast<uint8_t>(c)] < 0x80; };
  Chaine result;
  result.Reserve(bytes.size());
  while (!bytes.empty()) {
    size_t run = 0;
    while (run < bytes.size() && passes(bytes[run])) ++run;
    result.Append(bytes.substr(0, run));
    bytes.remove_prefix(run);
    if (bytes.empty()) break;
    AppendUTF8(&result, table[static_cast<uint8_t>(bytes.front())]);
    bytes.remove_prefix(1);
  }
  return result;
}

std::optional<Chaine> PDFDocOf(std::string_view utf8) {
  Chaine result;
  result.Reserve(utf8.size());
  while (!utf8.empty()) {
    const std::optional<char32_t> c = TakeCharacter(&utf8);
    const std::optional<char> byte = c ? PDFDocByte(*c) : std::nullopt;
    if (!byte) {
      result.Wipe();  // the text may be a password
      return std::nullopt;
    }
    result.Append(*byte);
  }
  return result;
}

// Recognizes the text between the two escape characters of a language escape sequence: a language code of two letters
// and optionally a country code of two. The letters are bytes, so two of them make one UTF-16 code unit. Some producers
// write each letter as a code unit, and a hyphen between the codes.
bool IsLanguageCode(std::string_view text) {
  constexpr size_t kLongest = 5;
  const auto is_letter = [](char32_t c) { return c < 0x80 && IsLetterASCII(static_cast<char>(c)); };
  size_t count = 0;
  while (!text.empty()) {
    const std::optional<char32_t> c = TakeCharacter(&text);
    if (!c || ++count > kLongest) return false;
    if (!is_letter(*c) && *c != '-' && !(is_letter(*c >> 8) && is_letter(*c & 0xFF))) return false;
  }
  return count != 0;
}

// The text without its language escape sequences (ISO 32000-1 7.9.2.2). An escape character that does not begin a
// sequence is kept.
Chaine WithoutLanguageCodes(const Chaine& utf8) {
  constexpr char kEscape = '\x1B';
  constexpr size_t kLongestBytes = 15;
  std::string_view rest = utf8;
  size_t start = rest.find(kEscape);
  if (start == std::string_view::npos) return utf8;
  Chaine result;
  while (start != std::string_view::npos) {
    const std::string_view code = rest.substr(start + 1, kLongestBytes + 1);
    const size_t length = code.find(kEscape);
    const bool found = length != std::string_view::npos && IsLanguageCode(code.substr(0, length));
    result.Append(rest.substr(0, found ? start : start + 1));
    rest.remove_prefix(start + 1 + (found ? length + 1 : 0));
    start = rest.find(kEscape);
  }
  result.Append(rest);
  return result;
}

}  // namespace

void AppendUTF8(Chaine* out, char32_t c) {
  const auto trail = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) {
    out->Append(static_cast<char>(c));
  } else if (c < 0x800) {
    const char bytes[] = {static_cast<char>(0xC0 | c >> 6), trail(0)};
    out->Append({bytes, sizeof(bytes)});
  } else if (c < 0x10000) {
    const char bytes[] = {static_cast<char>(0xE0 | c >> 12), trail(6), trail(0)};
    out->Append({bytes, sizeof(bytes)});
  } else {
    const char bytes[] = {static_cast<char>(0xF0 | c >> 18), trail(12), trail(6), trail(0)};
    out->Append({bytes, sizeof(bytes)});
  }
}

bool IsValidUTF8(std::string_view text) {
  while (!text.empty()) {
    if (IsASCII(text.front())) {
      text.remove_prefix(1);
    } else if (!TakeCharacter(&text)) {
      return false;
    }
  }
  return true;
}

Chaine UTF8ToPDFText(std::string_view utf8) {
  if (IsPlainASCII(utf8)) return utf8;
  const std::optional<Chaine> short_form = PDFDocOf(utf8);
  if (short_form && ByteOrderMarkOf(*short_form).empty()) return *short_form;
  if (!IsValidUTF8(utf8)) return utf8;
  Chaine result;
  result.Reserve(kUTF16BEMark.size() + 2 * utf8.size());
  result += kUTF16BEMark;
  AppendUTF16BE(&result, utf8);
  return result;
}

Chaine PDFTextToUTF8(std::string_view bytes) {
  if (IsPlainASCII(bytes)) return bytes;
  if (const std::optional<ByteOrder> order = UTF16OrderByMark(bytes)) {
    return WithoutLanguageCodes(UTF16ToUTF8(bytes.substr(kUTF16BEMark.size()), *order));
  }
  if (bytes.starts_with(kUTF8Mark) && IsValidUTF8(bytes)) {
    return WithoutLanguageCodes(bytes.substr(kUTF8Mark.size()));
  }
  return BytesToUTF8(bytes, kPDFDoc);
}

Chaine UTF8ToPDFName(std::string_view utf8) { return utf8; }

Chaine PDFNameToUTF8(std::string_view name) {
  if (IsValidUTF8(name)) return name;
  if (name.starts_with('/')) return "/" + PDFTextToUTF8(name.substr(1));
  return PDFTextToUTF8(name);
}

Chaine UTF8ToUTF16BE(std::string_view utf8) {
  Chaine result;
  result.Reserve(2 * utf8.size());
  AppendUTF16BE(&result, utf8);
  return result;
}

Chaine UTF16ToUTF8(std::string_view bytes, ByteOrder order) {
  const size_t high = order == ByteOrder::eBigEndian ? 0 : 1;
  const size_t units = bytes.size() / 2;
  const auto unit = [bytes, high](size_t index) {
    const auto byte = [bytes](size_t at) { return char32_t{static_cast<uint8_t>(bytes[at])}; };
    return byte(2 * index + high) << 8 | byte(2 * index + 1 - high);
  };
  Chaine result;
  result.Reserve(units);
  for (size_t i = 0; i < units; ++i) {
    char32_t c = unit(i);
    if (IsHighSurrogate(c) && i + 1 < units && IsLowSurrogate(unit(i + 1))) {
      c = 0x10000 + ((c - 0xD800) << 10) + (unit(++i) - 0xDC00);
    } else if (IsHighSurrogate(c) || IsLowSurrogate(c)) {
      c = kReplacement;
    }
    AppendUTF8(&result, c);
  }
  return result;
}

Chaine MarkedUTF16ToUTF8(const Chaine& text) {
  const std::optional<ByteOrder> order = UTF16OrderByMark(text);
  return order ? UTF16ToUTF8(text.View().substr(kUTF16BEMark.size()), *order) : text;
}

Chaine Windows1252ToUTF8(std::string_view bytes) { return BytesToUTF8(bytes, kWindows1252); }

Chaine Latin1ToUTF8(std::string_view bytes) { return BytesToUTF8(bytes, kLatin1); }

Chaine WithLineEnds(std::string_view text, std::string_view line_end) {
  Chaine result;
  for (size_t at = 0;;) {
    const size_t end = std::min(text.find_first_of("\r\n", at), text.size());
    result += text.substr(at, end - at);
    if (end == text.size()) return result;
    result += line_end;
    at = end + (text.substr(end, 2) == "\r\n" ? 2 : 1);
  }
}

}  // namespace zforms
