#include "zforms/pdf/array_node.h"

#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/nesting.h"
#include "zforms/pdf/node_stack.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/string_node.h"
#include "zforms/pdf/syntax/out_stream.h"
#include "zforms/pdf/syntax/tokenized_string.h"

namespace zforms {

ZPDFNodeArray::ZPDFNodeArray(IPDFObjectProvider* provider) : ZPDFNode(provider, Kind::kArray) {}

ZPDFNodeArray* ZPDFNodeArray::Clone() const { return new ZPDFNodeArray(*this); }

void ZPDFNodeArray::AppendValue(const Chaine& value) {
  AppendValue(new ZPDFNodeLiteralString(value, ObjectProvider()));
}

void ZPDFNodeArray::AppendValue(const char* value) { AppendValue(Chaine(value)); }

void ZPDFNodeArray::AppendValue(int32_t value) { AppendValue(new ZPDFNodeNumeric(value, ObjectProvider())); }

void ZPDFNodeArray::AppendValue(uint32_t value) { AppendValue(new ZPDFNodeNumeric(value, ObjectProvider())); }

void ZPDFNodeArray::AppendValue(double value) { AppendValue(new ZPDFNodeNumeric(value, ObjectProvider())); }

void ZPDFNodeArray::AppendBoolean(bool value) { AppendValue(new ZPDFNodeBoolean(value, ObjectProvider())); }

void ZPDFNodeArray::AppendIdentifier(const Chaine& identifier) {
  AppendValue(new ZPDFNodeIdentifier(identifier, ObjectProvider()));
}

void ZPDFNodeArray::AppendValue(ZPDFNode* node) {
  AppendChild(node);
  // Marks the array, not the child: the child may be the shared null node, which is never marked.
  SetModified(true, false);
}

void ZPDFNodeArray::SendTo(ZPDFOutStream& out, const ZPDFEncrypter* encrypter) const {
  out.WriteChar('[');
  for (size_t i = 0; i < Size(); i++) {
    const ZPDFNode* element = GetDirectAt(i);
    if (element == nullptr) element = ZPDFNodeNull::Default();
    out.Separate();
    element->SendTo(out, encrypter);
    out.Separate();
  }
  out.WriteChar(']');
}

ZPDFNodeArray* ZPDFNodeArray::BuildFrom(ZPDFTokenizedString& text, IPDFObjectProvider* provider,
                                        const ZPDFEncrypter* encrypter) {
  auto* array = new ZPDFNodeArray(provider);
  const NestingGuard nesting(text);
  if (!nesting.Allowed()) {
    SkipLastBracketed(text);
    return array;
  }
  text.TakeLastToken();
  ZPDFNodeStack elements;
  while (!text.IsEmpty() && !text.EndWith('[')) {
    ZPDFNode* element = ZPDFNode::BuildFrom(text, provider, encrypter);
    if (element == nullptr) break;
    elements.Push(element);
  }
  text.TakeLastToken();
  array->AdoptReversed(elements.Data(), elements.Size());
  return array;
}

}  // namespace zforms
