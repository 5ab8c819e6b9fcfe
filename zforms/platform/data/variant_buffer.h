#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZVariant;

// ZVariantBuffer says where in the host's memory a value stands, of which type
// and size it is. It owns nothing: the memory outlives whatever uses it, and
// belongs to one thread at a time. No alignment is needed.
class ZFORMS_API ZVariantBuffer {
 public:
  enum class Type : uint8_t {
    eNone,    // no place at all
    eChars,   // text up to the first zero byte, or the whole buffer without one
    eChaine,  // a Chaine, which grows as needed
    eInt,     // signed, of 1, 2, 4 or 8 bytes
    eUInt,    // unsigned, of 1, 2, 4 or 8 bytes
    eReal,    // floating point, of 4 or 8 bytes
    eBool,    // true unless 0, of 1, 2, 4 or 8 bytes
  };

  ZVariantBuffer() = default;
  // A null place, or a size that the type does not have, gives eNone.
  ZVariantBuffer(Type type, void* data, size_t size);

  static ZVariantBuffer Chars(char* text, size_t size) { return {Type::eChars, text, size}; }
  static ZVariantBuffer Over(Chaine* text) { return {Type::eChaine, text, sizeof(Chaine)}; }
  template <class Number>
  requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, char>) static ZVariantBuffer Over(Number* number) {
    return {TypeOf<Number>(), number, sizeof(Number)};
  }

  Type Kind() const { return type_; }
  bool IsNone() const { return type_ == Type::eNone; }
  void* Data() const { return data_; }
  // In bytes.
  size_t Size() const { return size_; }

  // What stands there now; empty for eNone. An unsigned number too large for 63
  // bits comes as its decimal text.
  ZVariant Read() const;
  // Stores the value. False when it does not fit whole: a text too long for its
  // buffer is cut after a whole character of UTF-8, always leaving room for a zero
  // byte, and what is no number or lies out of range changes nothing. Nothing and
  // blank text are 0. As a truth value, 0 and the texts "false", "off", "no",
  // "non" and "0", in any case, are false, all else is true.
  bool Write(const ZVariant& value) const;

  // The same place, taken as the same type.
  bool operator==(const ZVariantBuffer&) const = default;

 private:
  template <class Number>
  static constexpr Type TypeOf() {
    if (std::is_same_v<Number, bool>) return Type::eBool;
    if (std::is_floating_point_v<Number>) return Type::eReal;
    return std::is_signed_v<Number> ? Type::eInt : Type::eUInt;
  }
  bool WriteText(const Chaine& text) const;
  bool WriteNumber(const ZVariant& value) const;

  void* data_ = nullptr;
  size_t size_ = 0;
  Type type_ = Type::eNone;
};

}  // namespace zforms
