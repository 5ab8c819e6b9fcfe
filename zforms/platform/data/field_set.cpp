#include "zforms/platform/data/field_set.h"

namespace zforms {

ZField::ZField(const Chaine& name, const ZVariant& value) : name_(name) {
  switch (value.Kind()) {
    case ZVariant::Type::eInt64: buffer_ = ZVariantBuffer::Over(&own_.emplace<int64_t>()); break;
    case ZVariant::Type::eDouble: buffer_ = ZVariantBuffer::Over(&own_.emplace<double>()); break;
    case ZVariant::Type::eBool: buffer_ = ZVariantBuffer::Over(&own_.emplace<bool>()); break;
    case ZVariant::Type::eEmpty:
    case ZVariant::Type::eChaine: buffer_ = ZVariantBuffer::Over(&own_.emplace<Chaine>()); break;
  }
  Set(value);
}

ZField& ZFieldSet::Add(const Chaine& name, const ZVariant& value) {
  if (ZField* const* field = by_name_.Find(name)) {
    (*field)->Set(value);
    return **field;
  }
  return Index(fields_.emplace_back(name, value));
}

ZField& ZFieldSet::Bind(const Chaine& name, const ZVariantBuffer& buffer) {
  return Index(fields_.emplace_back(name, buffer));
}

ZField& ZFieldSet::Index(ZField& field) {
  ZField* const* former = by_name_.Find(field.Name());
  ZField* const* any_case = by_any_case_.Find(field.Name());
  if (any_case == nullptr || (former != nullptr && *any_case == *former)) by_any_case_.Set(field.Name(), &field);
  by_name_.Set(field.Name(), &field);
  return field;
}

const ZField* ZFieldSet::Find(const ZFieldIdent& ident) const {
  if (ZField* const* field = by_name_.Find(ident.Name())) return *field;
  ZField* const* field = by_any_case_.Find(ident.Name());
  return field == nullptr ? nullptr : *field;
}

const ZField& ZFieldSet::operator[](const Chaine& name) const {
  static const ZField none{Chaine(), ZVariantBuffer()};
  const ZField* field = Find(name);
  return field == nullptr ? none : *field;
}

}  // namespace zforms
