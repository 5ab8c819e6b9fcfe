#pragma once

#include <utility>

#include "zforms/pdf/node.h"

namespace zforms {

// A number, stored as text, so that a number from a file is written back byte for byte unless it was set (ISO 32000-1
// 7.3.3).
class ZFORMS_API ZPDFNodeNumeric : public ZPDFNodeLeaf {
 public:
  explicit ZPDFNodeNumeric(IPDFObjectProvider* provider = nullptr);
  explicit ZPDFNodeNumeric(int32_t value, IPDFObjectProvider* provider = nullptr);
  explicit ZPDFNodeNumeric(uint32_t value, IPDFObjectProvider* provider = nullptr);
  explicit ZPDFNodeNumeric(double value, IPDFObjectProvider* provider = nullptr);
  ZPDFNodeNumeric* Clone() const override;

  // The value of the text up to the first character that cannot continue the number. A value out of range gives the
  // nearest value in range.
  uint32_t GetUIntValue() const override;
  int32_t GetIntValue() const override;
  double GetDoubleValue() const override;
  void SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const override;

  // Stores the value's plain decimal text and marks the node, unless the node has exactly that text already (so setting
  // 7 over "007" writes "7").
  void SetValue(int32_t value);
  void SetValue(uint32_t value);
  // Marks the node only when the value differs from GetDoubleValue().
  void SetValue(double value);
  const Chaine& Text() const { return text_; }

  static ZPDFNodeNumeric* BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                    const ZPDFEncrypter* encrypter);
  static bool Matches(Kind kind) { return kind == Kind::kNumeric; }

 protected:
  // Stores this text; marks the node when it differs from the old text. For classes of a host that format numbers in
  // their own way.
  void SetValue(const Chaine& text);

 private:
  friend class ZPDFNode;
  ZPDFNodeNumeric(Parsed, Chaine text, IPDFObjectProvider* provider)
      : ZPDFNodeLeaf(provider, Kind::kNumeric), text_(std::move(text)) {}

  Chaine text_;
};

}  // namespace zforms
