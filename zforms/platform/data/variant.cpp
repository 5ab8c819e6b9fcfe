#include "zforms/platform/data/variant.h"

#include "zforms/platform/base/number.h"

namespace zforms {

bool ZVariant::Assign(const ZVariant& value) {
  if (this == &value) return true;
  if (const auto* buffer = std::get_if<ZVariantBuffer>(&held_)) return buffer->Write(value);
  held_ = ZVariant(value).held_;
  return true;
}

void ZVariant::Attach(const ZVariantBuffer& buffer) {
  if (buffer.IsNone()) {
    Detach();
  } else {
    held_ = buffer;
  }
}

void ZVariant::Detach() {
  if (IsAttached()) held_ = Buffer().Read().held_;
}

ZVariant::Type ZVariant::AttachedKind() const { return Buffer().Read().Kind(); }

bool ZVariant::IsAttachedEmpty() const { return Buffer().Read().IsEmpty(); }

Chaine ZVariant::AsChaine() const {
  if (IsAttached()) return Buffer().Read().AsChaine();
  switch (Kind()) {
    case Type::eEmpty: break;
    case Type::eChaine: return *Text();
    case Type::eInt64: return FormatInt(std::get<int64_t>(held_));
    case Type::eDouble: return FormatDouble(std::get<double>(held_));
    case Type::eBool: return Chaine(std::get<bool>(held_) ? "true" : "false");
  }
  return Chaine();
}

}  // namespace zforms
