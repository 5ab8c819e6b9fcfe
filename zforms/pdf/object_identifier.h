#pragma once

#include <compare>
#include <cstdint>

namespace zforms {

// The number and generation of an indirect object (ISO 32000-1 7.3.10): the key of every map of objects. Ordered by
// number, then by generation.
class ZPDFObjectIdentifier {
 public:
  constexpr ZPDFObjectIdentifier() = default;
  constexpr ZPDFObjectIdentifier(uint32_t number, uint32_t generation) : number_(number), generation_(generation) {}

  constexpr uint32_t Number() const { return number_; }
  constexpr uint32_t Generation() const { return generation_; }
  constexpr void Set(uint32_t number, uint32_t generation) {
    number_ = number;
    generation_ = generation;
  }
  constexpr void SetNumber(uint32_t number) { number_ = number; }
  constexpr void SetGeneration(uint32_t generation) { generation_ = generation; }

  friend constexpr auto operator<=>(const ZPDFObjectIdentifier&, const ZPDFObjectIdentifier&) = default;

 private:
  uint32_t number_ = 0;
  uint32_t generation_ = 0;
};

}  // namespace zforms
