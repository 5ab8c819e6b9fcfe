#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/variant.h"
#include "zforms/xfdf/field_collection.h"

namespace zforms {

// ZXFDFField is one "field" element of an XFDF document, and the collection of the fields inside it. Owned by the
// collection that lists it. One thread at a time.
class ZFORMS_API ZXFDFField : public ZXFDFFieldCollection {
 public:
  using ZXFDFFieldCollection::ZXFDFFieldCollection;
  ~ZXFDFField() override;

  // The partial name, attribute "name"; empty when absent.
  Chaine Name() const;
  bool HasName() const;

  // The text of the element "value". The non-const form creates the element when it is absent; the const form returns
  // an empty value. Line ends are CR LF.
  ZVariant& Value();
  const ZVariant& Value() const;
  bool HasValue() const;
  // The texts of all "value" elements: a list box has one for each selected option.
  PTableau<Chaine> Values() const;
  // The values as one text, joined by CR LF.
  Chaine ValuesAsText() const;
  // Replaces all "value" elements by one for each text.
  void SetValues(const PTableau<Chaine>& values);

  // The element "value-richtext", whose AsChaine() is the rich text as XML. The non-const form creates it when it is
  // absent; the const form returns an empty element.
  ZXMLElement& ValueRichText();
  const ZXMLElement& ValueRichText() const;
  bool HasValueRichText() const;

  // Sets the value.
  ZXFDFField& operator=(const ZVariant& value);
  // Copies value, rich text, child fields and all other content of the other field; keeps its own name. References to
  // this field's former child fields become invalid.
  ZXFDFField& operator=(const ZXFDFField& other);

 private:
  ZVariantBuffer BufferOfValue() const;
  void AttachAgain(const ZVariantBuffer& buffer);
};

}  // namespace zforms
