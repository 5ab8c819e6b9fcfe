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

// ZField is one field of a set of the host's data: a name, and a buffer for its value, which belongs to the field or to
// the host. Created and owned by a ZFieldSet.
class ZFORMS_API ZField {
 public:
  // A field that stores its value itself, with the type of `value`.
  ZField(const Chaine& name, const ZVariant& value);
  // A field over a buffer of the host.
  ZField(const Chaine& name, const ZVariantBuffer& buffer) : name_(name), buffer_(buffer) {}
  ZField(const ZField&) = delete;
  ZField& operator=(const ZField&) = delete;

  const Chaine& Name() const { return name_; }
  ZVariantBuffer::Type Type() const { return buffer_.Kind(); }
  // The size of the buffer in bytes.
  size_t Size() const { return buffer_.Size(); }
  // The buffer of the value, valid as long as the set. Writing there changes the data, even through a const field.
  const ZVariantBuffer& Buffer() const { return buffer_; }

  ZVariant Value() const { return buffer_.Read(); }
  operator ZVariant() const { return Value(); }
  // False when the value does not fit the buffer (see ZVariantBuffer::Write).
  bool Set(const ZVariant& value) const { return buffer_.Write(value); }

 private:
  Chaine name_;
  mutable std::variant<Chaine, int64_t, double, bool> own_;
  ZVariantBuffer buffer_;
};

// ZFieldSet is a set of named fields of the host's data, such as a record of its database. A lookup tries the exact
// name first, then ignores letter case. Fields keep their address until the set is destroyed. Used by one thread at a
// time.
class ZFORMS_API ZFieldSet {
 public:
  ZFieldSet() = default;
  ZFieldSet(const ZFieldSet&) = delete;
  ZFieldSet& operator=(const ZFieldSet&) = delete;
  ZFieldSet(ZFieldSet&&) = default;
  ZFieldSet& operator=(ZFieldSet&&) = default;

  // Adds a field that stores its value itself; an empty variant becomes an empty text. If a field of exactly that name
  // exists, its value is set instead.
  ZField& Add(const Chaine& name, const ZVariant& value = ZVariant());
  // Adds a field over a buffer of the host, which must outlive the set. It hides an earlier field of exactly that name.
  ZField& Bind(const Chaine& name, const ZVariantBuffer& buffer);

  bool Exist(const ZFieldIdent& ident) const { return Find(ident) != nullptr; }
  // Null when there is no such field.
  const ZField* Find(const ZFieldIdent& ident) const;
  // Gives a field without name and value when there is no such field.
  const ZField& operator[](const Chaine& name) const;

  // The fields, in the order in which they were added.
  size_t Size() const { return fields_.size(); }
  // Precondition: index < Size().
  const ZField& At(size_t index) const { return fields_[index]; }

 private:
  ZField& Index(ZField& field);

  std::deque<ZField> fields_;
  FDictionnary<ZField*> by_name_;
  FDictionnaryNoCase<ZField*> by_any_case_;  // the first field of each name
};

}  // namespace zforms
