#pragma once

#include <string>

#include "zforms/platform/base/export.h"

namespace zforms {

// A text that nobody can guess: 128 random bits of the system, as 32 lower-case hexadecimal digits. Any thread.
ZFORMS_API std::string RandomToken();

}  // namespace zforms
