#include "zforms/platform/host/user_interface.h"

namespace zforms {

ZUserInterface::~ZUserInterface() = default;

}  // namespace zforms
