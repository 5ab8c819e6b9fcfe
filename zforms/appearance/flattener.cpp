#include "zforms/appearance/flattener.h"

#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/appearance/appearance_store.h"
#include "zforms/appearance/field_drawer.h"
#include "zforms/appearance/field_removal.h"
#include "zforms/appearance/page_painter.h"
#include "zforms/appearance/shown_look.h"
#include "zforms/appearance/structure_pruner.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/pages.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"

namespace zforms {
namespace {

// All pages together may list this many annotations, and one more for each byte of the file. Without a limit, pages
// that share annotations could turn a small file into a large one.
constexpr size_t kMostPlaces = 100000;

// One flattening of some fields of a form.
class Flattening {
 public:
  Flattening(ZAcroForm& form, ZDiagnostics* notes) : form_(form), notes_(notes) {}

  // Chooses the fields of the names, or every field when `names` is null. False when a name has no field.
  bool Choose(const PTableau<Chaine>* names) {
    takes_all_ = names == nullptr;
    FDictionnary<bool> found;
    if (names != nullptr) {
      for (const Chaine& name : *names) found.Set(name, false);
    }
    ChooseBelow(form_.Fields(), takes_all_, &found);
    for (const auto& [name, is_found] : found) {
      if (is_found) continue;
      notes_->SetFailure("no field is named \"" + name + "\"");
      return false;
    }
    return true;
  }

  bool Run() {
    if (!FindWidgets()) return false;
    DrawMissing();
    // Marks the chosen dictionaries as not modified, even if they were filled or drawn: they are no longer reachable
    // and need not be written.
    for (ZPDFNodeDictionary* dictionary : chosen_) dictionary->SetModified(false, true);
    PaintPages();
    RemoveFromStructure(*form_.Parser()->Root(), gone_);
    for (const Page& page : pages_) {
      auto* annotations = NodeCast<ZPDFNodeArray>(page.dictionary->GetTarget("/Annots"));
      RemoveElements(annotations, gone_);
    }
    RemoveFields(form_, &gone_, keeps_fonts_);
    for (const Page& page : pages_) {
      const auto* annotations = NodeCast<ZPDFNodeArray>(page.dictionary->GetTarget("/Annots"));
      if (annotations == nullptr || annotations->Size() == 0) page.dictionary->RemoveValue("/Annots");
    }
    return true;
  }

 private:
  // A page that has widgets to be flattened.
  struct Page {
    ZPDFNodeDictionary* dictionary;
    PTableau<ZPDFNodeDictionary*> widgets;
  };

  void ChooseBelow(ZAcroFormFieldCollection& fields, bool takes, FDictionnary<bool>* names) {
    for (uint32_t i = 0; i < fields.Size(); i++) {
      ZAcroFormField& field = *fields.GetAt(i);
      bool* found = takes_all_ ? nullptr : names->Find(field.FullNameUTF8());
      if (found != nullptr) *found = true;
      const bool takes_this = takes || found != nullptr;
      if (takes_this && gone_.insert(field.Dico()).second) {
        chosen_.push_back(field.Dico());
        fields_.push_back(&field);
      }
      ChooseBelow(field, takes_this, names);
    }
  }

  bool FindWidgets() {
    size_t places = 0;
    const size_t most = kMostPlaces + form_.Parser()->RawData().size();
    for (ZPDFNodeDictionary* dictionary : PagesOf(*form_.Parser()->Root())) {
      auto* annotations = NodeCast<ZPDFNodeArray>(dictionary->GetTarget("/Annots"));
      Page page{dictionary, {}};
      for (size_t i = 0; annotations != nullptr && i < annotations->Size(); i++) {
        if (++places > most) {
          notes_->SetFailure("the pages list too many annotations");
          return false;
        }
        if (auto* annotation = NodeCast<ZPDFNodeDictionary>(annotations->GetTargetAt(i))) Find(*annotation, &page);
      }
      if (!page.widgets.empty()) pages_.push_back(std::move(page));
    }
    return true;
  }

