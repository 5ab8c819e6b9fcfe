#pragma once

#include <cstdint>

namespace zforms {

// Which encrypted documents are opened.
enum class ZPDFEncryptions : uint8_t {
  kRC4Only,  // "/V" 1 and 2, by the user password
  kAll,      // also crypt filters and AES ("/V" 4 and 5, revisions 4 to 6); the owner password opens a document too
};

}  // namespace zforms
