#include "zforms/pdf/unread_value.h"

#include "zforms/pdf/forward_reader.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/token_end.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The end of a reference written as usual, with one blank between its parts; null when there is none.
const char* ReferenceEnd(const char* at, const char* end) {
  const char* const number_end = SkipClass(at, end, kDigit);
  if (number_end == at || number_end == end || *number_end != ' ') return nullptr;
  const char* const generation_end = SkipClass(number_end + 1, end, kDigit);
  if (generation_end == number_end + 1 || end - generation_end < 2) return nullptr;
  const char* const after = generation_end + 2;
  return generation_end[0] == ' ' && generation_end[1] == 'R' && EndsToken(after, end) ? after : nullptr;
}

// The end of a number; null when there is none, or when it may begin a reference that is written in another way.
const char* LoneNumberEnd(const char* at, const char* end) {
  const char* const after = NumberEnd(at, end);
  if (after == nullptr) return nullptr;
  const char* const next = SkipClass(after, end, kBlank);
  return next != end && (Is(*next, kDigit) || *next == '%') ? nullptr : after;
}

const char* StringEnd(const char* at, const char* end) {
  const char* const after = FindClass(at + 1, end, kEscaped);
  return after != end && *after == ')' ? after + 1 : nullptr;
}

const char* ArrayEnd(const char* at, const char* end) {
  for (at = SkipClass(at + 1, end, kBlank); at != end && *at != ']'; at = SkipClass(at, end, kBlank)) {
    const char* after = *at == '/' ? NameEnd(at, end) : ReferenceEnd(at, end);
    if (after == nullptr && *at != '/') after = NumberEnd(at, end);
    if (after == nullptr) return nullptr;
    at = after;
  }
  return at == end ? nullptr : at + 1;
}

// Writes a number as a reference node does: without leading zeros, and at most UINT32_MAX.
void WriteIntegral(std::string_view digits, ZPDFOutStream& out) {
  if (AreWrittenAsIs(digits)) {
    out.WriteToken(digits);
  } else {
    out.WriteNumber(ParseUInt(digits));
  }
}

void WriteReference(std::string_view text, ZPDFOutStream& out) {
  const size_t blank = text.find(' ');
  WriteIntegral(text.substr(0, blank), out);
  out.Separate();
  WriteIntegral(text.substr(blank + 1, text.size() - blank - 3), out);
  out.Separate();
  out.WriteChar('R');
}

void WriteArray(std::string_view text, ZPDFOutStream& out) {
  const char* const end = text.data() + text.size();
  out.WriteChar('[');
  for (const char* at = SkipClass(text.data() + 1, end, kBlank); *at != ']'; at = SkipClass(at, end, kBlank)) {
    out.Separate();
    const char* after = Is(*at, kDigit) ? ReferenceEnd(at, end) : nullptr;
    if (after != nullptr) {
      WriteReference({at, static_cast<size_t>(after - at)}, out);
    } else {
      after = FindClass(at + 1, end, kBlankOrSpecial);
      out.WriteToken({at, static_cast<size_t>(after - at)});
    }
    out.Separate();
    at = after;
  }
  out.WriteChar(']');
}

// True when a number as part of a reference may be written with other digits.
bool MayBeRewritten(std::string_view number) {
  return number.size() > 9 || (number.size() > 1 && number.front() == '0' && number[1] != '.');
}

// Copies an array in the way that WriteArray writes it. Returns the end of the copy, or null when a number may be
// written with other digits. The copy has at most twice the length of the array.
char* CopyArray(std::string_view text, char* to) {
  const char* const end = text.data() + text.size();
  *to++ = '[';
  for (const char* at = SkipClass(text.data() + 1, end, kBlank); *at != ']'; at = SkipClass(at, end, kBlank)) {
    const char* const after = FindClass(at + 1, end, kBlankOrSpecial);
    const std::string_view token(at, static_cast<size_t>(after - at));
    if (MayBeRewritten(token) && Is(*at, kDigit)) return nullptr;
    if (*at == '/' && to[-1] == ' ') to--;
    Chaine::CopyBytes(to, token);
    to += token.size();
    *to++ = ' ';
    at = after;
  }
  *to++ = ']';
  return to;
}

