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

// ZXFDFFieldCollection lists the "field" elements inside one element: inside "fields" or another "field". It is a view:
// names and values are stored in the XML tree, which must outlive it. It owns its fields; a reference to one is valid
// until the field is removed, or its document is read again or assigned to. One document is used by one thread at a
// time.
//
// Names are exact bytes, case-sensitive. A "field" without "name" is not listed; of several with the same name, only
// the last is listed. A full name consists of the names from the top field down, joined by dots. A dotted name is tried
// as one name first, and then split.
class ZFORMS_API ZXFDFFieldCollection {
 public:
  using Field = ZXFDFField;

  // The deepest nesting that AddField creates; the rest of the name becomes one name, dots included.
  static constexpr unsigned kMaxDepth = 450;
  // FieldNames leaves out full names longer than kMaxFullName, and stops when all names together exceed kMaxAllNames.
  static constexpr size_t kMaxFullName = 4096;
  static constexpr size_t kMaxAllNames = size_t{64} << 20;

  // `depth` is the number of fields above `element`.
  explicit ZXFDFFieldCollection(ZXMLElement& element, unsigned depth = 0);
  ZXFDFFieldCollection(const ZXFDFFieldCollection&) = delete;
  ZXFDFFieldCollection& operator=(const ZXFDFFieldCollection&) = delete;
  virtual ~ZXFDFFieldCollection();

  // The number of fields at this level.
  unsigned int Size() const;
  // Like AddField.
  Field& operator[](const Chaine& name) { return AddField(name); }
  Field& operator[](const char* name) { return AddField(Chaine(name)); }
  // The field, or an empty field without name when it does not exist.
  const Field& operator[](const Chaine& name) const;
  const Field& operator[](const char* name) const { return (*this)[Chaine(name)]; }
  // The field at that position in byte order of the names. Precondition: index < Size().
  Field& operator[](unsigned int index);
  const Field& operator[](unsigned int index) const;
  Field& operator[](int index) { return (*this)[static_cast<unsigned int>(index)]; }
  const Field& operator[](int index) const { return (*this)[static_cast<unsigned int>(index)]; }

  // The field of the full name. When it does not exist, it is appended, with the fields above it.
  Field& AddField(const Chaine& name);
  bool Exist(const Chaine& name) const { return Get(name) != nullptr; }
  // The field of the full name, or null.
  Field* Get(const Chaine& name);
  const Field* Get(const Chaine& name) const;
  // Removes the field of this name at this level, and the first element "field" of this name from the XML. Does not
  // split dotted names. False when there is no such field.
  bool RemoveField(const Chaine& name);
  // The full names of all fields below, parents before children.
  PUniqueT<Chaine> FieldNames() const;
  // Calls `visit` with every field below that has a value, and its full name, until it returns false. Looks up no
  // name, so this is the fast way to store a document. Names longer than kMaxFullName are left out. False when `visit`
  // returned false.
  using ValueVisit = std::function<bool(std::string_view full_name, const Field& field)>;
  bool VisitValues(const ValueVisit& visit) const;
  // Removes every "field", named or not, from the XML.
  void Free();

 protected:
  ZXMLElement& Element() const { return element_; }
  // Rebuilds the list from the element's contents.
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
  std::unique_ptr<Listing> listing_;  // null while there is no field, as in most fields
};

}  // namespace zforms
