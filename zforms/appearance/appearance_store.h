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

// The parts of a widget's existing appearance that the new one keeps.
struct KeptLook {
  KeptContent content;
  // "/BBox": its lower left corner and its size.
  double x = 0, y = 0;
  double width = 0, height = 0;
  const ZPDFNodeDictionary* dictionary = nullptr;  // the dictionary of the stream; the document owns it
};

// An appearance to be written.
struct NewAppearance {
  const WidgetStyle* style = nullptr;
  const KeptLook* kept = nullptr;
  Chaine content;
  std::span<TextFont* const> fonts;
  const TextLook* look = nullptr;  // the look of the text; null without text
};

// AppearanceStore reads and writes the appearances ("/AP", ISO 32000-1 12.5.5) of the widgets of one document. It
// writes each appearance as an object of its own, so that widgets that shared one no longer affect each other. It lives
// as long as fields are drawn. One thread at a time.
class AppearanceStore {
 public:
  // `work` is the remaining budget; see WidgetDrawer.
  AppearanceStore(AddedObjects* added, size_t* work) : added_(added), parser_(added->Document()), work_(work) {}

  // The stream "/N"; null when "/N" is not a single stream.
  static const ZPDFNodeStream* NormalStream(const ZPDFNodeDictionary& widget);
  // True when "/N" of the widget was made here.
  bool HasMade(const ZPDFNodeDictionary& widget) const { return made_.contains(&widget); }
  // The parts of "/N" to keep. Empty when there is no stream, when it cannot be decoded, when its
  // box has another size or rotation than the widget, or when its content cannot be kept.
  std::optional<KeptLook> KeptOf(const ZPDFNodeDictionary& widget, const WidgetStyle& style);

  // Makes the appearance "/N", unless the widget already has the same one. Removes "/D" and "/R".
  void SetNormal(ZPDFNodeDictionary* widget, const NewAppearance& appearance);
  // Sets the appearance of one state; "/N" becomes a dictionary of states.
  void SetState(ZPDFNodeDictionary* widget, const Chaine& state, const NewAppearance& appearance);

 private:
  ZPDFNodeStream* MakeStream(const NewAppearance& appearance) const;
  ZPDFNodeDictionary* MakeResources(const NewAppearance& appearance) const;
  // The widget's own "/AP". Creates one when it is absent or may be shared.
  ZPDFNodeDictionary* OwnAppearances(ZPDFNodeDictionary* widget) const;

  AddedObjects* added_;
  ZPDFParser* parser_;
  size_t* work_;
  // Maps each widget to the object that was created here for its "/N". No other widget uses that object.
  std::unordered_map<const ZPDFNodeDictionary*, ZPDFNodeIndirectObject*> made_;
};

}  // namespace zforms
