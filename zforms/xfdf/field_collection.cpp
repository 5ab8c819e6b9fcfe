#include "zforms/xfdf/field_collection.h"

#include <deque>

#include "zforms/platform/xml/xml.h"
#include "zforms/xfdf/field.h"

namespace zforms {

namespace {

// Returned in place of a missing field; it cannot be changed.
const ZXFDFField& NoField() {
  static ZXMLElement element("field");
  static const ZXFDFField field(element);
  return field;
}

}  // namespace

struct ZXFDFFieldCollection::Listing {
  FDictionnary<std::unique_ptr<Field>> fields;
  // For each name that occurs more than once: the "field" elements that are not listed, in document order.
  FDictionnary<std::deque<ZXMLElement*>> unlisted;
};

ZXFDFFieldCollection::ZXFDFFieldCollection(ZXMLElement& element, unsigned depth) : element_(element), depth_(depth) {
  Relist();
}

ZXFDFFieldCollection::~ZXFDFFieldCollection() = default;

void ZXFDFFieldCollection::Relist() {
  listing_.reset();
  const Chaine field("field");
  for (ZXMLElement* child = element_.FirstChild(); child != nullptr; child = child->NextSibling()) {
    if (child->Name() == field && child->HasAttrib("name")) List(*child);
  }
}

void ZXFDFFieldCollection::List(ZXMLElement& element) {
  const Chaine name = element.Attrib("name").AsChaine();
  if (listing_ == nullptr) listing_ = std::make_unique<Listing>();
  std::unique_ptr<Field>& listed = listing_->fields[name];
  if (listed != nullptr) {
    std::deque<ZXMLElement*>& all = listing_->unlisted[name];
    if (all.empty()) all.push_back(&listed->Element());
    all.push_back(&element);
  } else if (listing_->unlisted.Size() != 0) {
    if (std::deque<ZXMLElement*>* all = listing_->unlisted.Find(name)) all->push_back(&element);
  }
  listed = std::make_unique<Field>(element, depth_ + 1);
}

unsigned int ZXFDFFieldCollection::Size() const {
  return listing_ == nullptr ? 0 : static_cast<unsigned int>(listing_->fields.Size());
}

ZXFDFField& ZXFDFFieldCollection::operator[](unsigned int index) { return *listing_->fields.At(index).second; }

const ZXFDFField& ZXFDFFieldCollection::operator[](unsigned int index) const {
  return *listing_->fields.At(index).second;
}

const ZXFDFField& ZXFDFFieldCollection::operator[](const Chaine& name) const {
  const Field* field = Get(name);
  return field == nullptr ? NoField() : *field;
}

ZXFDFField* ZXFDFFieldCollection::Get(const Chaine& name) {
  int lookups = kLookups;
  return Find(name, &lookups);
}

const ZXFDFField* ZXFDFFieldCollection::Get(const Chaine& name) const {
  int lookups = kLookups;
  return Find(name, &lookups);
}

// The listed field of that name at this level, or null.
ZXFDFField* ZXFDFFieldCollection::FindHere(std::string_view name) const {
  const std::unique_ptr<Field>* field = listing_ == nullptr ? nullptr : listing_->fields.Find(name);
  return field == nullptr ? nullptr : field->get();
}

// Tries the whole name. Then tries each prefix that ends at a dot, the shortest first, and looks up the rest of the
// name below its field. The number of lookups is bounded, because names may be hostile.
ZXFDFField* ZXFDFFieldCollection::Find(std::string_view name, int* lookups) const {
  if (--*lookups < 0) return nullptr;
  if (Field* field = FindHere(name)) return field;
  for (size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.', dot + 1)) {
    if (--*lookups < 0 || Size() == 0) return nullptr;
    const Field* left = FindHere(name.substr(0, dot));
    if (left == nullptr) continue;
    if (Field* field = left->Find(name.substr(dot + 1), lookups)) return field;
  }
  return nullptr;
}

ZXFDFField& ZXFDFFieldCollection::AddField(const Chaine& name) {
  if (Field* field = Get(name)) return *field;
  ZXFDFFieldCollection* into = this;
  std::string_view rest = name.View();
  while (true) {
    const size_t dot = into->depth_ + 1 < kMaxDepth ? rest.find('.') : std::string_view::npos;
    const Chaine part(rest.substr(0, dot));
    if (into->FindHere(part) == nullptr) {
      ZXMLElement& element = into->element_.Add("field");
      element.SetAttrib("name", part);
      into->List(element);
    }
    Field* field = into->FindHere(part);
    if (dot == std::string_view::npos) return *field;
    into = field;
    rest.remove_prefix(dot + 1);
  }
}

bool ZXFDFFieldCollection::RemoveField(const Chaine& name) {
  if (listing_ == nullptr) return false;
  const Field* field = FindHere(name);
  std::deque<ZXMLElement*>* all = listing_->unlisted.Find(name);
  ZXMLElement* first = nullptr;
  if (all != nullptr) {
    first = all->front();
    all->pop_front();
    if (all->empty()) listing_->unlisted.Remove(name);
  } else if (field != nullptr) {
    first = &field->Element();
  }
  // Removes the field from the list before its element is deleted.
  listing_->fields.Remove(name);
  if (first != nullptr) element_.Remove(*first);
  return first != nullptr;
}

PUniqueT<Chaine> ZXFDFFieldCollection::FieldNames() const {
  PUniqueT<Chaine> names;
  size_t room = kMaxAllNames;
  ListNames(Chaine(), &room, &names);
  return names;
}

// False when the limit is reached.
bool ZXFDFFieldCollection::ListNames(const Chaine& prefix, size_t* room, PUniqueT<Chaine>* names) const {
  if (listing_ == nullptr) return true;
  for (const auto& [name, field] : listing_->fields) {
    const size_t size = prefix.size() + name.size();
    if (size > kMaxFullName) continue;
    if (size > *room) return false;
    *room -= size;
    const Chaine full = prefix + name;
    names->Add(full);
    if (field->Size() != 0 && !field->ListNames(full + '.', room, names)) return false;
  }
  return true;
}

bool ZXFDFFieldCollection::VisitValues(const ValueVisit& visit) const {
  std::string name;
  return VisitValuesBelow(&name, visit);
}

// On entry and exit `name` is the full name of this field followed by a dot; empty at the top level.
bool ZXFDFFieldCollection::VisitValuesBelow(std::string* name, const ValueVisit& visit) const {
  if (listing_ == nullptr) return true;
  const size_t size = name->size();
  for (const auto& [part, field] : listing_->fields) {
    if (size + part.size() > kMaxFullName) continue;
    const bool has_value = field->HasValue();
    if (!has_value && field->Size() == 0) continue;
    name->append(part);
    bool goes_on = !has_value || visit(*name, *field);
    name->push_back('.');
    goes_on = goes_on && field->VisitValuesBelow(name, visit);
    name->resize(size);
    if (!goes_on) return false;
  }
  return true;
}

void ZXFDFFieldCollection::Free() {
  listing_.reset();
  element_.RemoveAll("field");
}

}  // namespace zforms
