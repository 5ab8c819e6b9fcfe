#pragma once

#include <cstdint>
#include <string_view>

#include "zforms/acroform/action.h"
#include "zforms/acroform/annotation.h"
#include "zforms/acroform/field_collection.h"
#include "zforms/acroform/field_option.h"
#include "zforms/acroform/lazy_wrapper.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroFormFormInfos;
class ZPDFNode;
class ZPDFNodeDictionary;

// A field of a form, and the collection of its kids (ISO 32000-1 12.7.3). A view onto its dictionary: reads and writes
// go straight to the node tree, which the document owns. Valid as long as the document is loaded. One thread at a time.
//
// Texts are the bytes of PDF text strings unless the name says UTF8: pass UTF8ToPDFText("Zoé"), not UTF-8. "Nearest"
// means the value of this field, else of its nearest ancestor that has the key. Predicates named HasOwn check only this
// field's dictionary, the others its ancestors as well. An absent key reads as empty, 0 or false; setters write only
// changes.
class ZFORMS_API ZAcroFormField : public ZAcroFormFieldCollection {
 public:
  using Option = ZAcroFormFieldOption;

  enum eFieldType : uint8_t { ePushButton, eCheckBox, eRadioButton, eText, eChoice, eOtherField };

  // Bits of "/Ff" (ISO 32000-1 tables 221, 226 and 230).
  static constexpr uint32_t kReadOnlyFlag = 0x1;
  static constexpr uint32_t kNoExportFlag = 0x4;
  static constexpr uint32_t kRadioFlag = 0x8000;
  static constexpr uint32_t kPushButtonFlag = 0x10000;
  static constexpr uint32_t kComboFlag = 0x20000;
  static constexpr uint32_t kEditFlag = 0x40000;
  static constexpr uint32_t kMultiSelectFlag = 0x200000;
  static constexpr uint32_t kRadiosInUnisonFlag = 0x2000000;

  ~ZAcroFormField() override;
  // Sets or clears bit 1 of "/Ff" in this field and in all fields below it.
  void SetReadOnly(bool read_only) override;
  ZAcroFormField(const ZAcroFormField&);
  ZAcroFormField& operator=(const ZAcroFormField&);

  // The partial name "/T" and the mapping name "/TM"; they are not inherited.
  Chaine Name() const;
  bool HasName() const;
  Chaine MappingName() const;
  bool HasMappingName() const;
  // The partial names from the top of the tree to this field, joined by periods. A field without a name has its
  // parent's full name.
  Chaine FullName() const;
  Chaine FullNameUTF8() const;

  // The type by the nearest "/FT" and the flags of the field that has this "/FT"; eOtherField without "/FT".
  eFieldType Type() const;
  bool HasType() const;
  bool HasOwnType() const;
  // The type by the nearest "/FT" and the nearest flags, as in viewers.
  eFieldType InheritedType() const;
  // True when the nearest "/FT" is "/Sig".
  bool IsSignature() const;

  // This field's own "/Ff", 0 when absent.
  uint32_t Flags() const;
  bool HasFlags() const;
  bool HasOwnFlags() const;
  // The nearest "/Ff".
  uint32_t InheritedFlags() const;
  void SetFlags(uint32_t flags);
  bool IsReadOnly() const { return (Flags() & kReadOnlyFlag) != 0; }
  bool IsNoExport() const { return (Flags() & kNoExportFlag) != 0; }

  // The nearest "/V": for check boxes and radio buttons the name without slash, else the string. A value of another
  // kind is converted to text; the elements of an array are joined by line feeds.
  Chaine Value() const;
  bool HasValue() const;
  bool HasOwnValue() const;
  Chaine ValueUTF8() const;
  // Like Value, with one text for each element of an array.
  PTableau<Chaine> Values() const;
  // Set "/V": to a name for check boxes and radio buttons, else to a string. Remove "/I" of a choice field. `value` has
  // the bytes of a PDF text string or of a name; `text` is UTF-8.
  void SetValue(const Chaine& value);
  void SetValueUTF8(const Chaine& text);
  // Writes several values of a list box as an array, one value as a string.
  void SetValues(const PTableau<Chaine>& values);

  // "/DV", read and written like the value, but written as a name only for check boxes.
  Chaine DefaultValue() const;
  bool HasDefaultValue() const;
  bool HasOwnDefaultValue() const;
  Chaine DefaultValueUTF8() const;
  void SetDefaultValue(const Chaine& value);

