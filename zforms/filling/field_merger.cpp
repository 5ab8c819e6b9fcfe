#include "zforms/filling/field_merger.h"

#include <unordered_map>
#include <utility>
#include <vector>

#include "zforms/acroform/field_filling.h"
#include "zforms/acroform/node_access.h"

namespace zforms {
namespace {

// The content of the "field" elements of one full name.
struct Entry {
  Chaine name;
  PTableau<Chaine> values;
  const ZXMLElement* rich_text = nullptr;

  bool IsEmpty() const { return values.empty() && rich_text == nullptr; }
  Chaine RichText() const { return rich_text == nullptr ? Chaine() : rich_text->AsChaine(); }
  bool SaysTheSame(const Entry& other) const {
    return values == other.values && (rich_text == nullptr) == (other.rich_text == nullptr) &&
           RichText() == other.RichText();
  }
};

class FieldMerger {
 public:
  // False when two fields of one full name have different values. Recursion is safe: ZXMLReader bounds the depth.
  bool Collect(const ZXMLElement& element, const Chaine& above) {
    for (const ZXMLElement* child = element.FirstChild(); child != nullptr; child = child->NextSibling()) {
      if (child->Name() == Chaine("field") && !CollectField(*child, above)) return false;
    }
    return true;
  }

  bool HasRepeated() const { return has_repeated_; }
  size_t Nameless() const { return nameless_; }
  // The full name of the fields with different values, after Collect returned false.
  const Chaine& Contradiction() const { return contradiction_; }

  ZXFDF Merged() const {
    ZXFDF merged;
    for (const Entry& entry : entries_) {
      ZXFDFField& field = merged.Fields().AddField(entry.name);
      if (!entry.values.empty()) field.SetValues(entry.values);
      if (entry.rich_text != nullptr) field.ValueRichText().CopyContentOf(*entry.rich_text);
    }
    return merged;
  }

 private:
  bool CollectField(const ZXMLElement& element, const Chaine& above) {
    if (!element.HasAttrib("name")) {
      if (element.FirstChild() != nullptr) nameless_++;
      return true;
    }
    Entry entry{above, {}};
    AppendPartialName(&entry.name, true, element.Attrib("name").AsChaine());
    // Keeps a name that is too long, without its values and the fields below it: ZCheckedFiller reports it.
    if (entry.name.size() > ZXFDFFieldCollection::kMaxFullName) return Add(std::move(entry));
    for (const ZXMLElement* child = element.FirstChild(); child != nullptr; child = child->NextSibling()) {
      if (child->Name() == Chaine("value")) entry.values.push_back(child->Value().AsChaine());
    }
    entry.rich_text = element.Get("value-richtext");
    const Chaine name = entry.name;
    return Add(std::move(entry)) && Collect(element, name);
  }

  bool Add(Entry entry) {
    const auto [found, is_new] = places_.try_emplace(entry.name.ToString(), entries_.size());
    if (is_new) {
      entries_.push_back(std::move(entry));
      return true;
    }
    has_repeated_ = true;
    Entry& first = entries_[found->second];
    if (entry.IsEmpty() || first.SaysTheSame(entry)) return true;
    if (!first.IsEmpty()) {
      contradiction_ = entry.name;
      return false;
    }
    first = std::move(entry);
    return true;
  }

  std::vector<Entry> entries_;
  std::unordered_map<std::string, size_t> places_;
  size_t nameless_ = 0;
  bool has_repeated_ = false;
  Chaine contradiction_;
};

}  // namespace

bool MergeFields(ZXFDF* data, std::string* left_out, std::string* error) {
  const ZXMLElement* const fields = data->FieldsElement();
  if (fields == nullptr) return true;
  FieldMerger merger;
  if (!merger.Collect(*fields, Chaine())) {
    *error = "two fields have the name \"" + merger.Contradiction().ToString() + "\" but different values";
    return false;
  }
  if (merger.Nameless() > 0) {
    *left_out = merger.Nameless() == 1 ? "a field without a name is left out"
                                       : std::to_string(merger.Nameless()) + " fields without a name are left out";
  }
  if (merger.HasRepeated()) *data = merger.Merged();
  return true;
}

}  // namespace zforms
