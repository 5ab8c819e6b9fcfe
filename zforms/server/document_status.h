#pragma once

#include <cstdint>

namespace zforms {

// ZDocument is a document of the host; the form server cares for its status alone.
class ZDocument {
 public:
  // How a form is shown: to be filled in and saved; to be read, with a button that
  // asks to modify it; to be read only. What is printed is served as read only.
  enum Status : uint8_t { eModify, eConsult, eReadOnly, ePrint };
};

}  // namespace zforms
