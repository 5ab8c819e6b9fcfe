#pragma once

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/variant.h"
#include "zforms/xfdf/field_collection.h"

namespace zforms {

// ZXFDFField is one "field" element of an XFDF document, and the collection of
// the fields that stand in it. Owned by the collection that lists it.
class ZFORMS_API ZXFDFField : public ZXFDFFieldCollection {
 public:
  using ZXFDFFieldCollection::ZXFDFFieldCollection;
  ~ZXFDFField() override;

  // The partial name, from "name"; empty when absent.
  Chaine Name() const;
  bool HasName() const;

  // The text of "value". The non-const form makes the element when it is absent;
  // the const form is empty then. Line ends are CR LF.
  ZVariant& Value();
  const ZVariant& Value() const;
  bool HasValue() const;
  // The texts of all "value" elements: a list box has one for each of its choices.
  PTableau<Chaine> Values() const;
  // The same as one text, joined by CR LF.
  Chaine ValuesAsText() const;
  // One "value" element for each text, in place of those there were.
  void SetValues(const PTableau<Chaine>& values);

  // The element "value-richtext", whose AsChaine() is the rich text as XML. The
  // non-const form makes it when it is absent; the const form is empty then.
  ZXMLElement& ValueRichText();
  const ZXMLElement& ValueRichText() const;
  bool HasValueRichText() const;

  // Sets the value.
  ZXFDFField& operator=(const ZVariant& value);
  // Takes over value, rich text, the fields within and all else that stands in
  // the other field; keeps its own name. References to fields that stood in
  // this one end.
  ZXFDFField& operator=(const ZXFDFField& other);

 private:
  ZVariantBuffer BufferOfValue() const;
  void AttachAgain(const ZVariantBuffer& buffer);
};

}  // namespace zforms
