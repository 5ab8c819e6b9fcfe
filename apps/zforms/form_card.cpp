#include "apps/zforms/form_card.h"

#include <string_view>
#include <unordered_map>

#include "acroform/action.h"
#include "apps/zforms/page_index.h"
#include "pdf/array_node.h"
#include "pdf/dictionary_node.h"
#include "pdf/parser/parser.h"
#include "platform/text.h"
#include "server/server_form.h"

namespace zforms::tool {
namespace {

using FieldNames = std::unordered_map<const ZPDFNode*, std::string>;

std::string TitleOf(const ZPDFParser& parser) {
  const auto* const trailer = parser.TrailerDico();
  const auto* infos = trailer == nullptr ? nullptr : NodeCast<ZPDFNodeDictionary>(trailer->GetTarget("/Info"));
  const ZPDFNode* const title = infos == nullptr ? nullptr : infos->GetTarget("/Title");
  return title == nullptr ? std::string() : PDFTextToUTF8(title->GetStringValue()).ToString();
}

std::string HexOf(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

FieldNames NamesOf(const ZAcroFormServerForm& form) {
  FieldNames names;
  for (const auto& [name, fields] : form.FlatFields()) {
    for (const ZAcroFormField* field : fields) names[field->Dico()] = field->FullNameUTF8().ToString();
  }
  return names;
}

// "/Fields" of an action names fields, or refers to them (ISO 32000-1 table 236).
std::vector<std::string> FieldsOf(const ZPDFNodeDictionary& action, const FieldNames& names) {
  std::vector<std::string> fields;
  const auto* const list = NodeCast<ZPDFNodeArray>(action.GetTarget("/Fields"));
  for (size_t i = 0; list != nullptr && i < list->Size(); i++) {
    const ZPDFNode* const one = list->GetTargetAt(i);
    const auto found = names.find(one);
    if (found != names.end()) {
      fields.push_back(found->second);
    } else if (one != nullptr && NodeCast<ZPDFNodeDictionary>(one) == nullptr) {
      fields.push_back(PDFTextToUTF8(one->GetStringValue()).ToString());
    }
  }
  return fields;
}

void AddButtons(const ZAcroFormServerForm& form, ZDocument::Status status, const FieldNames& names, FormCard* card) {
  for (const auto& [name, buttons] : form.FindSubmitFormButtons(status)) {
    const auto* const action = NodeCast<ZPDFNodeDictionary>(buttons.front()->Dico()->GetTarget("/A"));
    if (action == nullptr) continue;
    card->buttons.push_back(
        {buttons.front()->FullNameUTF8().ToString(), status, action->GetUIntValue("/Flags"), FieldsOf(*action, names)});
  }
}

void DescribeFields(const ZAcroFormServerForm& form, FormCard* card) {
  for (const auto& [bytes, fields] : form.FlatFields()) {
    const std::string name = fields.front()->FullNameUTF8().ToString();
    if (!fields.front()->HasValue()) card->unset.push_back(name);
    for (const ZAcroFormField* field : fields) {
      const ZPDFNode* const tip = field->Dico()->GetTarget("/TU");
      if (tip != nullptr) card->labels.emplace(name, PDFTextToUTF8(tip->GetStringValue()).ToString());
    }
  }
}

std::shared_ptr<const FormCard> ReadCard(const Chaine& path) {
  ZAcroFormServerForm form;
  if (!form.Load(path, Chaine()) || !form.IsValid()) return nullptr;
  const auto card = std::make_shared<FormCard>();
  const ZPDFParser& parser = *form.Parser();
  card->title = TitleOf(parser);
  card->id_original = HexOf(parser.IDOriginal());
  card->id_modified = HexOf(parser.IDModified());
  card->tab_orders = PageIndex(parser).TabOrders();
  const FieldNames names = NamesOf(form);
  DescribeFields(form, card.get());
  for (const auto status : {ZDocument::eModify, ZDocument::eConsult}) AddButtons(form, status, names, card.get());
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
  // Two threads may read the same one; neither holds the other up.
  std::shared_ptr<const FormCard> card = ReadCard(path);
  const std::lock_guard lock(mutex_);
  entries_[path] = {stamp, card};
  return card;
}

}  // namespace zforms::tool
