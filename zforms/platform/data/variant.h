#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <variant>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/variant_buffer.h"

namespace zforms {

// ZVariant is a tagged value: empty, a text, a whole number, a floating-point number or a truth value. Copies share the
// bytes of a text.
//
// A variant may be attached to a buffer of the host: then reading it reads the buffer, and assigning to it writes the
// buffer. Copying or moving the variant copies the value only, not the attachment.
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
  ZVariant(const ZVariant& other) : held_(other.held_) {
    if (IsAttached()) Detach();
  }
  ZVariant(ZVariant&& other) noexcept : held_(std::move(other.held_)) {
    if (IsAttached()) Detach();
  }
  ZVariant& operator=(const ZVariant& other) {
    if (IsAttached() || other.IsAttached()) {
      Assign(other);
    } else {
      held_ = other.held_;
    }
    return *this;
  }
  ZVariant& operator=(ZVariant&& other) noexcept {
    if (IsAttached() || other.IsAttached()) {
      Assign(other);
    } else {
      held_ = std::move(other.held_);
    }
    return *this;
  }
  ~ZVariant() = default;

  // Assigns the value. False when the variant is attached to a buffer that the value does not fit (see
  // ZVariantBuffer::Write).
  bool Assign(const ZVariant& value);

  // Attaches the variant to the buffer without changing its contents; the buffer must outlive the attachment. eNone
  // detaches.
  void Attach(const ZVariantBuffer& buffer);
  // Detaches the variant; it keeps the value.
  void Detach();
  bool IsAttached() const { return std::holds_alternative<ZVariantBuffer>(held_); }
  // The buffer that the variant is attached to; eNone when it is not attached.
  ZVariantBuffer Buffer() const { return IsAttached() ? std::get<ZVariantBuffer>(held_) : ZVariantBuffer(); }

  Type Kind() const { return IsAttached() ? AttachedKind() : static_cast<Type>(held_.index()); }
  // True for an empty variant and for a text of no bytes.
  bool IsEmpty() const {
    const Chaine* text = Text();
    return text != nullptr ? text->IsEmpty() : held_.index() == 0 || (IsAttached() && IsAttachedEmpty());
  }
  // The text, or null when the variant has another kind or is attached.
  const Chaine* Text() const { return std::get_if<Chaine>(&held_); }

  // The value as text: empty for an empty variant; decimal digits without an exponent for numbers (the shortest that
  // read back equal); "true" or "false".
  Chaine AsChaine() const;
  // The whole number or the floating-point number; null for other kinds.
  const int64_t* Integer() const { return std::get_if<int64_t>(&held_); }
  const double* Real() const { return std::get_if<double>(&held_); }
  const bool* Truth() const { return std::get_if<bool>(&held_); }

  // Same kind and same value.
  friend bool operator==(const ZVariant& a, const ZVariant& b) {
    return a.IsAttached() || b.IsAttached() ? ZVariant(a).held_ == ZVariant(b).held_ : a.held_ == b.held_;
  }

 private:
  using Held = std::variant<std::monostate, Chaine, int64_t, double, bool, ZVariantBuffer>;

  Type AttachedKind() const;
  bool IsAttachedEmpty() const;

  Held held_;
};

}  // namespace zforms
