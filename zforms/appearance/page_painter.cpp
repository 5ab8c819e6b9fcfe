#include "zforms/appearance/page_painter.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/identifier_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/parser/stream_filters.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/platform/base/number.h"

namespace zforms {
namespace {

// The deepest page tree that is accepted.
constexpr int kMostLevels = 200;
// Shorter content is not compressed.
constexpr size_t kCompressedFrom = 1024;

// The value of the page or of its nearest ancestor that has the key (ISO 32000-1 7.7.3.4).
const ZPDFNode* InheritedOf(const ZPDFNodeDictionary& page, std::string_view key) {
  const ZPDFNodeDictionary* at = &page;
  for (int level = 0; at != nullptr && level < kMostLevels; level++) {
    const ZPDFNode* value = at->GetTarget(key);
    if (value != nullptr && NodeCast<ZPDFNodeNull>(value) == nullptr) return value;
    at = NodeCast<ZPDFNodeDictionary>(at->GetTarget("/Parent"));
  }
  return nullptr;
}

// A prefix that no key of the dictionary has.
std::string FreePrefix(const ZPDFNodeDictionary& names) {
  constexpr std::string_view kStem = "/Zf";
  size_t most = 0;
  for (size_t i = 0; i < names.Size(); i++) {
    const std::string_view key = names.KeyAt(i);
    if (!key.starts_with(kStem)) continue;
    most = std::max(most, std::min(key.find_first_not_of('f', kStem.size()), key.size()) - kStem.size() + 1);
  }
  return std::string(kStem) + std::string(most, 'f');
}

void AppendNumber(std::string* content, double value) {
  *content += FormatDouble(std::round(value * 1e6) / 1e6).View();
  *content += ' ';
}

}  // namespace

int PagePainter::RotationOf(const ZPDFNodeDictionary& page) {
  const ZPDFNode* rotation = InheritedOf(page, "/Rotate");
  return rotation == nullptr ? 0 : rotation->GetIntValue();
}

void PagePainter::Paint(ZPDFNodeDictionary& page, const PTableau<PaintedLook>& looks) {
  if (looks.empty()) return;
  Resources resources{OwnResources(page), {}, {}};
  AddContent(page, ContentOf(resources, looks));
}

// --- content ---

std::string PagePainter::ContentOf(Resources& resources, const PTableau<PaintedLook>& looks) {
  std::string content;
  for (const PaintedLook& look : looks) {
    auto* stream = NodeCast<ZPDFNodeStream>(const_cast<ZPDFNodeIndirectReference*>(look.shown.appearance)->GetTarget());
    // Adds the entry that a form XObject must have: viewers show an appearance even without it.
    if (!stream->Dico()->Exist("/Subtype")) stream->Dico()->SetIdentifier("/Subtype", "/Form");
    if (look.visibility != nullptr) {
      content += "/OC " + NameOf(resources, "/Properties", resources.properties, *look.visibility) + " BDC\n";
    }
    content += "q ";
    for (const double number : look.shown.place) AppendNumber(&content, number);
    content += "cm " + NameOf(resources, "/XObject", resources.objects, *look.shown.appearance) + " Do Q\n";
    if (look.visibility != nullptr) content += "EMC\n";
  }
  return content;
}

ZPDFNode* PagePainter::MakeStream(std::string_view content) {
  ZPDFNodeIndirectObject* object = document_.AddIndirectObject();
  const bool is_long = content.size() >= kCompressedFrom;
  auto* stream = new ZPDFNodeStream(is_long ? FlateEncoded(content) : Chaine(content), &document_);
  if (is_long) stream->Dico()->SetIdentifier("/Filter", "/FlateDecode");
  object->SetChild(stream);
  return object->AllocReference();
}

void PagePainter::AddContent(ZPDFNodeDictionary& page, std::string content) {
  PTableau<const ZPDFNode*> before;
  const ZPDFNode* direct = page.GetDirect("/Contents");
  if (const auto* array = NodeCast<ZPDFNodeArray>(page.GetTarget("/Contents"))) {
    for (size_t i = 0; i < array->Size(); i++) {
      if (NodeCast<ZPDFNodeStream>(array->GetTargetAt(i)) != nullptr) before.push_back(array->GetDirectAt(i));
    }
  } else if (NodeCast<ZPDFNodeStream>(page.GetTarget("/Contents")) != nullptr) {
    before.push_back(direct);
  }
  if (before.empty()) {
    page.SetValue("/Contents", MakeStream(content));
    return;
  }
  if (opening_ == nullptr) opening_.reset(MakeStream("q\n"));
  auto* contents = new ZPDFNodeArray(&document_);
  contents->AppendValue(opening_->Clone());
  for (const ZPDFNode* stream : before) contents->AppendValue(stream->Clone());
  contents->AppendValue(MakeStream("Q\n" + std::move(content)));
  page.SetValue("/Contents", contents);
}

// --- resources ---

ZPDFNode* PagePainter::CopyOnce(const ZPDFNodeDictionary& shared, ZPDFNodeDictionary** copy) {
  ZPDFNodeIndirectObject*& object = copies_[&shared];
  if (object == nullptr) {
    object = document_.AddIndirectObject();
    object->SetChild(shared.Clone());
  }
  *copy = NodeCast<ZPDFNodeDictionary>(object->GetDirectAt(0));
  return object->AllocReference();
}

ZPDFNodeDictionary* PagePainter::OwnResources(ZPDFNodeDictionary& page) {
  if (auto* own = NodeCast<ZPDFNodeDictionary>(page.GetDirect("/Resources"))) return own;
  ZPDFNodeDictionary* copy = nullptr;
  if (const auto* shared = NodeCast<ZPDFNodeDictionary>(InheritedOf(page, "/Resources"))) {
    page.SetValue("/Resources", CopyOnce(*shared, &copy));
  } else {
    page.SetValue("/Resources", copy = new ZPDFNodeDictionary(&document_));
  }
  return copy;
}

ZPDFNodeDictionary* PagePainter::OwnPart(ZPDFNodeDictionary& resources, std::string_view key) {
  if (auto* own = NodeCast<ZPDFNodeDictionary>(resources.GetDirect(key))) return own;
  ZPDFNodeDictionary* copy = nullptr;
  if (const auto* shared = NodeCast<ZPDFNodeDictionary>(resources.GetTarget(key))) {
    resources.SetValue(key, CopyOnce(*shared, &copy));
  } else {
    resources.SetValue(key, copy = new ZPDFNodeDictionary(&document_));
  }
  return copy;
}

std::string PagePainter::NameOf(Resources& resources, std::string_view key, Category& category, const ZPDFNode& node) {
  if (category.names == nullptr) {
    category.names = OwnPart(*resources.dictionary, key);
    std::string& prefix = prefixes_[category.names];
    if (prefix.empty()) prefix = FreePrefix(*category.names);
    category.prefix = prefix;
  }
  std::string name = category.prefix;
  if (const auto* reference = NodeCast<ZPDFNodeIndirectReference>(&node)) {
    name += std::to_string(reference->GetID().Number());
    if (reference->GetID().Generation() != 0) name += "g" + std::to_string(reference->GetID().Generation());
  } else {
    name += "d" + std::to_string(direct_nodes_++);
  }
  if (!category.names->Exist(name)) category.names->SetValue(name, node.Clone());
  return name;
}

}  // namespace zforms
