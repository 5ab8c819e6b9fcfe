#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/drawing_fonts.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/filling/filling_guard.h"
#include "zforms/filling/form_message.h"
#include "zforms/platform/base/export.h"

namespace zforms {
class FieldScripts;
class FormDrawing;
class ZPDFNodeDictionary;
class ZPDFNodeIndirectObject;

// FormPress fills a form many times, each time from its original state: it writes the changes as an update after the
// original bytes, and then undoes them. The result is the same as filling a fresh copy. Fonts are read once;
// several objects for the same form share them when they get the result of ZDrawingFonts::ForCopiesOfOneForm. The
// constructor copies the form, so call it
// in the form's thread; then any one thread may use the object.
class ZFORMS_API FormPress {
 public:
  // `names` are the full names, in UTF-8, of the fields that will be filled. The guard has the locks of the fields and
  // removes outdated parts; it must outlive this object. With fonts, the fields are drawn (see FormDrawing); without
  // fonts, viewers are asked to draw them.
  FormPress(const ZAcroForm& form, const std::vector<std::string>& names, const FillingGuard& guard,
            std::optional<ZDrawingFonts> fonts = std::nullopt);
  ~FormPress();

  // A value for a field; `name` is its index in the constructor's `names`.
  struct Value {
    size_t name;
    PTableau<Chaine> texts;
  };
  // From now on the forms are flattened after filling (see FlattenForm). Each form is then made from a new copy, since
  // flattening makes changes that cannot be undone here.
  void Flatten() { flattens_ = true; }
  // Ignores the scripts of the form. Call it before Fill.
  void LeaveScripts() { calculates_ = false; }

  // The filled form; the fields must accept the values. `messages`, which may be null, gets what could not be drawn or
  // computed. Empty when the form cannot be flattened.
  Chaine Fill(const std::vector<Value>& values, ZFormMessages* messages = nullptr);
  // The form filled and flattened, as a document that is not saved; its changed objects are marked as modified. Null
  // when the form cannot be flattened.
  std::unique_ptr<ZAcroForm> FillFlatDocument(const std::vector<Value>& values, ZFormMessages* messages) const;

 private:
  // A dictionary that filling may change, and its original.
  struct Kept {
    ZPDFNodeDictionary* dictionary;
    std::unique_ptr<ZPDFNodeDictionary> original;
  };

  void Prepare();
  std::unique_ptr<FieldScripts> ScriptsOf(ZAcroForm& form) const;
  void FillWith(ZCheckedFiller& filler, const std::vector<Value>& values, ZFormMessages* messages) const;
  void KeepFields();
  void FindObjects();
  void Keep(ZPDFNodeDictionary* dictionary);
  bool IsChanged() const;
  void TakeBack();
  Chaine FillFlat(const std::vector<Value>& values, ZFormMessages* messages) const;

  const ZAcroForm original_;
  std::vector<Chaine> names_;
  const FillingGuard& guard_;
  std::optional<ZDrawingFonts> fonts_;
  bool flattens_ = false;
  bool calculates_ = true;
  std::unique_ptr<ZAcroForm> form_;        // null when a new copy is needed
  std::unique_ptr<FieldScripts> scripts_;  // null when there are none to follow
  std::unique_ptr<ZCheckedFiller> filler_;
  std::unique_ptr<FormDrawing> drawing_;  // null when viewers draw
  std::vector<Kept> kept_;
  // The dictionaries from which the guard removed outdated parts: written with every form.
  PTableau<ZPDFNodeDictionary*> dropped_;
  // The objects that contain these dictionaries, in the order of their numbers.
  PTableau<ZPDFNodeIndirectObject*> objects_;
};

}  // namespace zforms
