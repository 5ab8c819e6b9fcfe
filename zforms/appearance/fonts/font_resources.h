#pragma once

#include <memory>
#include <string_view>
#include <unordered_map>

#include "zforms/appearance/fonts/resource_font.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"

namespace zforms {

class AddedObjects;
class SharedFontCodes;
class ZAcroFormField;
class ZPDFNodeIndirectObject;

// The resources of the widget's appearance stream ("/AP" "/N"), null when there are none.
const ZPDFNodeDictionary* AppearanceResources(const ZPDFNodeDictionary& widget);

// The fonts that the default appearances of a document's fields name. Each font dictionary is read once and recognized
// by its address: the document, which outlives this object, keeps all of them, including those that were added. This
// object owns the fonts. One thread at a time.
class FontResources {
 public:
  // `shared` has the codes of the document's fonts for all its copies; may be null.
  explicit FontResources(AddedObjects* added, std::shared_ptr<SharedFontCodes> shared = nullptr);
  ~FontResources();
  FontResources(const FontResources&) = delete;
  FontResources& operator=(const FontResources&) = delete;

  // The font of that name, without slash: the first one found in "/DR" of the field or of one of its parents, in "/DR"
  // of the form, or in the resources of the widget's appearance ("/AP" "/N"). If there is none, the standard font that
  // the name stands for, or Helvetica; a dictionary for it is added to the document when an appearance refers to it.
  // Never null.
  ResourceFont* Find(const ZAcroFormField& widget, std::string_view name);

  // The standard font that is most like `font`, for a font that is not embedded and lacks a character of the text. Null
  // for an embedded font, for a symbol font, and when the standard font lacks a character as well. Returns the one that
  // is already in the resources of the widget's appearance, if any; the widget may be null.
  ResourceFont* StandInFor(const ResourceFont& font, std::u32string_view text,
                           const ZPDFNodeDictionary* widget = nullptr);

  // Forgets the added dictionaries, but not the codes that were read from them. Call it before the dictionaries are
  // destroyed.
  void Restart();

 private:
  ResourceFont* FindIn(const ZPDFNodeDictionary* resources, const Chaine& key);
  ResourceFont* Standard(const StandardFont& font, std::string_view name);
  const std::shared_ptr<const FontCodes>& CodesOf(const StandardFont& font);
  std::shared_ptr<const FontCodes> ReadCodes(const ZPDFNodeDictionary& font, const ZPDFNode& value) const;
  ResourceFont* FontOf(const ZPDFNodeDictionary& font, std::string_view name, const ZPDFNode& value);
  std::unique_ptr<ZPDFNodeDictionary> MakeStandardFont(const StandardFont& font) const;
  // A reference to the dictionary of a standard font, which is added on the first call.
  ZPDFNode* ReferTo(const StandardFont& font);

  AddedObjects* added_;
  std::shared_ptr<SharedFontCodes> shared_;
  std::unordered_map<const ZPDFNodeDictionary*, std::shared_ptr<const FontCodes>> codes_;
  // Maps each font dictionary to its fonts, by the resource names that lead to it. Each font is written under its own
  // name.
  std::unordered_map<const ZPDFNodeDictionary*, FDictionnary<std::unique_ptr<ResourceFont>>> fonts_;
  // A standard font, whose dictionary is added when it is used, and its fonts by their resource names.
  struct Added {
    ZPDFNodeIndirectObject* object = nullptr;  // null when none was added, or it was removed again
    std::shared_ptr<const FontCodes> codes;
    FDictionnary<std::unique_ptr<ResourceFont>> fonts;
  };
  std::unordered_map<const StandardFont*, Added> standard_;
};

}  // namespace zforms
