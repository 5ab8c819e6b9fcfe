#pragma once

#include <cstdint>

namespace zforms {

// ZDocument is a document of the host; the form server needs only its status.
class ZDocument {
 public:
  // How a form is shown: for filling in and saving; for reading, with a button to modify it; read-only. A form to be
  // printed is served read-only.
  enum Status : uint8_t { eModify, eConsult, eReadOnly, ePrint };
};

}  // namespace zforms
