#include "tool/office/form_card.h"

#include <string_view>
#include <utility>

#include "zforms/acroform/action.h"
#include "zforms/acroform/field_report.h"
#include "zforms/acroform/page_index.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/string_node.h"
#include "zforms/platform/text/text.h"
#include "zforms/server/server_form.h"

namespace zforms::tool {
namespace {

constexpr int kMaxDepth = 100;

std::string TitleOf(const ZPDFParser& parser) {
  const auto* const trailer = parser.TrailerDico();
  const auto* infos = trailer == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(trailer->GetTarget("/Info"));
  const ZPDFNode* const title = infos == nullptr ? nullptr : infos->GetTarget("/Title");
  return title == nullptr ? std::string() : PDFTextToUTF8(title->GetStringValue()).ToString();
}

// The full name of a field or widget: its partial name after the names of its ancestors (ISO 32000-1 12.7.3.2).
std::string FullNameOf(const ZPDFNodeDictionary* at) {
  std::string name;
  for (int depth = 0; at != nullptr && depth < kMaxDepth; depth++) {
    if (const ZPDFNode* const part = at->GetTarget("/T")) {
      name = PDFTextToUTF8(part->GetStringValue()).ToString() + (name.empty() ? "" : "." + name);
    }
    at = NodeCast<ZPDFNodeDictionary>(at->GetTarget("/Parent"));
  }
  return name;
}

// The fields in "/Fields" of an action, given by name or by reference (ISO 32000-1 table 236).
std::vector<std::string> FieldsOf(const ZPDFNodeDictionary& action) {
  std::vector<std::string> fields;
  const auto* const list = NodeCast<ZPDFNodeArray>(action.GetTarget("/Fields"));
  for (size_t i = 0; list != nullptr && i < list->Size(); i++) {
    const ZPDFNode* const one = list->GetTargetAt(i);
    if (one == nullptr) continue;
    const auto* const field = NodeCast<ZPDFNodeDictionary>(one);
    fields.push_back(field != nullptr ? FullNameOf(field) : PDFTextToUTF8(one->GetStringValue()).ToString());
  }
  return fields;
}

void AddButtons(const ZAcroFormServerForm& form, ZDocument::Status status, FormCard* card) {
  for (const auto& [name, buttons] : form.FindSubmitFormButtons(status)) {
    const auto* const action = NodeCast<ZPDFNodeDictionary>(buttons.front()->Dico()->GetTarget("/A"));
    if (action == nullptr) continue;
    card->buttons.push_back(
        {buttons.front()->FullNameUTF8().ToString(), status, action->GetUIntValue("/Flags"), FieldsOf(*action)});
  }
}

void AddReset(const ZAcroFormField& field, const std::string& name, FormCard* card) {
  const auto* const action = NodeCast<ZPDFNodeDictionary>(field.Dico()->GetTarget("/A"));
  if (action == nullptr || action->GetIdentifier("/S") != "/ResetForm") return;
  card->resets.push_back({name, action->GetUIntValue("/Flags"), FieldsOf(*action)});
}

void AddValues(ZAcroForm& form, FormCard* card) {
  for (ZFormField& field : ReportFields(form)) {
    if (field.IsExported() && !field.values.empty()) card->values.emplace(field.name, std::move(field.values));
  }
}

void DescribeFields(const ZAcroFormServerForm& form, FormCard* card) {
  for (const auto& [bytes, fields] : form.FlatFields()) {
    const std::string name = fields.front()->FullNameUTF8().ToString();
    if (!fields.front()->HasValue()) card->unset.push_back(name);
    for (const ZAcroFormField* field : fields) {
      for (const ZAcroFormField* widget : field->Widgets()) AddReset(*widget, name, card);
      const ZPDFNode* const tip = field->Dico()->GetTarget("/TU");
      if (tip != nullptr) card->labels.emplace(name, PDFTextToUTF8(tip->GetStringValue()).ToString());
    }
  }
}

std::shared_ptr<const FormCard> ReadCard(const Chaine& path) {
  ZAcroFormServerForm form;
  form.SetEncryptions(ZPDFEncryptions::kAll);
  if (!form.Load(path, Chaine()) || !form.IsValid()) return nullptr;
  const auto card = std::make_shared<FormCard>();
  const ZPDFParser& parser = *form.Parser();
  card->title = TitleOf(parser);
  card->id_original = ZPDFNodeHexaString::Encode(parser.IDOriginal()).ToString();
  card->id_modified = ZPDFNodeHexaString::Encode(parser.IDModified()).ToString();
  card->tab_orders = PageIndex(parser).TabOrders();
  DescribeFields(form, card.get());
  AddValues(form, card.get());
  for (const auto status : {ZDocument::eModify, ZDocument::eConsult}) AddButtons(form, status, card.get());
  return card;
}

}  // namespace

std::shared_ptr<const FormCard> FormCards::Of(const Chaine& path) {
  ZFileStamp stamp;
  if (path.IsEmpty() || !StampOfFile(path, &stamp)) return nullptr;
  {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(path);
    if (found != entries_.end() && found->second.stamp == stamp) return found->second.card;
  }
  // Reads without the lock, so that threads do not wait for each other. Two threads may then read the same card.
  std::shared_ptr<const FormCard> card = ReadCard(path);
  const std::lock_guard lock(mutex_);
  entries_[path] = {stamp, card};
  return card;
}

}  // namespace zforms::tool
