#pragma once

#include <string_view>

#include "zforms/pdf/syntax/char_class.h"

namespace zforms {

// Functions that find the ends of the most common tokens, for readers that leave a value as text. The text ends at
// `end`. NameEnd and NumberEnd return null when another token, or a name with escapes, is at `at`. Precondition of
// both: at != end.

inline bool EndsToken(const char* at, const char* end) { return at == end || Is(*at, kBlankOrSpecial); }

// Precondition: a "/" is at `at`.
inline const char* NameEnd(const char* at, const char* end) {
  const char* const after = SkipClass(at + 1, end, kPlainName);
  return after != at + 1 && EndsToken(after, end) ? after : nullptr;
}

inline const char* NumberEnd(const char* at, const char* end) {
  if (*at == '-' || *at == '+') at++;
  const char* after = SkipClass(at, end, kDigit);
  if (after != end && *after == '.') after = SkipClass(after + 1, end, kDigit);
  return after != at && Is(after[-1], kDigit) && EndsToken(after, end) ? after : nullptr;
}

// True when these digits of an object number or generation are written again as they are: no leading zeros, and small
// enough.
inline bool AreWrittenAsIs(std::string_view digits) {
  return digits.size() == 1 || (digits.size() < 10 && digits.front() != '0');
}

}  // namespace zforms
