#pragma once

#include <cstdint>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// The time in the format of HTTP (RFC 9110 5.6.7): "Sun, 06 Nov 1994 08:49:37 GMT". `seconds` counts from the start of
// 1970 (UTC).
Chaine HTTPDate(int64_t seconds);
Chaine HTTPDateNow();

}  // namespace zforms
