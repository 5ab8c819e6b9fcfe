#pragma once

#include <cstdint>
#include <deque>
#include <string_view>
#include <variant>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/variant.h"
#include "zforms/platform/text/dictionary_no_case.h"

namespace zforms {

// ZFieldIdent identifies a field of a set by its name.
class ZFORMS_API ZFieldIdent {
 public:
  ZFieldIdent(const Chaine& name) : name_(name) {}
  ZFieldIdent(std::string_view name) : name_(name) {}
  ZFieldIdent(const char* name) : name_(name) {}

  const Chaine& Name() const { return name_; }

 private:
  Chaine name_;
};

// ZField is one field of a set of the host's data: a name, and a buffer where its
// value stands, the field's own or the host's. Made and owned by a ZFieldSet.
class ZFORMS_API ZField {
 public:
  // With a value of its own, of the type that the value has.
  ZField(const Chaine& name, const ZVariant& value);
  // Over a buffer of the host.
  ZField(const Chaine& name, const ZVariantBuffer& buffer) : name_(name), buffer_(buffer) {}
  ZField(const ZField&) = delete;
  ZField& operator=(const ZField&) = delete;

  const Chaine& Name() const { return name_; }
  ZVariantBuffer::Type Type() const { return buffer_.Kind(); }
  // Of the buffer, in bytes.
  size_t Size() const { return buffer_.Size(); }
  // Where the value stands, for as long as the set lives. Who writes there changes
  // the data, be the field const or not.
  const ZVariantBuffer& Buffer() const { return buffer_; }

  ZVariant Value() const { return buffer_.Read(); }
  operator ZVariant() const { return Value(); }
  // False when the buffer did not take the value whole (see ZVariantBuffer::Write).
  bool Set(const ZVariant& value) const { return buffer_.Write(value); }

 private:
  Chaine name_;
  mutable std::variant<Chaine, int64_t, double, bool> own_;
  ZVariantBuffer buffer_;
};

// ZFieldSet is a set of named fields of the host's data, such as a record of its
// database. A name is looked for as it is, then whatever its letter case. Fields
// stay where they are until the set ends. One thread at a time.
class ZFORMS_API ZFieldSet {
 public:
  ZFieldSet() = default;
  ZFieldSet(const ZFieldSet&) = delete;
  ZFieldSet& operator=(const ZFieldSet&) = delete;
  ZFieldSet(ZFieldSet&&) = default;
  ZFieldSet& operator=(ZFieldSet&&) = default;

  // Adds a field that keeps its value itself; nothing becomes a text. When there is
  // a field of exactly that name it takes the value and no other is added.
  ZField& Add(const Chaine& name, const ZVariant& value = ZVariant());
  // Adds a field over a buffer of the host, which outlives the set. A field of
  // exactly that name is found no more from then on.
  ZField& Bind(const Chaine& name, const ZVariantBuffer& buffer);

  bool Exist(const ZFieldIdent& ident) const { return Find(ident) != nullptr; }
  // Null when there is none.
  const ZField* Find(const ZFieldIdent& ident) const;
  // A field without name and value when there is none.
  const ZField& operator[](const Chaine& name) const;

  // In the order in which they were added.
  size_t Size() const { return fields_.size(); }
  // Precondition: index < Size().
  const ZField& At(size_t index) const { return fields_[index]; }

 private:
  ZField& Index(ZField& field);

  std::deque<ZField> fields_;
  FDictionnary<ZField*> by_name_;
  FDictionnaryNoCase<ZField*> by_any_case_;  // the first of each
};

}  // namespace zforms
