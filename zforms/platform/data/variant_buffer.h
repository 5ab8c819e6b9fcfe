#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZVariant;

// ZVariantBuffer describes a value in the host's memory: its address, type and size. It owns nothing: the memory must
// outlive all uses, and is used by one thread at a time. No alignment is needed.
class ZFORMS_API ZVariantBuffer {
 public:
  enum class Type : uint8_t {
    eNone,    // no memory
    eChars,   // text up to the first zero byte, or the whole buffer without one
    eChaine,  // a Chaine, which grows as needed
    eInt,     // signed, of 1, 2, 4 or 8 bytes
    eUInt,    // unsigned, of 1, 2, 4 or 8 bytes
    eReal,    // floating point, of 4 or 8 bytes
    eBool,    // true unless 0, of 1, 2, 4 or 8 bytes
  };

  ZVariantBuffer() = default;
  // A null address, or a size that the type does not allow, gives eNone.
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
  // The size in bytes.
  size_t Size() const { return size_; }

  // The current value; empty for eNone. An unsigned number of 2^63 or more is returned as its decimal text.
  ZVariant Read() const;
  // Stores the value. False when it does not fit: a text that is too long is cut at a character of UTF-8, always with
  // room for a zero byte; text that is not a number and a number out of range change nothing. An empty variant and
  // blank text store 0. As a truth value, 0 and the texts "false", "off", "no", "non" and "0", in any case, are false;
  // everything else is true.
  bool Write(const ZVariant& value) const;

  // True for the same address, type and size.
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
