#include "zforms/pdf/parser/byte_filters.h"

#include <cstdint>

#include "zforms/pdf/syntax/char_class.h"

namespace zforms {
namespace {

constexpr uint8_t kEndOfRuns = 128;

// The value of a hexadecimal digit, 16 for any other character.
uint32_t DigitOf(char c) {
  if (c >= '0' && c <= '9') return static_cast<uint32_t>(c - '0');
  const char small = static_cast<char>(c | 0x20);
  return small >= 'a' && small <= 'f' ? static_cast<uint32_t>(small - 'a' + 10) : 16;
}

void AppendBigEndian(uint32_t value, size_t count, Chaine* out) {
  for (size_t i = 0; i < count; i++) *out += static_cast<char>(value >> (24 - 8 * i) & 0xFF);
}

}  // namespace

std::optional<Chaine> UndoASCIIHex(std::string_view bytes, size_t limit) {
  Chaine result;
  uint32_t pending = 0;
  bool has_pending = false;
  for (const char c : bytes) {
    if (Is(c, kBlank)) continue;
    const uint32_t digit = DigitOf(c);
    if (digit > 15) break;
    if (has_pending) result += static_cast<char>(pending << 4 | digit);
    has_pending = !has_pending;
    pending = digit;
  }
  // A missing last digit is 0.
  if (has_pending) result += static_cast<char>(pending << 4);
  if (result.size() > limit) return std::nullopt;
  return result;
}

std::optional<Chaine> UndoASCII85(std::string_view bytes, size_t limit) {
  Chaine result;
  uint32_t group = 0;
  size_t count = 0;
  for (const char c : bytes) {
    if (Is(c, kBlank)) continue;
    if (result.size() > limit) return std::nullopt;
    if (c == 'z' && count == 0) {
      AppendBigEndian(0, 4, &result);
      continue;
    }
    if (c < '!' || c > 'u') break;
    group = group * 85 + static_cast<uint32_t>(c - '!');
    if (++count < 5) continue;
    AppendBigEndian(group, 4, &result);
    group = 0;
    count = 0;
  }
  // The last group may have fewer than five digits; each missing one counts as the highest digit.
  if (count > 1) {
    for (size_t i = count; i < 5; i++) group = group * 85 + 84;
    AppendBigEndian(group, count - 1, &result);
  }
  if (result.size() > limit) return std::nullopt;
  return result;
}

std::optional<Chaine> UndoRunLength(std::string_view bytes, size_t limit) {
  Chaine result;
  for (size_t at = 0; at < bytes.size() && result.size() <= limit;) {
    const auto length = static_cast<uint8_t>(bytes[at++]);
    if (length == kEndOfRuns || at == bytes.size()) break;
    if (length < kEndOfRuns) {
      const std::string_view run = bytes.substr(at, size_t{length} + 1);
      result += run;
      at += run.size();
    } else {
      result += Chaine(size_t{257} - length, bytes[at++]).View();
    }
  }
  if (result.size() > limit) return std::nullopt;
  return result;
}

}  // namespace zforms
