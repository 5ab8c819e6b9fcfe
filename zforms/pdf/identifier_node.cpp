#include "zforms/pdf/identifier_node.h"

#include <algorithm>
#include <array>
#include <string>

#include "zforms/pdf/syntax/char_class.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/structure_word.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/hex.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

const Chaine& NullText() {
  static const Chaine text("null");
  return text;
}

bool NeedsEscape(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 33 || byte >= 127 || c == '#';
}

// True when the character needs no escape in a written name. Delimiters would end the name early; they are escaped only
// on writing, not by Encode.
bool IsPlain(char c) { return Is(c, kPlainName); }

void AppendEscaped(Chaine& out, char c) {
  out += '#';
  AppendHexByte(&out, static_cast<unsigned char>(c));
}

// The text as it is written: the result of Encode, with every delimiter escaped too.
Chaine WrittenText(const Chaine& identifier) {
  Chaine result;
  for (size_t i = 0; i < identifier.size(); i++) {
    if (IsPlain(identifier[i]) || (i == 0 && identifier[i] == '/')) {
      result.Append(identifier[i]);
    } else {
      AppendEscaped(result, identifier[i]);
    }
  }
  return result;
}

// Decode makes repeated passes over at most this many bytes, which is enough for any name of a few hundred bytes.
constexpr size_t kRoundsBudget = size_t{1} << 16;

// Decodes the escapes in one pass, which replaces each "#" once. The result differs from the result of repeated passes
// only where malformed escapes overlap.
Chaine DecodeInOnePass(const Chaine& text) {
  std::string bytes = text.ToString();
  size_t length = 0;
  for (size_t i = 0; i < bytes.size();) {
    if (bytes[i] != '#') {
      bytes[length++] = bytes[i++];
      continue;
    }
    const size_t last = std::min(i + 2, bytes.size() - 1);
    bytes[last] = static_cast<char>(HexByte({bytes.data() + i + 1, last - i}));
    i = last;
  }
  bytes.resize(length);
  return bytes;
}

Chaine ReplaceAll(std::string_view text, std::string_view what, char byte) {
  Chaine result;
  for (size_t at = 0;;) {
    const size_t found = text.find(what, at);
    result.Append(text.substr(at, found == std::string_view::npos ? found : found - at));
    if (found == std::string_view::npos) return result;
    result.Append(byte);
    at = found + what.size();
  }
}

}  // namespace

ZPDFNodeIdentifier::ZPDFNodeIdentifier(IPDFObjectProvider* provider) : ZPDFNodeLeaf(provider, Kind::kIdentifier) {}

ZPDFNodeIdentifier::ZPDFNodeIdentifier(const Chaine& identifier, IPDFObjectProvider* provider)
    : ZPDFNodeIdentifier(provider) {
  Store(identifier);
  SetModified(true, false);
}

ZPDFNodeIdentifier* ZPDFNodeIdentifier::Clone() const { return new ZPDFNodeIdentifier(*this); }

uint32_t ZPDFNodeIdentifier::GetUIntValue() const { return ParseUInt(identifier_); }

int32_t ZPDFNodeIdentifier::GetIntValue() const { return ParseInt(identifier_); }

double ZPDFNodeIdentifier::GetDoubleValue() const { return ParseDouble(identifier_); }

void ZPDFNodeIdentifier::SendTo(ZPDFOutStream& out, const ZPDFEncrypter*) const { Write(out, GetIdentifier()); }

void ZPDFNodeIdentifier::Write(ZPDFOutStream& out, const Chaine& identifier) {
  if (identifier == "/") {
    // Writes a blank after the empty name, to separate it from a number or keyword that follows.
    out.WriteToken("/ ");
  } else if (identifier.IsEmpty() || (identifier[0] != '/' && IsStructureWord(identifier))) {
    out.WriteToken(NullText());
  } else if (IsWrittenAsIs(identifier)) {
    out.WriteToken(identifier);
  } else {
    out.WriteToken(WrittenText(identifier));
  }
}

