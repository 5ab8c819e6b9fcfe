#pragma once

#include <cstdint>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// The texts that the form server shows to the user, by number; in French, UTF-8.
enum class eServerMessage : uint16_t {
  eStartFailed = 900,   // "%d" is replaced by the system's error
  eReaderMissing = 911  // a reader of version 8 is needed
};

// The text of a message; "%d" is replaced by the value.
Chaine ServerMessage(eServerMessage message, int value = 0);

}  // namespace zforms
