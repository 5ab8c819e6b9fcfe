#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZXFDFField;
class ZXMLElement;

// ZXFDFFieldCollection lists the "field" elements that stand in one element: in
// "fields", or in another "field". It is a view: names and values live in the
// XML tree, which outlives it. It owns its fields; a reference to one holds
// until the field is removed, or its document read again or assigned to.
// One document is used by one thread at a time.
//
// Names are exact bytes, letter case included. A "field" without "name" is not
// listed; of several with the same name the last is. A full name has the names
// of the fields that lead to it, joined by dots. A dotted name is looked for as
// a name of its own first, and then taken apart.
class ZFORMS_API ZXFDFFieldCollection {
 public:
  using Field = ZXFDFField;

  // How deep AddField nests; what follows then becomes one name, dots included.
  static constexpr unsigned kMaxDepth = 450;
  // Full names longer than this are not listed by FieldNames, nor names beyond this sum.
  static constexpr size_t kMaxFullName = 4096;
  static constexpr size_t kMaxAllNames = size_t{64} << 20;

  // `depth` is the number of fields that lead to `element`.
  explicit ZXFDFFieldCollection(ZXMLElement& element, unsigned depth = 0);
  ZXFDFFieldCollection(const ZXFDFFieldCollection&) = delete;
  ZXFDFFieldCollection& operator=(const ZXFDFFieldCollection&) = delete;
  virtual ~ZXFDFFieldCollection();

  // How many fields stand at this level.
  unsigned int Size() const;
  // Finds or creates, as AddField does.
  Field& operator[](const Chaine& name) { return AddField(name); }
  Field& operator[](const char* name) { return AddField(Chaine(name)); }
  // The field, or an empty field without name when there is none.
  const Field& operator[](const Chaine& name) const;
  const Field& operator[](const char* name) const { return (*this)[Chaine(name)]; }
  // The field at that position in byte order of the names. Precondition: index < Size().
  Field& operator[](unsigned int index);
  const Field& operator[](unsigned int index) const;
  Field& operator[](int index) { return (*this)[static_cast<unsigned int>(index)]; }
  const Field& operator[](int index) const { return (*this)[static_cast<unsigned int>(index)]; }

  // The field of the full name, created after the others, with all that lead to
  // it, when there is none.
  Field& AddField(const Chaine& name);
  bool Exist(const Chaine& name) const { return Get(name) != nullptr; }
  // The field of the full name, or null.
  Field* Get(const Chaine& name);
  const Field* Get(const Chaine& name) const;
  // Removes the field of that name at this level, and from the XML the first
  // "field" of that name. Does not take dotted names apart. False when there was
  // none.
  bool RemoveField(const Chaine& name);
  // The full names of all fields below, each field before those in it.
  PUniqueT<Chaine> FieldNames() const;
  // Calls `visit` with each field below that has a value, and its full name, in that order
  // and without looking for any of them, until it returns false. This is the way to store
  // a document: fields that only lead to others cost nothing. Names longer than
  // kMaxFullName are left out. False when the visit ended it.
  using ValueVisit = std::function<bool(std::string_view full_name, const Field& field)>;
  bool VisitValues(const ValueVisit& visit) const;
  // Removes every "field", named or not, from the XML.
  void Free();

 protected:
  ZXMLElement& Element() const { return element_; }
  // Lists anew what stands in the element.
  void Relist();

 private:
  static constexpr int kLookups = 2048;

  struct Listing;

  Field* FindHere(std::string_view name) const;
  Field* Find(std::string_view name, int* lookups) const;
  bool ListNames(const Chaine& prefix, size_t* room, PUniqueT<Chaine>* names) const;
  bool VisitValuesBelow(std::string* name, const ValueVisit& visit) const;
  void List(ZXMLElement& element);

  ZXMLElement& element_;
  unsigned depth_;
  std::unique_ptr<Listing> listing_;  // null while no field stands here, as in most
};

}  // namespace zforms
