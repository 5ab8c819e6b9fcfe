#pragma once

#include <concepts>
#include <cstdint>
#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZAcroFormField;
class ZPDFNodeArray;

// The fields of one level of a form's tree: those of "/Fields", or the kids of a field (ISO 32000-1 12.7.3). It owns
// its fields; copies share them with it. The dictionaries belong to the document, which must outlive it. One thread at
// a time.
//
// Names are compared byte for byte. A dotted name is tried as a partial name first, and then split at its first period.
class ZFORMS_API ZAcroFormFieldCollection {
 public:
  using Field = ZAcroFormField;

  virtual ~ZAcroFormFieldCollection();
  // Sets or clears the read-only flag of every field below, as Field::SetReadOnly does.
  virtual void SetReadOnly(bool read_only);
  ZAcroFormFieldCollection(const ZAcroFormFieldCollection&);
  ZAcroFormFieldCollection& operator=(const ZAcroFormFieldCollection&);

  uint32_t Size() const;
  // The member at that index; null past the end.
  Field* GetAt(uint32_t index);
  const Field* GetAt(uint32_t index) const;
  template <std::integral Index>
  Field* operator[](Index index) {
    return GetAt(static_cast<uint32_t>(index));
  }
  template <std::integral Index>
  const Field* operator[](Index index) const {
    return GetAt(static_cast<uint32_t>(index));
  }

  // The member or descendant of that name, relative to this collection; null when there is none. If several members
  // have the same partial name, the last one is returned.
  Field* Get(const Chaine& name);
  const Field* Get(const Chaine& name) const;
  Field* Get(const char* name) { return Get(Chaine(name)); }
  const Field* Get(const char* name) const { return Get(Chaine(name)); }
  Field* operator[](const Chaine& name) { return Get(name); }
  const Field* operator[](const Chaine& name) const { return Get(name); }
  Field* operator[](const char* name) { return Get(name); }
  const Field* operator[](const char* name) const { return Get(name); }
  bool Exist(const Chaine& name) const { return Get(name) != nullptr; }
  // The partial names of the members that have one, in byte order.
  PUniqueT<Chaine> FieldNames() const;

 protected:
  friend class ZAcroForm;
  friend class FieldTreeBuilder;
  // An empty collection.
  ZAcroFormFieldCollection();
  // Builds the fields over the dictionaries of the array, without form infos. A null array gives an empty collection.
  explicit ZAcroFormFieldCollection(ZPDFNodeArray* array);

 private:
  struct Members;

  // Which of several members with the same name a lookup returns: the new one (kTake) or the earlier one (kKeep).
  enum class Naming : uint8_t { kTake, kKeep };

  // Adds the member; false when an earlier one has the same name.
  bool Append(std::unique_ptr<Field> field, Naming naming = Naming::kTake);

  // Null while there are no members.
  std::shared_ptr<Members> members_;
};

}  // namespace zforms
