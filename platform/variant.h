#pragma once

#include <cstdint>
#include <string_view>
#include <variant>

#include "platform/chaine.h"
#include "platform/export.h"

namespace zforms {

// ZVariant is a tagged value: nothing, a text, a whole number, a floating-point
// number or a truth value. Copies share the bytes of a text.
class ZFORMS_API ZVariant {
 public:
  enum class Type { eEmpty, eChaine, eInt64, eDouble, eBool };

  ZVariant() = default;
  ZVariant(const Chaine& text) : held_(text) {}
  ZVariant(Chaine&& text) : held_(std::move(text)) {}
  ZVariant(std::string_view text) : held_(Chaine(text)) {}
  ZVariant(const std::string& text) : held_(Chaine(text)) {}
  ZVariant(const char* text) : held_(Chaine(text)) {}
  ZVariant(int32_t number) : held_(int64_t{number}) {}
  ZVariant(uint32_t number) : held_(int64_t{number}) {}
  ZVariant(int64_t number) : held_(number) {}
  ZVariant(double number) : held_(number) {}
  ZVariant(bool truth) : held_(truth) {}

  Type Kind() const { return static_cast<Type>(held_.index()); }
  // True when it holds nothing, or a text of no bytes.
  bool IsEmpty() const {
    const Chaine* text = Text();
    return text != nullptr ? text->IsEmpty() : Kind() == Type::eEmpty;
  }
  // The text held, or null when it holds another kind.
  const Chaine* Text() const { return std::get_if<Chaine>(&held_); }

  // As text: empty for nothing, decimal digits without an exponent for numbers
  // (the shortest that read back equal), "true" or "false".
  Chaine AsChaine() const;

  // Same kind and same value.
  friend bool operator==(const ZVariant& a, const ZVariant& b) { return a.held_ == b.held_; }

 private:
  std::variant<std::monostate, Chaine, int64_t, double, bool> held_;
};

}  // namespace zforms
