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

// A field of a form, and the collection of its kids (ISO 32000-1 12.7.3). A view
// onto its dictionary: reads and writes go straight to the node tree, which the
// document owns. It lives as long as the document is loaded. One thread at a time.
//
// Texts are the bytes of PDF text strings unless the name says UTF8. Predicates
// named HasOwn ask this field's dictionary, the others its ancestors as well.
// What is absent reads as empty, 0 or false; setters write only what changes.
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
  // This field and everything below it: bit 1 of "/Ff".
  void SetReadOnly(bool read_only) override;
  ZAcroFormField(const ZAcroFormField&);
  ZAcroFormField& operator=(const ZAcroFormField&);

  // The partial name "/T" and the mapping name "/TM", never inherited.
  Chaine Name() const;
  bool HasName() const;
  Chaine MappingName() const;
  bool HasMappingName() const;
  // The partial names from the top down to this one, joined by periods. A field
  // without a name has its parent's full name.
  Chaine FullName() const;
  Chaine FullNameUTF8() const;

  // By the nearest "/FT" and this field's own flags; eOtherField without "/FT".
  eFieldType Type() const;
  bool HasType() const;
  bool HasOwnType() const;
  // The same by the nearest flags, as viewers take it.
  eFieldType InheritedType() const;
  // Whether the nearest "/FT" is "/Sig".
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

  // The nearest "/V": for check boxes and radio buttons the name without slash,
  // else the string. Values of other kinds give their best text, those of an array
  // joined by line feeds.
  Chaine Value() const;
  bool HasValue() const;
  bool HasOwnValue() const;
  Chaine ValueUTF8() const;
  // The same, with one text for each element of an array.
  PTableau<Chaine> Values() const;
  // Sets "/V", to a name for check boxes and radio buttons, else to a string; a
  // choice field loses "/I".
  void SetValue(const Chaine& value);
  // Several values of a list box as an array, one as a string.
  void SetValues(const PTableau<Chaine>& values);

  // "/DV", as the value. Of buttons only a check box takes a name.
  Chaine DefaultValue() const;
  bool HasDefaultValue() const;
  bool HasOwnDefaultValue() const;
  Chaine DefaultValueUTF8() const;
  void SetDefaultValue(const Chaine& value);

  // "/RV"; only the predicate looks at ancestors. The setter writes nothing when
  // the rich text equals the plain value.
  Chaine ValueRichText() const;
  bool HasValueRichText() const;
  bool HasOwnValueRichText() const;
  void SetValueRichText(const Chaine& value);

  // The nearest "/Opt".
  PTableau<Option> Options() const;
  bool HasOptions() const;
  bool HasOwnOptions() const;

  // The nearest "/DA" and "/Q", else those of the form.
  Chaine DefaultAppearance() const;
  bool HasOwnDefaultAppearance() const;
  int32_t Quadding() const;
  bool HasOwnQuadding() const;

  // The action "/A"; null when absent. The field keeps it.
  ZAcroFormAction* GetAction();
  const ZAcroFormAction* GetAction() const;
  bool HasOwnAction() const;
  bool IsSubmitFormButton() const;

  // The widget over this field's own dictionary, made on demand, never null.
  ZAcroFormAnnotation* GetAnnotation();
  const ZAcroFormAnnotation* GetAnnotation() const;
  // Whether it was asked for before or "/Subtype" is "/Widget".
  bool HasOwnAnnotation() const;
  // Whether the dictionary is one of a widget that stands on a page.
  bool IsWidget() const;
  // The fields that show this one: itself if it is a widget, and the widgets among
  // its kids without a name, at every depth.
  PTableau<ZAcroFormField*> Widgets();
  PTableau<const ZAcroFormField*> Widgets() const;
  // Each acts on this field and on its widgets.
  void Hide(bool hide);
  void SetNormalCaption(const Chaine& caption);
  void SetRolloverCaption(const Chaine& caption);
  void SetAlternateCaption(const Chaine& caption);

  // Null for a field at the top.
  const ZAcroFormField* Parent() const { return parent_; }
  bool HasParent() const { return parent_ != nullptr; }
  void SetParent(const ZAcroFormField* parent) { parent_ = parent; }
  // The form-wide defaults; null in a field made without.
  const ZAcroFormFormInfos* Form() const { return form_; }
  // Does not descend to the kids.
  void SetForm(const ZAcroFormFormInfos* form) { form_ = form; }

  ZPDFNodeDictionary* Dico() { return dictionary_; }
  const ZPDFNodeDictionary* Dico() const { return dictionary_; }

 protected:
  friend class FieldTreeBuilder;
  friend class ZAcroForm;
  // With its kids, which get the form infos and this parent.
  ZAcroFormField(ZPDFNodeDictionary* dictionary, const ZAcroFormFormInfos* form, const ZAcroFormField* parent);

 private:
  struct Bare {};
  // A value that holds for this field, and the field that has it; null where none does.
  struct Inherited {
    const ZAcroFormField* holder = nullptr;
    const ZPDFNode* value = nullptr;
  };
  using CaptionSetter = void (ZAcroFormAnnotation::*)(const Chaine&);

  // Without its kids.
  ZAcroFormField(ZPDFNodeDictionary* dictionary, const ZAcroFormFormInfos* form, const ZAcroFormField* parent, Bare);
  Inherited Nearest(std::string_view key) const;
  bool HasNearest(std::string_view key) const { return Nearest(key).holder != nullptr; }
  const ZAcroFormFormInfos* NearestForm() const;
  template <class FlagsOf>
  static eFieldType TypeOf(const Chaine& type, FlagsOf flags_of);
  template <class NameOf>
  void JoinNames(Chaine* full_name, NameOf name_of) const;
  Chaine TextAt(const char* key) const;
  Chaine UTF8At(const char* key) const;
  void SetTextAt(const char* key, const Chaine& value, bool as_name);
  void CollectWidgets(PTableau<ZAcroFormField*>* widgets);
  void SetCaption(CaptionSetter setter, const Chaine& caption);

  ZPDFNodeDictionary* dictionary_;
  const ZAcroFormFormInfos* form_;
  LazyWrapper<ZAcroFormAction> action_;
  LazyWrapper<ZAcroFormAnnotation> annotation_;
  const ZAcroFormField* parent_;
};

}  // namespace zforms
