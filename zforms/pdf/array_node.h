#pragma once

#include <concepts>

#include "zforms/pdf/node.h"

namespace zforms {

// An array; its children are the elements, in order (ISO 32000-1 7.3.6).
class ZFORMS_API ZPDFNodeArray final : public ZPDFNode {
 public:
  explicit ZPDFNodeArray(IPDFObjectProvider* provider = nullptr);
  ZPDFNodeArray* Clone() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // These functions append an element.
  void AppendValue(const Chaine& value);
  void AppendValue(const char* value);
  void AppendValue(int32_t value);
  void AppendValue(uint32_t value);
  void AppendValue(double value);
  // A template, so that a pointer is not converted to a boolean.
  void AppendValue(std::same_as<bool> auto value) { AppendBoolean(value); }
  void AppendIdentifier(const Chaine& identifier);
  // Takes ownership of the node.
  void AppendValue(ZPDFNode* node);

  static ZPDFNodeArray* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                  const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kArray; }

 private:
  friend class ZPDFNode;
  ZPDFNodeArray(Parsed, IPDFObjectProvider* provider) : ZPDFNode(provider, Kind::kArray) {}
  void AppendBoolean(bool value);
};

}  // namespace zforms
