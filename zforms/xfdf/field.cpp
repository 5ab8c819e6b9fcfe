#include "zforms/xfdf/field.h"

#include <utility>

#include "zforms/platform/xml/xml.h"

namespace zforms {

ZXFDFField::~ZXFDFField() = default;

Chaine ZXFDFField::Name() const { return Element().Attrib("name").AsChaine(); }

bool ZXFDFField::HasName() const { return Element().HasAttrib("name"); }

ZVariant& ZXFDFField::Value() { return Element()["value"].Value(); }

const ZVariant& ZXFDFField::Value() const {
  const ZXMLElement& element = Element();
  return element["value"].Value();
}

bool ZXFDFField::HasValue() const { return Element().Exist("value"); }

PTableau<Chaine> ZXFDFField::Values() const {
  PTableau<Chaine> values;
  for (const ZXMLElement* child = std::as_const(Element()).FirstChild(); child != nullptr;
       child = child->NextSibling()) {
    if (child->Name() == "value") values.push_back(child->Value().AsChaine());
  }
  return values;
}

Chaine ZXFDFField::ValuesAsText() const {
  const PTableau<Chaine> values = Values();
  Chaine text;
  for (size_t i = 0; i < values.size(); i++) {
    if (i != 0) text += "\r\n";
    text += values[i];
  }
  return text;
}

void ZXFDFField::SetValues(const PTableau<Chaine>& values) {
  const ZVariantBuffer buffer = BufferOfValue();
  Element().RemoveAll("value");
  for (const Chaine& value : values) Element().Add("value").Value() = value;
  if (!values.empty()) AttachAgain(buffer);
}

ZVariantBuffer ZXFDFField::BufferOfValue() const { return std::as_const(*this).Value().Buffer(); }

// Attaches the value again after its element was replaced.
void ZXFDFField::AttachAgain(const ZVariantBuffer& buffer) {
  if (buffer.IsNone()) return;
  const Chaine text = ValuesAsText();
  Element().RemoveAll("value");
  Value().Attach(buffer);
  Value() = text;
}

ZXMLElement& ZXFDFField::ValueRichText() { return Element()["value-richtext"]; }

const ZXMLElement& ZXFDFField::ValueRichText() const {
  const ZXMLElement& element = Element();
  return element["value-richtext"];
}

bool ZXFDFField::HasValueRichText() const { return Element().Exist("value-richtext"); }

ZXFDFField& ZXFDFField::operator=(const ZVariant& value) {
  Value() = value;
  return *this;
}

ZXFDFField& ZXFDFField::operator=(const ZXFDFField& other) {
  if (this == &other) return *this;
  const ZVariant name = Element().Attrib("name");
  const ZVariantBuffer buffer = BufferOfValue();
  Element().CopyContentOf(other.Element());
  Element().SetAttrib("name", name);
  if (HasValue()) AttachAgain(buffer);
  Relist();
  return *this;
}

}  // namespace zforms
