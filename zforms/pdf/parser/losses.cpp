#include "zforms/pdf/parser/losses.h"

#include <algorithm>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/parser/page_tree.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/platform/base/diagnostics.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The most objects that one warning names.
constexpr size_t kMostNamed = 10;

PTableau<ZPDFObjectIdentifier> MissingFrom(const ZPDFNode& node) {
  PTableau<ZPDFObjectIdentifier> missing;
  node.ReferencedObjects(&missing);
  return missing;
}

Chaine Named(const PTableau<ZPDFObjectIdentifier>& ids) {
  Chaine text = FormatUInt(ids.size()) + (ids.size() == 1 ? " object" : " objects") +
                " that the document refers to cannot be read:";
  for (size_t i = 0; i < ids.size() && i < kMostNamed; i++) {
    text += (i == 0 ? " " : ", ") + FormatUInt(ids[i].Number()) + " " + FormatUInt(ids[i].Generation());
  }
  if (ids.size() > kMostNamed) text += " and " + FormatUInt(ids.size() - kMostNamed) + " more";
  return text;
}

}  // namespace

ZPDFLosses::ZPDFLosses(ZPDFParser& parser, ZDiagnostics* notes)
    : ZPDFLosses(
          parser,
          parser.TrailerDico() == nullptr ? PTableau<ZPDFObjectIdentifier>() : MissingFrom(*parser.TrailerDico()),
          notes) {}

ZPDFLosses::ZPDFLosses(ZPDFParser& parser, PTableau<ZPDFObjectIdentifier> missing, ZDiagnostics* notes)
    : unreadable_(std::move(missing)) {
  if (parser.Root() == nullptr) {
    concern_content_ = true;
    if (notes == nullptr) return;
    notes->SetDamaged(true);
    notes->Warn("the trailer refers to no document catalog (\"/Root\")");
    return;
  }
  std::erase_if(unreadable_, [&parser](const ZPDFObjectIdentifier& id) { return !parser.IsLost(id); });
  if (!unreadable_.empty() && notes != nullptr) notes->Warn(Named(unreadable_));
  const ZPDFPageTree pages(*parser.Root(), notes);
  const bool pages_damaged = pages.IsDamaged() || parser.HasLostPages();
  const bool fields_damaged = CheckFields(parser, notes);
  const bool has_type = parser.Root()->GetIdentifier("/Type") == "/Catalog";
  if (!has_type && notes != nullptr) notes->Warn("\"/Type\" of the document catalog is not \"/Catalog\"");
  if (notes != nullptr && (!has_type || !unreadable_.empty() || pages.IsOdd() || fields_damaged))
    notes->SetDamaged(true);
  concern_content_ = pages_damaged || fields_damaged || NeedsUnreadable(parser.Root()->GetDirect("/Pages")) ||
                     NeedsUnreadable(parser.Root()->GetDirect("/AcroForm"));
}

bool ZPDFLosses::NeedsUnreadable(const ZPDFNode* node) const {
  if (node == nullptr || unreadable_.empty()) return false;
  const PTableau<ZPDFObjectIdentifier> missing = MissingFrom(*node);
  return std::any_of(missing.begin(), missing.end(), [this](const ZPDFObjectIdentifier& id) {
    return std::binary_search(unreadable_.begin(), unreadable_.end(), id);
  });
}

// Checks "/AcroForm" and its "/Fields"; kids of fields are checked when the fields are built.
bool ZPDFLosses::CheckFields(ZPDFParser& parser, ZDiagnostics* notes) const {
  const auto warn = [notes](const Chaine& text) {
    if (notes != nullptr) notes->Warn(text);
    return true;
  };
  if (!parser.Root()->Exist("/AcroForm")) return false;
  const ZPDFNodeDictionary* const form = parser.AcroForm();
  if (form == nullptr) return warn("the form (\"/AcroForm\") cannot be read");
  const auto* const fields = NodeCast<ZPDFNodeArray>(form->GetTarget("/Fields"));
  if (fields == nullptr)
    return form->Exist("/Fields") && warn("the form's list of fields (\"/Fields\") cannot be read");
  bool damaged = false;
  for (size_t i = 0; i < fields->Size(); i++) {
    if (NodeCast<ZPDFNodeDictionary>(fields->GetTargetAt(i)) != nullptr) continue;
    damaged = warn("element " + FormatUInt(i + 1) + " of the form's list of fields (\"/Fields\") is not a field");
  }
  return damaged;
}

}  // namespace zforms
