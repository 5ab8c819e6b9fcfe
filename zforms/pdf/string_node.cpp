#include "zforms/pdf/string_node.h"

#include <cstring>

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/hex.h"

namespace zforms {
namespace {

// The character that is written after the backslash for an escaped byte.
constexpr char EscapeLetter(char c) {
  switch (c) {
    case '\b': return 'b';
    case '\t': return 't';
    case '\n': return 'n';
    case '\f': return 'f';
    case '\r': return 'r';
    default: return c;
  }
}

constexpr char kNoEscape = 1;

// The byte for a backslash and this letter, or kNoEscape.
constexpr char EscapedByte(char letter) {
  switch (letter) {
    case 'b': return '\b';
    case 't': return '\t';
    case 'n': return '\n';
    case 'f': return '\f';
    case 'r': return '\r';
    case '(':
    case ')':
    case '\\': return letter;
    default: return kNoEscape;
  }
}

bool IsOctal(char c) { return c >= '0' && c <= '7'; }

class LiteralDecoder {
 public:
  explicit LiteralDecoder(std::string_view text) : text_(text) { out_.Reserve(text.size()); }

  Chaine Run() {
    while (at_ < text_.size()) {
      const size_t plain = text_.find_first_of("\\\r", at_);
      if (plain == std::string_view::npos) {
        out_.Append(text_.substr(at_));
        break;
      }
      out_.Append(text_.substr(at_, plain - at_));
      at_ = plain;
      if (text_[at_] == '\r') {
        CarriageReturn();
      } else {
        Backslash();
      }
    }
    return std::move(out_);
  }

 private:
  void CarriageReturn() {
    const bool last = at_ + 1 == text_.size();
    out_.Append(last ? '\n' : '\r');
    at_ += !last && text_[at_ + 1] == '\n' ? 2 : 1;
  }

  void Backslash() {
    if (at_ + 1 == text_.size()) {
      at_++;
      return;
    }
    const char next = text_[at_ + 1];
    if (const char byte = EscapedByte(next); byte != kNoEscape) {
      out_.Append(byte);
      at_ += 2;
    } else if (next == '\n') {
      at_ += 2;
    } else if (next == '\r') {
      at_ += at_ + 2 < text_.size() && text_[at_ + 2] == '\n' ? 3 : 2;
    } else if (IsOctal(next)) {
      Octal();
    } else {
      at_++;
    }
  }

  void Octal() {
    unsigned value = 0;
    size_t digits = 0;
    for (at_++; digits < 3 && at_ < text_.size() && IsOctal(text_[at_]); at_++, digits++) {
      value = value * 8 + static_cast<unsigned>(text_[at_] - '0');
    }
    out_.Append(static_cast<char>(value & 0xFF));
  }

  std::string_view text_;
  size_t at_ = 0;
  Chaine out_;
};

// The start of the body of a literal string whose closing parenthesis has just been removed: the position after the
// matching opening parenthesis. A parenthesis counts as escaped when the byte before it is a backslash.
size_t FindLiteralBody(std::string_view text) {
  size_t depth = 0;
  for (size_t i = text.size(); i > 0; i--) {
    const char c = text[i - 1];
    if ((c != '(' && c != ')') || (i > 1 && text[i - 2] == '\\')) continue;
    if (c == ')') {
      depth++;
    } else if (depth-- == 0) {
      return i;
    }
  }
  return 0;
}

Chaine WithoutWhites(const Chaine& text) {
  const std::string_view view = text;
  size_t i = 0;
  while (i < view.size() && !Is(view[i], kWhite)) i++;
  if (i == view.size()) return text;
  Chaine result(view.substr(0, i));
  for (; i < view.size(); i++) {
    if (!Is(view[i], kWhite)) result.Append(view[i]);
  }
  return result;
}

Chaine Encrypted(const Chaine& value, const ZPDFEncrypter* encrypter) {
  return encrypter == nullptr ? value : encrypter->Encrypt(value);
}

Chaine Decrypted(Chaine value, const ZPDFEncrypter* encrypter) {
  return encrypter == nullptr ? std::move(value) : encrypter->Decrypt(value);
}

}  // namespace

void ZPDFNodeString::SetValue(const Chaine& value) {
  if (value_ == value) return;
  value_ = value;
  SetModified(true, false);
}

ZPDFNodeLiteralString::ZPDFNodeLiteralString(IPDFObjectProvider* provider)
    : ZPDFNodeString(provider, Kind::kLiteralString) {}

ZPDFNodeLiteralString::ZPDFNodeLiteralString(const Chaine& value, IPDFObjectProvider* provider)
    : ZPDFNodeLiteralString(provider) {
  Store(value);
  SetModified(true, false);
}

ZPDFNodeLiteralString* ZPDFNodeLiteralString::Clone() const { return new ZPDFNodeLiteralString(*this); }

Chaine ZPDFNodeLiteralString::Encode(const Chaine& value) {
  const std::string_view bytes = value;
  size_t escapes = 0;
  for (const char c : bytes) escapes += Is(c, kEscaped) ? 1 : 0;
  if (escapes == 0) return value;
  Chaine result;
  char* out = result.AppendUninitialized(bytes.size() + escapes);
  for (const char c : bytes) {
    if (Is(c, kEscaped)) *out++ = '\\';
    *out++ = Is(c, kEscaped) ? EscapeLetter(c) : c;
  }
  return result;
}

Chaine ZPDFNodeLiteralString::Decode(const Chaine& text) {
  if (text.View().find_first_of("\\\r") == std::string_view::npos) return text;
  return LiteralDecoder(text).Run();
}

ZPDFNodeLiteralString* ZPDFNodeLiteralString::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                                        const ZPDFEncrypter* encrypter) {
  // Removes the parentheses as single characters, so that nothing between them is trimmed.
  text.ExtractLastChar();
  const size_t start = FindLiteralBody(text.View());
  const std::string_view body = text.TakeLast(text.GetLength() - start);
  auto* node = new ZPDFNodeLiteralString(provider);
  node->Store(Decrypted(Decode(text.Share(body)), encrypter));
  text.ExtractLastChar();
  text.TrimComments();
  return node;
}

