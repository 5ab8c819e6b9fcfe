#pragma once

#include <optional>

#include "zforms/pdf/object_identifier.h"

namespace zforms {

class ZPDFTokenizedString;

// The head of an indirect object, such as "12 0 obj" (ISO 32000-1 7.3.10).
struct ZPDFObjectHead {
  ZPDFObjectIdentifier id;
  // False when more characters follow "obj" without a blank or delimiter between, as in "objx"; they are taken too.
  bool is_sound = true;
};

// Higher numbers are taken for damage, so that there are always numbers for new objects.
inline constexpr uint32_t kHighestObjectNumber = INT32_MAX;

// False for object 0, which heads the list of free objects, for numbers that are too high and for generations above
// 65535, the last one (ISO 32000-1 7.5.4).
constexpr bool MayBeInUse(const ZPDFObjectIdentifier& id) {
  return id.Number() != 0 && id.Number() <= kHighestObjectNumber && id.Generation() <= UINT16_MAX;
}

// Takes the head of an object off the front of the text. Nothing when the text begins with something else; up to three
// tokens are then taken.
std::optional<ZPDFObjectHead> TakeObjectHead(ZPDFTokenizedString& text);

}  // namespace zforms