  // "/RV". Only HasValueRichText checks the ancestors. The setter writes nothing when the rich text equals the plain
  // value.
  Chaine ValueRichText() const;
  bool HasValueRichText() const;
  bool HasOwnValueRichText() const;
  void SetValueRichText(const Chaine& value);

  // The nearest "/Opt".
  PTableau<Option> Options() const;
  bool HasOptions() const;
  bool HasOwnOptions() const;

  // The nearest "/DA" and "/Q"; when there is none, the entry of the form.
  Chaine DefaultAppearance() const;
  bool HasOwnDefaultAppearance() const;
  int32_t Quadding() const;
  bool HasOwnQuadding() const;

  // The action "/A"; null when absent. Owned by the field.
  ZAcroFormAction* GetAction();
  const ZAcroFormAction* GetAction() const;
  bool HasOwnAction() const;
  bool IsSubmitFormButton() const;

  // The widget in this field's own dictionary, created on demand, never null.
  ZAcroFormAnnotation* GetAnnotation();
  const ZAcroFormAnnotation* GetAnnotation() const;
  // True when GetAnnotation was called before or "/Subtype" is "/Widget".
  bool HasOwnAnnotation() const;
  // True when this field's own dictionary is also the dictionary of a widget.
  bool IsWidget() const;
  // The widgets that show this field: itself if it is a widget, and the widgets among its kids without a name, at every
  // depth.
  PTableau<ZAcroFormField*> Widgets();
  PTableau<const ZAcroFormField*> Widgets() const;
  // Each changes the widgets of this field. Hide also changes the field itself; a caption is also set in the field when
  // it has no widgets or has "/MK".
  void Hide(bool hide);
  void SetNormalCaption(const Chaine& caption);
  void SetRolloverCaption(const Chaine& caption);
  void SetAlternateCaption(const Chaine& caption);

  // Null for a field at the top.
  const ZAcroFormField* Parent() const { return parent_; }
  bool HasParent() const { return parent_ != nullptr; }
  void SetParent(const ZAcroFormField* parent) { parent_ = parent; }
  // The form-wide defaults; null in a field that was created without them.
  const ZAcroFormFormInfos* Form() const { return form_; }
  // Changes only this field, not its kids.
  void SetForm(const ZAcroFormFormInfos* form) { form_ = form; }

  ZPDFNodeDictionary* Dico() { return dictionary_; }
  const ZPDFNodeDictionary* Dico() const { return dictionary_; }

 protected:
  friend class FieldTreeBuilder;
  friend class ZAcroForm;
  // Also builds the kids, with the same form infos and this field as their parent.
  ZAcroFormField(ZPDFNodeDictionary* dictionary, const ZAcroFormFormInfos* form, const ZAcroFormField* parent);

 private:
  struct Bare {};
  // A value that applies to this field, and the field that has it; null when there is none.
  struct Inherited {
    const ZAcroFormField* holder = nullptr;
    const ZPDFNode* value = nullptr;
  };
  // The field that has the nearest "/FT", and its name; null when there is none.
  struct NearestType {
    const ZAcroFormField* holder = nullptr;
    std::string_view name;
  };
  using CaptionSetter = void (ZAcroFormAnnotation::*)(const Chaine&);

  // Does not build the kids.
  ZAcroFormField(ZPDFNodeDictionary* dictionary, const ZAcroFormFormInfos* form, const ZAcroFormField* parent, Bare);
  Inherited Nearest(std::string_view key) const;
  NearestType TypeName() const;
  bool HasNearest(std::string_view key) const { return Nearest(key).holder != nullptr; }
  const ZAcroFormFormInfos* NearestForm() const;
  template <class FlagsOf>
  static eFieldType TypeOf(std::string_view type, FlagsOf flags_of);
  template <class NameOf>
  void JoinNames(Chaine* full_name, NameOf name_of) const;
  Chaine TextAt(const char* key) const;
  Chaine UTF8At(const char* key) const;
  void SetTextAt(const char* key, const Chaine& value, eFieldType type, bool as_name);
  void CollectWidgets(PTableau<ZAcroFormField*>* widgets);
  void SetCaption(CaptionSetter setter, const Chaine& caption);

  ZPDFNodeDictionary* dictionary_;
  const ZAcroFormFormInfos* form_;
  LazyWrapper<ZAcroFormAction> action_;
  LazyWrapper<ZAcroFormAnnotation> annotation_;
  const ZAcroFormField* parent_;
};

}  // namespace zforms