void ZPDFNodeLiteralString::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  Write(out, Encode(Encrypted(GetStringValue(), encrypter)));
}

void ZPDFNodeLiteralString::Write(ZPDFOutStream& out, std::string_view body) {
  out.WriteChar('(');
  out.WriteStringBody(body);
  out.ContinueStringIfFull();
  out.WriteChar(')');
}

void ZPDFNodeLiteralString::WriteAsRead(ZPDFOutStream& out, std::string_view body, const ZPDFEncrypter* encrypter) {
  if (encrypter == nullptr || encrypter == ZPDFEncrypterNeutral::Default()) {
    Write(out, body);
  } else {
    Write(out, Encode(encrypter->Encrypt(body)));
  }
}

ZPDFNodeHexaString::ZPDFNodeHexaString(IPDFObjectProvider* provider) : ZPDFNodeString(provider, Kind::kHexaString) {}

ZPDFNodeHexaString::ZPDFNodeHexaString(const Chaine& value, IPDFObjectProvider* provider)
    : ZPDFNodeHexaString(provider) {
  Store(value);
  SetModified(true, false);
}

ZPDFNodeHexaString* ZPDFNodeHexaString::Clone() const { return new ZPDFNodeHexaString(*this); }

Chaine ZPDFNodeHexaString::Encode(const Chaine& value) {
  Chaine result;
  char* out = result.AppendUninitialized(value.size() * 2);
  for (const char c : value.View()) {
    std::memcpy(out, kHexPairs[static_cast<unsigned char>(c)].data(), 2);
    out += 2;
  }
  return result;
}

Chaine ZPDFNodeHexaString::Decode(const Chaine& text) {
  // Views the text once: the bytes written could be its own, as far as the compiler knows.
  const std::string_view digits = text;
  Chaine result;
  char* out = result.AppendUninitialized((digits.size() + 1) / 2);
  size_t i = 0;
  for (; i + 1 < digits.size(); i += 2) {
    const int high = HexDigit(digits[i]);
    const int low = HexDigit(digits[i + 1]);
    if ((high | low) < 0) break;
    *out++ = static_cast<char>(high << 4 | low);
  }
  for (; i < digits.size(); i += 2) {
    // A missing last digit counts as 0.
    const char pair[2] = {digits[i], i + 1 < digits.size() ? digits[i + 1] : '0'};
    *out++ = static_cast<char>(HexByte({pair, 2}));
  }
  return result;
}

ZPDFNodeHexaString* ZPDFNodeHexaString::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                                  const ZPDFEncrypter* encrypter) {
  text.ExtractLastChar();
  const size_t open = text.View().rfind('<');
  const std::string_view body =
      text.TakeLast(open == std::string_view::npos ? text.GetLength() : text.GetLength() - open - 1);
  auto* node = new ZPDFNodeHexaString(provider);
  node->Store(Decrypted(Decode(WithoutWhites(text.Share(body))), encrypter));
  text.ExtractLastChar();
  text.TrimComments();
  return node;
}

void ZPDFNodeHexaString::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  out.WriteChar('<');
  out.WriteDigitPairs(Encode(Encrypted(GetStringValue(), encrypter)));
  out.WriteChar('>');
}

}  // namespace zforms
