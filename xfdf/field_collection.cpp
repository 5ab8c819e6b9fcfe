#include "xfdf/field_collection.h"

#include <algorithm>

#include "platform/xml.h"
#include "xfdf/field.h"

namespace zforms {

namespace {

// Stands for a field that does not exist; nothing can change it.
const ZXFDFField& NoField() {
  static ZXMLElement element("field");
  static const ZXFDFField field(element);
  return field;
}

}  // namespace

ZXFDFFieldCollection::ZXFDFFieldCollection(ZXMLElement& element, unsigned depth) : element_(element), depth_(depth) {
  Relist();
}

ZXFDFFieldCollection::~ZXFDFFieldCollection() = default;

void ZXFDFFieldCollection::Relist() {
  fields_.Clear();
  unlisted_.Clear();
  for (ZXMLElement* child = element_.FirstChild(); child != nullptr; child = child->NextSibling()) {
    if (child->Name() == "field" && child->HasAttrib("name")) List(*child);
  }
}

void ZXFDFFieldCollection::List(ZXMLElement& element) {
  const Chaine name = element.Attrib("name").AsChaine();
  auto field = std::make_unique<Field>(element, depth_ + 1);
  if (std::unique_ptr<Field>* earlier = fields_.Find(name)) {
    std::deque<ZXMLElement*>& all = unlisted_[name];
    if (all.empty()) all.push_back(&(*earlier)->Element());
    all.push_back(&element);
    *earlier = std::move(field);
  } else {
    if (std::deque<ZXMLElement*>* all = unlisted_.Find(name)) all->push_back(&element);
    fields_.Set(name, std::move(field));
  }
}

ZXFDFField& ZXFDFFieldCollection::operator[](unsigned int index) { return *fields_.At(index).second; }

const ZXFDFField& ZXFDFFieldCollection::operator[](unsigned int index) const { return *fields_.At(index).second; }

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

// Tries the whole name, and then each part before a dot with the rest below it,
// the shortest first. The number of lookups is bounded: names may be hostile.
ZXFDFField* ZXFDFFieldCollection::Find(std::string_view name, int* lookups) const {
  if (--*lookups < 0) return nullptr;
  if (const std::unique_ptr<Field>* field = fields_.Find(name)) return field->get();
  for (size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.', dot + 1)) {
    if (--*lookups < 0 || fields_.Size() == 0) return nullptr;
    const std::unique_ptr<Field>* left = fields_.Find(name.substr(0, dot));
    if (left == nullptr) continue;
    if (Field* field = (*left)->Find(name.substr(dot + 1), lookups)) return field;
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
    if (!into->fields_.Exist(part)) {
      ZXMLElement& element = into->element_.Add("field");
      element.SetAttrib("name", part);
      into->List(element);
    }
    Field* field = into->fields_.Find(part)->get();
    if (dot == std::string_view::npos) return *field;
    into = field;
    rest.remove_prefix(dot + 1);
  }
}

bool ZXFDFFieldCollection::RemoveField(const Chaine& name) {
  const std::unique_ptr<Field>* field = fields_.Find(name);
  std::deque<ZXMLElement*>* all = unlisted_.Find(name);
  ZXMLElement* first = nullptr;
  if (all != nullptr) {
    first = all->front();
    all->pop_front();
    if (all->empty()) unlisted_.Remove(name);
  } else if (field != nullptr) {
    first = &(*field)->Element();
  }
  // The field goes before its element, which a field of the same name may outlive.
  fields_.Remove(name);
  if (first != nullptr) element_.Remove(*first);
  return first != nullptr;
}

PUniqueT<Chaine> ZXFDFFieldCollection::FieldNames() const {
  PUniqueT<Chaine> names;
  ListNames(Chaine(), &names);
  return names;
}

void ZXFDFFieldCollection::ListNames(const Chaine& prefix, PUniqueT<Chaine>* names) const {
  for (const auto& [name, field] : fields_) {
    if (prefix.size() + name.size() > kMaxFullName) continue;
    const Chaine full = prefix + name;
    names->Add(full);
    if (field->Size() != 0) field->ListNames(full + '.', names);
  }
}

void ZXFDFFieldCollection::Free() {
  fields_.Clear();
  unlisted_.Clear();
  element_.RemoveAll("field");
}

}  // namespace zforms
