#include "platform/variant.h"

#include "platform/number.h"

namespace zforms {

Chaine ZVariant::AsChaine() const {
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
