#pragma once

#include <optional>

#include "zforms/pdf/object_identifier.h"

namespace zforms {

class ZPDFTokenizedString;

// The head of an indirect object, such as "12 0 obj" (ISO 32000-1 7.3.10).
struct ZPDFObjectHead {
  ZPDFObjectIdentifier id;
  // False when other characters directly follow "obj", as in "objx"; they are part of the head.
  bool is_sound = true;
};

// A higher number counts as damage, so that unused numbers always remain for new objects.
inline constexpr uint32_t kHighestObjectNumber = INT32_MAX;

// Whether an object in use may have this identifier. False for object 0, the head of the list of free objects; for a
// number above kHighestObjectNumber; and for a generation above 65535, the highest one (ISO 32000-1 7.5.4).
constexpr bool MayBeInUse(const ZPDFObjectIdentifier& id) {
  return id.Number() != 0 && id.Number() <= kHighestObjectNumber && id.Generation() <= UINT16_MAX;
}

// Removes the head of an object from the front of the text and returns it. When the text begins with something else,
// returns nothing, and has removed up to three tokens.
std::optional<ZPDFObjectHead> TakeObjectHead(ZPDFTokenizedString& text);

}  // namespace zforms