  void Find(ZPDFNodeDictionary& annotation, Page* page) {
    const Chaine& type = annotation.GetIdentifier("/Subtype");
    // Keeps the fonts of the form when there are free text annotations, whose "/DA" names them (ISO 32000-1 12.5.6.6).
    keeps_fonts_ |= type == "/FreeText";
    if (takes_all_ && type == "/Widget" && gone_.insert(&annotation).second) chosen_.push_back(&annotation);
    if (gone_.contains(&annotation)) page->widgets.push_back(&annotation);
  }

  // Draws the visible widgets that have no appearance; all visible ones when the form asks viewers to draw its fields.
  void DrawMissing() {
    DictionarySet seen;
    for (const Page& page : pages_) {
      for (const ZPDFNodeDictionary* widget : page.widgets) {
        if (IsShownOnScreen(*widget)) seen.insert(widget);
      }
    }
    const bool draws_all = form_.NeedAppearances();
    ZFieldDrawer drawer(form_);
    for (ZAcroFormField* field : fields_) {
      if (!seen.contains(field->Dico())) continue;
      if (draws_all || IsButton(*field) || AppearanceStore::NormalStream(*field->Dico()) == nullptr) {
        drawer.Draw(*field);
      }
    }
    drawer.Finish();
    for (const ZDiagnostics::Warning& warning : drawer.Diagnostics().Warnings()) notes_->Warn(warning);
  }

  // Buttons are always passed to the drawer: it checks itself whether they lack an appearance.
  static bool IsButton(const ZAcroFormField& field) {
    const ZAcroFormField::eFieldType type = field.InheritedType();
    return type == ZAcroFormField::ePushButton || type == ZAcroFormField::eCheckBox ||
           type == ZAcroFormField::eRadioButton;
  }

  void PaintPages() {
    PagePainter painter(*form_.Parser());
    for (const Page& page : pages_) {
      const int rotation = PagePainter::RotationOf(*page.dictionary);
      PTableau<PaintedLook> looks;
      for (const ZPDFNodeDictionary* widget : page.widgets) {
        const auto look = ShownLookOf(*widget, rotation);
        if (!look) continue;
        const bool has_visibility = NodeCast<ZPDFNodeDictionary>(widget->GetTarget("/OC")) != nullptr;
        looks.push_back({*look, has_visibility ? widget->GetDirect("/OC") : nullptr});
      }
      painter.Paint(*page.dictionary, looks);
    }
  }

  ZAcroForm& form_;
  ZDiagnostics* notes_;
  bool takes_all_ = false;
  bool keeps_fonts_ = false;
  PTableau<ZAcroFormField*> fields_;
  // The dictionaries of fields and widgets to remove, in the order in which they were found, and as a set.
  PTableau<ZPDFNodeDictionary*> chosen_;
  DictionarySet gone_;
  PTableau<Page> pages_;
};

}  // namespace

struct ZFormFlattener::Hidden {
  bool Run(const PTableau<Chaine>* names) {
    notes.Clear();
    if (form.Infos() == nullptr || form.Parser()->Root() == nullptr) {
      notes.SetFailure("has no form");
      return false;
    }
    Flattening flattening(form, &notes);
    return flattening.Choose(names) && flattening.Run();
  }

  ZAcroForm& form;
  ZDiagnostics notes;
};

ZFormFlattener::ZFormFlattener(ZAcroForm& form) : hidden_(new Hidden{form, {}}) {}

ZFormFlattener::~ZFormFlattener() = default;

bool ZFormFlattener::FlattenAll() { return hidden_->Run(nullptr); }

bool ZFormFlattener::Flatten(const PTableau<Chaine>& names) { return hidden_->Run(&names); }

const ZDiagnostics& ZFormFlattener::Diagnostics() const { return hidden_->notes; }

}  // namespace zforms
