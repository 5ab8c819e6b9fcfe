#include "zforms/platform/data/variant_buffer.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>
#include <vector>

#include "zforms/platform/base/ascii.h"
#include "zforms/platform/base/number.h"
#include "zforms/platform/data/variant.h"
#include "zforms/platform/text/characters.h"

namespace zforms {
namespace {

bool HasWidth(ZVariantBuffer::Type type, size_t size) {
  switch (type) {
    case ZVariantBuffer::Type::eNone: return false;
    case ZVariantBuffer::Type::eChars: return true;
    case ZVariantBuffer::Type::eChaine: return size == sizeof(Chaine);
    case ZVariantBuffer::Type::eReal: return size == 4 || size == 8;
    case ZVariantBuffer::Type::eInt:
    case ZVariantBuffer::Type::eUInt:
    case ZVariantBuffer::Type::eBool: break;
  }
  return size == 1 || size == 2 || size == 4 || size == 8;
}

template <class Number>
Number Load(const void* from) {
  Number number;
  std::memcpy(&number, from, sizeof(number));
  return number;
}

template <class Number>
bool Store(void* to, Number number) {
  std::memcpy(to, &number, sizeof(number));
  return true;
}

uint64_t LoadUnsigned(const void* from, size_t size) {
  switch (size) {
    case 1: return Load<uint8_t>(from);
    case 2: return Load<uint16_t>(from);
    case 4: return Load<uint32_t>(from);
    default: return Load<uint64_t>(from);
  }
}

int64_t LoadSigned(const void* from, size_t size) {
  switch (size) {
    case 1: return Load<int8_t>(from);
    case 2: return Load<int16_t>(from);
    case 4: return Load<int32_t>(from);
    default: return Load<int64_t>(from);
  }
}

bool StoreUnsigned(void* to, size_t size, uint64_t number) {
  switch (size) {
    case 1: return Store(to, static_cast<uint8_t>(number));
    case 2: return Store(to, static_cast<uint16_t>(number));
    case 4: return Store(to, static_cast<uint32_t>(number));
    default: return Store(to, number);
  }
}

bool StoreReal(void* to, size_t size, double number) {
  if (!std::isfinite(number)) return false;
  if (size == sizeof(double)) return Store(to, number);
  if (std::abs(number) > double{std::numeric_limits<float>::max()}) return false;
  return Store(to, static_cast<float>(number));
}

// The double with the same shortest decimal digits: 0.1, not 0.10000000149.
double Widened(float number) {
  if (!std::isfinite(number)) return double{number};
  char digits[64];
  const auto written = std::to_chars(digits, digits + sizeof(digits), number);
  double wide = 0;
  std::from_chars(digits, written.ptr, wide);
  return wide;
}

// The whole text as a number; blank text is 0.
template <class Number>
bool ParseWhole(std::string_view text, Number* number) {
  text = TrimBlanks(text);
  *number = 0;
  if (text.empty()) return true;
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  const auto read = std::from_chars(text.data(), text.data() + text.size(), *number);
  return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

// A whole number as sign and magnitude: covers signed and unsigned numbers of 64 bits.
struct Whole {
  bool negative = false;
  uint64_t magnitude = 0;
};

Whole WholeOf(int64_t number) {
  const auto bits = static_cast<uint64_t>(number);
  return number < 0 ? Whole{true, 0 - bits} : Whole{false, bits};
}

bool ReadWhole(const ZVariant& value, Whole* whole) {
  if (const bool* truth = value.Truth()) {
    *whole = {false, *truth ? 1u : 0u};
  } else if (const int64_t* integer = value.Integer()) {
    *whole = WholeOf(*integer);
  } else if (const double* real = value.Real()) {
    constexpr double kLimit = 9223372036854775808.0;  // 2^63
    if (!(*real >= -kLimit && *real < kLimit) || *real != std::trunc(*real)) return false;
    *whole = WholeOf(static_cast<int64_t>(*real));
  } else {
    const Chaine text = value.AsChaine();
    int64_t negative = 0;
    if (ParseWhole(text, &whole->magnitude)) return true;
    if (!ParseWhole(text, &negative)) return false;
    *whole = WholeOf(negative);
  }
  return true;
}

bool IsInRange(const Whole& whole, ZVariantBuffer::Type type, size_t size) {
  const uint64_t all = size == 8 ? UINT64_MAX : (uint64_t{1} << (size * 8)) - 1;
  if (type == ZVariantBuffer::Type::eUInt) return whole.magnitude <= all && (!whole.negative || whole.magnitude == 0);
  return whole.magnitude <= all / 2 + (whole.negative ? 1 : 0);
}

bool TruthOf(const ZVariant& value) {
  if (const bool* truth = value.Truth()) return *truth;
  if (const int64_t* integer = value.Integer()) return *integer != 0;
  if (const double* real = value.Real()) return *real != 0;
  const Chaine text = value.AsChaine();
  for (const std::string_view word : {"", "0", "false", "off", "no", "non"}) {
    if (SameIgnoringASCIICase(TrimBlanks(text), word)) return false;
  }
  return true;
}

}  // namespace

ZVariantBuffer::ZVariantBuffer(Type type, void* data, size_t size) {
  if (data == nullptr || !HasWidth(type, size)) return;
  data_ = data;
  size_ = size;
  type_ = type;
}

ZVariant ZVariantBuffer::Read() const {
  switch (type_) {
    case Type::eNone: break;
    case Type::eChars: {
      const std::string_view all(static_cast<const char*>(data_), size_);
      return ZVariant(all.substr(0, all.find('\0')));
    }
    case Type::eChaine: return ZVariant(*static_cast<const Chaine*>(data_));
    case Type::eInt: return ZVariant(LoadSigned(data_, size_));
    case Type::eUInt: {
      const uint64_t number = LoadUnsigned(data_, size_);
      if (number > uint64_t{INT64_MAX}) return ZVariant(FormatUInt(number));
      return ZVariant(static_cast<int64_t>(number));
    }
    case Type::eReal: return ZVariant(size_ == 4 ? Widened(Load<float>(data_)) : Load<double>(data_));
    case Type::eBool: return ZVariant(LoadUnsigned(data_, size_) != 0);
  }
  return ZVariant();
}

bool ZVariantBuffer::Write(const ZVariant& value) const {
  switch (type_) {
    case Type::eNone: return false;
    case Type::eChars: return WriteText(value.AsChaine());
    case Type::eChaine: *static_cast<Chaine*>(data_) = value.AsChaine(); return true;
    case Type::eBool: return StoreUnsigned(data_, size_, TruthOf(ZVariant(value)) ? 1 : 0);
    case Type::eInt:
    case Type::eUInt:
    case Type::eReal: break;
  }
  // An attached variant is read from its buffer first.
  return WriteNumber(ZVariant(value));
}

// The text ends at its first zero byte, because reading the buffer will stop there.
bool ZVariantBuffer::WriteText(const Chaine& text) const {
  const std::string_view whole = text.View().substr(0, text.View().find('\0'));
  if (size_ == 0) return whole.empty();
  const size_t length = SizeOfWholeCharacters(whole, size_ - 1);
  auto* to = static_cast<char*>(data_);
  std::memcpy(to, whole.data(), length);
  to[length] = '\0';
  return length == text.size();
}

bool ZVariantBuffer::WriteNumber(const ZVariant& value) const {
  if (type_ != Type::eReal) {
    Whole whole;
    if (!ReadWhole(value, &whole) || !IsInRange(whole, type_, size_)) return false;
    return StoreUnsigned(data_, size_, whole.negative ? 0 - whole.magnitude : whole.magnitude);
  }
  double real = 0;
  if (const double* number = value.Real()) {
    real = *number;
  } else if (const int64_t* integer = value.Integer()) {
    real = static_cast<double>(*integer);
  } else if (const bool* truth = value.Truth()) {
    real = *truth ? 1 : 0;
  } else if (!ParseWhole(value.AsChaine(), &real)) {
    return false;
  }
  return StoreReal(data_, size_, real);
}

}  // namespace zforms
