#pragma once

#include <cstdint>
#include <string_view>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/base/number.h"

namespace zforms {

// CZORKey is the key of a folder of the host: 64 bits, written in decimal.
class ZFORMS_API CZORKey {
 public:
  CZORKey() = default;
  explicit CZORKey(uint64_t value) : value_(value) {}
  // Reads the digits up to the first other character; 0 when there are none.
  explicit CZORKey(std::string_view text) : value_(ParseUInt64(text)) {}

  uint64_t Value() const { return value_; }
  Chaine AsChaine() const { return FormatUInt(value_); }

  bool operator==(const CZORKey&) const = default;

 private:
  uint64_t value_ = 0;
};

}  // namespace zforms
