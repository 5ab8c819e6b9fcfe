#include "tool/batch/row_pages.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "zforms/acroform/acro_form.h"
#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/pages.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/stream_node.h"
#include "zforms/pdf/syntax/encrypter.h"
#include "zforms/pdf/syntax/out_stream.h"

namespace zforms::tool {
namespace {

using Object = ZPDFNodeIndirectObject;
using Numbers = std::unordered_set<uint32_t>;

// Keys of a page that are left out, because they refer to parts of the document that the merged file does not have.
constexpr std::string_view kDropped[] = {"/Parent", "/StructParents", "/B"};
// Keys that a page inherits from the nodes of the page tree (ISO 32000-1 7.7.3.4).
constexpr std::string_view kInherited[] = {"/Resources", "/MediaBox", "/CropBox", "/Rotate"};
// At most this many nodes are followed from a page up to the root of the page tree.
constexpr int kMostLevels = 200;

template <size_t Count>
bool IsOneOf(const std::string_view (&keys)[Count], std::string_view key) {
  return std::find(std::begin(keys), std::end(keys), key) != std::end(keys);
}

const ZPDFNode* InheritedValue(const ZPDFNodeDictionary& page, std::string_view key) {
  const ZPDFNodeDictionary* node = &page;
  for (int level = 0; node != nullptr && level < kMostLevels; level++) {
    if (node->Holds(key)) return node->GetDirect(key);
    node = NodeCast<ZPDFNodeDictionary>(node->GetTarget("/Parent"));
    if (node == &page) break;
  }
  return nullptr;
}

// Writes values as text. The nodes of a parsed document are nested to a limited depth.
class LooseWriter {
 public:
  // Calls `refer` for each reference to an object that exists.
  using MakeReference = std::function<LooseObject::Reference(uint32_t number)>;
  LooseWriter(LooseObject* object, MakeReference refer) : object_(object), refer_(std::move(refer)) {}

  void Write(const ZPDFNode* node) {
    if (const auto* dictionary = NodeCast<ZPDFNodeDictionary>(node)) return WriteDictionary(*dictionary, {});
    if (const auto* stream = NodeCast<ZPDFNodeStream>(node); stream != nullptr && stream->Dico() != nullptr) {
      return WriteStream(*stream);
    }
    if (const auto* array = NodeCast<ZPDFNodeArray>(node)) {
      Put("[");
      for (size_t i = 0; i < array->Size(); i++) Write(array->GetDirectAt(i));
      return Put("]");
    }
    const auto* reference = NodeCast<ZPDFNodeIndirectReference>(node);
    if (reference != nullptr && reference->GetObject() != nullptr) return Refer(refer_(reference->GetID().Number()));
    if (node == nullptr || reference != nullptr) return Put("null");
    Chaine text;
    {
      ZPDFOutStream out(&text);
      node->SendTo(out, ZPDFEncrypterNeutral::Default());
    }
    Put(text);
  }

  void WriteObject(const Object& object, bool is_page) {
    const auto* page = is_page ? NodeCast<ZPDFNodeDictionary>(object.GetDirectAt(0)) : nullptr;
    if (page == nullptr) return Write(object.GetDirectAt(0));
    Put("<<");
    for (size_t i = 0; i < page->Size(); i++) {
      const std::string_view key = page->KeyAt(i);
      if (!key.empty() && !IsOneOf(kDropped, key) && !IsOneOf(kInherited, key)) WriteEntry(key, page->ValueAt(i));
    }
    for (const std::string_view key : kInherited) {
      if (const ZPDFNode* value = InheritedValue(*page, key)) WriteEntry(key, value);
    }
    Put("/Parent");
    Refer({0, LooseObject::Reference::To::kParent, 0});
    Put(">>");
  }

 private:
  void Put(std::string_view token) {
    std::string& text = object_->text;
    const auto is_open = [](char c) { return c == '[' || c == '<' || c == '('; };
    const auto is_closed = [](char c) { return c == '[' || c == '<' || c == ']' || c == '>' || c == ')'; };
    const bool separate = !text.empty() && !is_closed(text.back()) && !token.empty() && !is_open(token.front()) &&
                          token.front() != '/' && token.front() != ']' && token.front() != '>';
    if (separate) text += ' ';
    text += token;
  }
  void WriteEntry(std::string_view key, const ZPDFNode* value) {
    Put(key);
    Write(value);
  }
  void WriteDictionary(const ZPDFNodeDictionary& dictionary, std::string_view left_out) {
    Put("<<");
    for (size_t i = 0; i < dictionary.Size(); i++) {
      const std::string_view key = dictionary.KeyAt(i);
      if (!key.empty() && key != left_out) WriteEntry(key, dictionary.ValueAt(i));
    }
    Put(">>");
  }
  void WriteStream(const ZPDFNodeStream& stream) {
    WriteDictionary(*stream.Dico(), "/Length");
    std::string& text = object_->text;
    text.resize(text.size() - 2);
    text += "/Length " + std::to_string(stream.Data().size()) + ">>\nstream\n";
    text += stream.Data().View();
    text += "\nendstream";
  }
  void Refer(LooseObject::Reference reference) {
    object_->text += ' ';
    reference.at = object_->text.size();
    object_->references.push_back(reference);
    object_->text += " 0 R";
  }

