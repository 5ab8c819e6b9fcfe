#pragma once

#include <string_view>
#include <utility>

#include "zforms/pdf/node.h"

namespace zforms {

// A string, stored as plain bytes: unescaped and decrypted (ISO 32000-1 7.3.4).
class ZFORMS_API ZPDFNodeString : public ZPDFNodeLeaf {
 public:
  const Chaine& GetStringValue() const override { return value_; }
  // Marks the node only when the value changes.
  void SetValue(const Chaine& value);

  static bool Matches(Kind kind) { return kind == Kind::kLiteralString || kind == Kind::kHexaString; }

 protected:
  ZPDFNodeString(IPDFObjectProvider* provider, Kind kind) : ZPDFNodeLeaf(provider, kind) {}
  ZPDFNodeString(Chaine value, IPDFObjectProvider* provider, Kind kind)
      : ZPDFNodeLeaf(provider, kind), value_(std::move(value)) {}
  void Store(Chaine value) { value_ = std::move(value); }

 private:
  Chaine value_;
};

// A string written in parentheses.
class ZFORMS_API ZPDFNodeLiteralString final : public ZPDFNodeString {
 public:
  explicit ZPDFNodeLiteralString(IPDFObjectProvider* provider = nullptr);
  explicit ZPDFNodeLiteralString(const Chaine& value, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeLiteralString* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // Escapes backspace, tab, line feed, form feed, carriage return, parentheses and backslashes; other bytes are
  // unchanged.
  static Chaine Encode(const Chaine& value);
  // Decodes the text between the outer parentheses. A carriage return at the very end becomes a line feed, and CR LF
  // becomes a carriage return.
  static Chaine Decode(const Chaine& text);
  static ZPDFNodeLiteralString* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                          const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kLiteralString; }

 private:
  friend class ZPDFNode;
  friend class ZPDFUnreadValue;
  // Write a string. The first function takes its escaped body, the second its plain body, which needs no escapes, and
  // encrypts it.
  static void Write(ZPDFOutStream& out, std::string_view body);
  static void WriteAsRead(ZPDFOutStream& out, std::string_view body, const ZPDFEncrypter* encrypter);
  ZPDFNodeLiteralString(Parsed, Chaine value, IPDFObjectProvider* provider)
      : ZPDFNodeString(std::move(value), provider, Kind::kLiteralString) {}
};

// A string written in angle brackets, two hexadecimal digits for each byte.
class ZFORMS_API ZPDFNodeHexaString final : public ZPDFNodeString {
 public:
  explicit ZPDFNodeHexaString(IPDFObjectProvider* provider = nullptr);
  explicit ZPDFNodeHexaString(const Chaine& value, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeHexaString* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // Two upper-case digits for each byte.
  static Chaine Encode(const Chaine& value);
  // Reads each pair of hexadecimal digits as a byte; a missing last digit is 0. Other characters are damage, white
  // space too: the digits before them in their pair give the byte, so "4G" gives 04, and "G4" gives 00.
  static Chaine Decode(const Chaine& text);
  static ZPDFNodeHexaString* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                       const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kHexaString; }

 private:
  friend class ZPDFNode;
  ZPDFNodeHexaString(Parsed, Chaine value, IPDFObjectProvider* provider)
      : ZPDFNodeString(std::move(value), provider, Kind::kHexaString) {}
};

}  // namespace zforms
