#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "zforms/appearance/field_fonts.h"
#include "zforms/appearance/fonts/added_objects.h"
#include "zforms/appearance/marked_text.h"
#include "zforms/appearance/widget_style.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {

class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;
class ZPDFNodeIndirectReference;
class ZPDFNodeStream;
class ZPDFParser;

// What an appearance that a widget has already gives to the new one.
struct KeptLook {
  KeptContent content;
  // "/BBox": where it begins, and its size.
  double x = 0, y = 0;
  double width = 0, height = 0;
  const ZPDFNodeDictionary* dictionary = nullptr;  // of the stream; the document owns it
};

// An appearance to be written.
struct NewAppearance {
  const WidgetStyle* style = nullptr;
  const KeptLook* kept = nullptr;
  Chaine content;
  std::span<TextFont* const> fonts;
  const TextLook* look = nullptr;  // of the text; null without
};

// AppearanceStore reads and writes the appearances of widgets, "/AP" (ISO 32000-1 12.5.5), of one document. What it
// writes are objects of their own, so that widgets that shared one do not change each other's. It lives as long as
// fields are drawn. One thread at a time.
class AppearanceStore {
 public:
  // `work` is what may still be done, in bytes: see FieldWork.
  AppearanceStore(AddedObjects* added, size_t* work) : added_(added), parser_(added->Document()), work_(work) {}

  // "/N" where it is one stream; null otherwise.
  static const ZPDFNodeStream* NormalStream(const ZPDFNodeDictionary& widget);
  // What stays of "/N": empty when there is no stream, when it cannot be decoded, when its box has another size than
  // the widget, or when its content cannot be kept.
  std::optional<KeptLook> KeptOf(const ZPDFNodeDictionary& widget, const WidgetStyle& style);

  // Makes the appearance "/N"; "/D" and "/R" go. Nothing changes when the widget has the very same already.
  void SetNormal(ZPDFNodeDictionary* widget, const NewAppearance& appearance);
  // Makes the appearance that of a state in "/N", which becomes a dictionary.
  void SetState(ZPDFNodeDictionary* widget, const Chaine& state, const NewAppearance& appearance);

 private:
  ZPDFNodeStream* MakeStream(const NewAppearance& appearance) const;
  ZPDFNodeDictionary* MakeResources(const NewAppearance& appearance) const;
  // The widget's own "/AP", made where it is absent or may be shared.
  ZPDFNodeDictionary* OwnAppearances(ZPDFNodeDictionary* widget) const;

  AddedObjects* added_;
  ZPDFParser* parser_;
  size_t* work_;
  // The objects that were made here for "/N", which are the widget's alone.
  std::unordered_map<const ZPDFNodeDictionary*, ZPDFNodeIndirectObject*> made_;
};

}  // namespace zforms
