#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <variant>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/variant_buffer.h"

namespace zforms {

// ZVariant is a tagged value: nothing, a text, a whole number, a floating-point
// number or a truth value. Copies share the bytes of a text.
//
// A variant may be attached to a buffer of the host: then what stands there is its
// value, and assigning to it writes there. The attachment stays with the variant
// that was attached; a copy has the value alone, and so has what is moved to.
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

  // As assignment; false when the buffer that it is attached to did not take the
  // value whole (see ZVariantBuffer::Write).
  bool Assign(const ZVariant& value);

  // Shares the buffer from now on, without changing what stands there; the buffer
  // outlives the attachment. eNone detaches.
  void Attach(const ZVariantBuffer& buffer);
  // Keeps the value and leaves the buffer.
  void Detach();
  bool IsAttached() const { return std::holds_alternative<ZVariantBuffer>(held_); }
  // The buffer that it is attached to; eNone when it is not.
  ZVariantBuffer Buffer() const { return IsAttached() ? std::get<ZVariantBuffer>(held_) : ZVariantBuffer(); }

  Type Kind() const { return IsAttached() ? AttachedKind() : static_cast<Type>(held_.index()); }
  // True when it holds nothing, or a text of no bytes.
  bool IsEmpty() const {
    const Chaine* text = Text();
    return text != nullptr ? text->IsEmpty() : held_.index() == 0 || (IsAttached() && IsAttachedEmpty());
  }
  // The text held, or null when it holds another kind or is attached.
  const Chaine* Text() const { return std::get_if<Chaine>(&held_); }

  // As text: empty for nothing, decimal digits without an exponent for numbers
  // (the shortest that read back equal), "true" or "false".
  Chaine AsChaine() const;
  // A whole number or a floating-point number as it is held; null for other kinds.
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
