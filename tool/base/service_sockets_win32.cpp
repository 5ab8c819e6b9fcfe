#include "tool/base/service_sockets.h"

namespace zforms::tool {

std::vector<uintptr_t> TakeServiceSockets() { return {}; }

}  // namespace zforms::tool
