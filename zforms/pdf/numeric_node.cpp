#include "zforms/pdf/numeric_node.h"

#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/structure_word.h"
#include "zforms/pdf/syntax/tokenized_string.h"
#include "zforms/platform/base/number.h"

namespace zforms {

ZPDFNodeNumeric::ZPDFNodeNumeric(IPDFObjectProvider* provider) : ZPDFNodeLeaf(provider, Kind::kNumeric) {}

ZPDFNodeNumeric::ZPDFNodeNumeric(int32_t value, IPDFObjectProvider* provider) : ZPDFNodeNumeric(provider) {
  text_ = FormatInt(value);
  SetModified(true, false);
}

ZPDFNodeNumeric::ZPDFNodeNumeric(uint32_t value, IPDFObjectProvider* provider) : ZPDFNodeNumeric(provider) {
  text_ = FormatUInt(value);
  SetModified(true, false);
}

ZPDFNodeNumeric::ZPDFNodeNumeric(double value, IPDFObjectProvider* provider) : ZPDFNodeNumeric(provider) {
  text_ = "0.0";
  SetValue(value);
  SetModified(true, false);
}

ZPDFNodeNumeric* ZPDFNodeNumeric::Clone() const { return new ZPDFNodeNumeric(*this); }

uint32_t ZPDFNodeNumeric::GetUIntValue() const { return ParseUInt(text_); }

int32_t ZPDFNodeNumeric::GetIntValue() const { return ParseInt(text_); }

double ZPDFNodeNumeric::GetDoubleValue() const { return ParseDouble(text_); }

void ZPDFNodeNumeric::SendTo(ZPDFOutStream& out, const ZPDFEncrypter*) const {
  if (IsStructureWord(text_)) {
    out.WriteToken("null");
  } else {
    out.WriteToken(text_.IsEmpty() ? std::string_view("0") : text_.View());
  }
}

void ZPDFNodeNumeric::SetValue(int32_t value) { SetValue(FormatInt(value)); }

void ZPDFNodeNumeric::SetValue(uint32_t value) { SetValue(FormatUInt(value)); }

void ZPDFNodeNumeric::SetValue(double value) {
  if (GetDoubleValue() != value) SetValue(FormatDouble(value));
}

void ZPDFNodeNumeric::SetValue(const Chaine& text) {
  if (text_ == text) return;
  text_ = text;
  SetModified(true, false);
}

ZPDFNodeNumeric* ZPDFNodeNumeric::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                            const ZPDFEncrypter*) {
  auto* node = new ZPDFNodeNumeric(provider);
  node->text_ = text.Share(text.TakeLastToken());
  return node;
}

}  // namespace zforms