  LooseObject* object_;
  const MakeReference refer_;
};

// The numbers of the objects that an object refers to, in order.
std::vector<uint32_t> ReferencesOf(const Object& object, bool is_page) {
  std::vector<uint32_t> numbers;
  LooseObject ignored;
  LooseWriter writer(&ignored, [&numbers](uint32_t number) {
    numbers.push_back(number);
    return LooseObject::Reference();
  });
  writer.WriteObject(object, is_page);
  return numbers;
}

Object* ObjectOf(ZAcroForm& form, uint32_t number) {
  const ZPDFObjectLocation* location = form.Parser()->ObjectLocations().Find(number);
  return location == nullptr ? nullptr : form.Parser()->GetObject(location->id);
}

std::vector<uint32_t> PageNumbersOf(ZAcroForm& form) {
  std::vector<uint32_t> numbers;
  if (form.Parser()->Root() == nullptr) return numbers;
  const auto pages = PagesOf(*form.Parser()->Root());
  std::unordered_map<const ZPDFNode*, uint32_t> number_of;
  for (const ZPDFObjectLocation& location : form.Parser()->ObjectLocations()) {
    if (location.object != nullptr) number_of.emplace(location.object->GetDirectAt(0), location.id.Number());
  }
  for (const ZPDFNodeDictionary* page : pages) {
    if (const auto found = number_of.find(page); found != number_of.end()) numbers.push_back(found->second);
  }
  return numbers;
}

}  // namespace

RowPagesMaker::RowPagesMaker(ZAcroForm& form) : highest_(form.Parser()->ObjectLocations().HighestNumber()) {
  Numbers seen;
  std::vector<uint32_t> open = PageNumbersOf(form);
  const Numbers pages(open.begin(), open.end());
  seen.insert(open.begin(), open.end());
  while (!open.empty()) {
    const uint32_t from = open.back();
    open.pop_back();
    const Object* const object = ObjectOf(form, from);
    if (object == nullptr) continue;
    for (const uint32_t to : ReferencesOf(*object, pages.contains(from))) {
      referrers_[to].push_back(from);
      if (seen.insert(to).second) open.push_back(to);
    }
  }
}

// The objects that a row cannot share with others: its pages, objects that were changed, and objects that refer to
// these.
RowPagesMaker::Numbers RowPagesMaker::OwnOf(ZAcroForm& flat, std::vector<uint32_t> open) const {
  Numbers own;
  for (const Object* object : flat.Parser()->ModifiedObjects()) open.push_back(object->GetID().Number());
  while (!open.empty()) {
    const uint32_t number = open.back();
    open.pop_back();
    if (!own.insert(number).second) continue;
    if (const auto found = referrers_.find(number); found != referrers_.end()) {
      open.insert(open.end(), found->second.begin(), found->second.end());
    }
  }
  return own;
}

RowPages RowPagesMaker::Make(ZAcroForm& flat) const {
  struct Visit {
    LooseObject loose;
    std::vector<uint32_t> own;  // the row's own objects to which it refers
    size_t next = 0;
  };
  RowPages pages;
  pages.pages = PageNumbersOf(flat);
  const Numbers page_numbers(pages.pages.begin(), pages.pages.end());
  const Numbers own = OwnOf(flat, pages.pages);
  Numbers seen;
  std::vector<Visit> path;
  const auto visit = [&](uint32_t number) {
    const Object* const object = seen.insert(number).second ? ObjectOf(flat, number) : nullptr;
    if (object == nullptr) return;
    Visit& entered = path.emplace_back();
    entered.loose.number = number;
    LooseWriter writer(&entered.loose, [&](uint32_t to) {
      const bool is_own = to > highest_ || own.contains(to);
      if (is_own) entered.own.push_back(to);
      return LooseObject::Reference{0, is_own ? LooseObject::Reference::To::kOwn : LooseObject::Reference::To::kShared,
                                    to};
    });
    writer.WriteObject(*object, page_numbers.contains(number));
  };
  for (const uint32_t page : pages.pages) {
    visit(page);
    while (!path.empty()) {
      Visit& top = path.back();
      if (top.next < top.own.size()) {
        visit(top.own[top.next++]);
      } else {
        pages.objects.push_back(std::move(top.loose));
        path.pop_back();
      }
    }
  }
  return pages;
}

LooseObject RowPagesMaker::Shared(const ZPDFNode& value) {
  LooseObject loose;
  const auto refer = [](uint32_t number) {
    return LooseObject::Reference{0, LooseObject::Reference::To::kShared, number};
  };
  LooseWriter(&loose, refer).Write(&value);
  return loose;
}

LooseObject RowPagesMaker::Shared(const ZPDFNodeIndirectObject& object) {
  LooseObject loose;
  if (const ZPDFNode* value = object.GetDirectAt(0)) loose = Shared(*value);
  loose.number = object.GetID().Number();
  return loose;
}

}  // namespace zforms::tool