bool ZPDFNodeIdentifier::IsWrittenAsIs(std::string_view identifier) {
  if (identifier.starts_with('/')) identifier.remove_prefix(1);
  return !identifier.empty() && std::all_of(identifier.begin(), identifier.end(), [](char c) { return IsPlain(c); });
}

void ZPDFNodeIdentifier::SetIdentifier(const Chaine& identifier) {
  if (GetIdentifier() == identifier || this == ZPDFNodeNull::Default()) return;
  identifier_ = identifier;
  SetModified(true, false);
}

Chaine ZPDFNodeIdentifier::Encode(const Chaine& identifier) {
  Chaine result;
  for (const char c : identifier.View()) {
    if (NeedsEscape(c)) {
      AppendEscaped(result, c);
    } else {
      result.Append(c);
    }
  }
  return result;
}

Chaine ZPDFNodeIdentifier::Decode(const Chaine& text) {
  Chaine result = text;
  for (size_t spent = 0; spent <= kRoundsBudget; spent += result.size()) {
    const size_t found = result.View().find('#');
    if (found == std::string_view::npos) return result;
    // The loop ends, because every pass shortens the text, or replaces a lone "#" at the end of the text.
    const Chaine escape(result.View().substr(found, 3));
    result = ReplaceAll(result, escape, static_cast<char>(HexByte(escape.View().substr(1))));
  }
  return DecodeInOnePass(result);
}

ZPDFNodeIdentifier* ZPDFNodeIdentifier::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                                  const ZPDFEncrypter* encrypter) {
  const std::string_view token = text.PeekLastToken();
  if (token == "true" || token == "false") return ZPDFNodeBoolean::BuildFrom(text, provider, encrypter);
  if (token == "null") return ZPDFNodeNull::BuildFrom(text, provider, encrypter);
  auto* node = new ZPDFNodeIdentifier(provider);
  node->Store(Decode(text.Share(text.TakeLastToken())));
  return node;
}

ZPDFNodeNull::ZPDFNodeNull(IPDFObjectProvider* provider) : ZPDFNodeIdentifier(provider, Kind::kNull) {}

ZPDFNodeNull* ZPDFNodeNull::Clone() const { return this == Default() ? Default() : new ZPDFNodeNull(*this); }

void ZPDFNodeNull::SetObjectProvider(IPDFObjectProvider*) {}

const Chaine& ZPDFNodeNull::GetIdentifier() const { return NullText(); }

ZPDFNodeNull* ZPDFNodeNull::Default() {
  static ZPDFNodeNull* const shared = [] {
    auto* node = new ZPDFNodeNull(static_cast<IPDFObjectProvider*>(nullptr));
    node->MakeImmutable();
    return node;
  }();
  return shared;
}

ZPDFNodeIdentifier* ZPDFNodeNull::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider*, const ZPDFEncrypter*) {
  text.TakeLastToken();
  return Default();
}

ZPDFNodeBoolean::ZPDFNodeBoolean(IPDFObjectProvider* provider) : ZPDFNodeIdentifier(provider, Kind::kBoolean) {}

ZPDFNodeBoolean::ZPDFNodeBoolean(bool value, IPDFObjectProvider* provider) : ZPDFNodeBoolean(provider) {
  Store(value ? "true" : "false");
  SetModified(true, false);
}

ZPDFNodeBoolean* ZPDFNodeBoolean::Clone() const { return new ZPDFNodeBoolean(*this); }

bool ZPDFNodeBoolean::GetBoolValue() const { return GetIdentifier() == "true"; }

void ZPDFNodeBoolean::SetValue(bool value) {
  if (GetBoolValue() != value) SetIdentifier(value ? "true" : "false");
}

ZPDFNodeBoolean* ZPDFNodeBoolean::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                            const ZPDFEncrypter*) {
  auto* node = new ZPDFNodeBoolean(provider);
  node->Store(text.TakeLastToken() == "true" ? "true" : "false");
  return node;
}

}  // namespace zforms