// Copies a value other than an array; null as for CopyArray.
char* CopySimple(std::string_view text, char* to) {
  if (text.back() == 'R' && Is(text.front(), kDigit)) {
    const size_t blank = text.find(' ');
    if (MayBeRewritten(text.substr(0, blank)) || MayBeRewritten(text.substr(blank + 1, text.size() - blank - 3))) {
      return nullptr;
    }
  }
  Chaine::CopyBytes(to, text);
  return to + text.size();
}

// An entry of this length, with a value of twice its length, still fits into a line.
constexpr size_t kShortEntry = 240;

bool IsEncrypted(std::string_view text, const ZPDFEncrypter* encrypter) {
  return text.front() == '(' && encrypter != nullptr && encrypter != ZPDFEncrypterNeutral::Default();
}

}  // namespace

size_t ZPDFUnreadValue::LengthAt(const char* at, const char* end, bool is_encrypted) {
  if (at == end) return 0;
  const char* after = nullptr;
  switch (*at) {
    case '/': after = NameEnd(at, end); break;
    case '(': after = is_encrypted ? nullptr : StringEnd(at, end); break;
    case '[': after = ArrayEnd(at, end); break;
    case '<': break;
    default:
      after = ReferenceEnd(at, end);
      if (after == nullptr) after = LoneNumberEnd(at, end);
  }
  return after == nullptr ? 0 : static_cast<size_t>(after - at);
}

ZPDFNode* ZPDFUnreadValue::Read(std::string_view text, const Chaine& source, IPDFObjectProvider* provider,
                                ZPDFNodePool* pool) {
  const auto offset = static_cast<size_t>(text.data() - source.data());
  switch (text.front()) {
    case '/': return ZPDFNode::MakeParsed<ZPDFNodeIdentifier>(pool, source.Mid(offset, text.size()), provider);
    case '(':
      return ZPDFNode::MakeParsed<ZPDFNodeLiteralString>(pool, source.Mid(offset + 1, text.size() - 2), provider);
    case '[': {
      ZPDFTokenizedString value(SousChaine(source, offset, text.size()));
      value.SetDocument(pool);
      return ZPDFForwardReader(value, provider, nullptr).Read();
    }
    default: break;
  }
  if (text.back() != 'R') {
    return ZPDFNode::MakeParsed<ZPDFNodeNumeric>(pool, source.Mid(offset, text.size()), provider);
  }
  const size_t blank = text.find(' ');
  const ZPDFObjectIdentifier id(ParseUInt(text.substr(0, blank)), ParseUInt(text.substr(blank + 1)));
  return ZPDFNode::MakeParsed<ZPDFNodeIndirectReference>(pool, id, provider);
}

size_t ZPDFUnreadValue::ReadNumbers(std::string_view array, std::span<double> numbers) {
  const char* const end = array.data() + array.size();
  size_t count = 0;
  for (const char* at = SkipClass(array.data() + 1, end, kBlank); *at != ']'; at = SkipClass(at, end, kBlank)) {
    const char* const after = FindClass(at + 1, end, kBlankOrSpecial);
    if (count < numbers.size()) numbers[count] = *at == '/' ? 0 : ParseDouble({at, static_cast<size_t>(after - at)});
    count++;
    at = after;
  }
  return count;
}

void ZPDFUnreadValue::Write(std::string_view text, ZPDFOutStream& out, const ZPDFEncrypter* encrypter) {
  if (text.front() == '(') {
    ZPDFNodeLiteralString::WriteAsRead(out, text.substr(1, text.size() - 2), encrypter);
  } else if (text.front() == '[') {
    WriteArray(text, out);
  } else if (text.front() != '/' && text.back() == 'R') {
    WriteReference(text, out);
  } else {
    out.WriteToken(text);
  }
}

bool ZPDFUnreadValue::WriteEntry(std::string_view key, std::string_view text, ZPDFOutStream& out,
                                 const ZPDFEncrypter* encrypter) {
  const size_t most = key.size() + 1 + 2 * text.size();
  if (most > kShortEntry || out.Column() != 0 || IsEncrypted(text, encrypter)) return false;
  char* const start = out.Room(most);
  Chaine::CopyBytes(start, key);
  char* to = start + key.size();
  // An opening delimiter needs no blank before it.
  if (!Is(text.front(), kOpening)) *to++ = ' ';
  to = text.front() == '[' ? CopyArray(text, to) : CopySimple(text, to);
  if (to == nullptr) return false;
  out.Accept(static_cast<size_t>(to - start), static_cast<size_t>(to - start));
  return true;
}

}  // namespace zforms
