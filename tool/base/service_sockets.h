#pragma once

#include <cstdint>
#include <vector>

namespace zforms::tool {

// The listening sockets that a service manager opened for this process, passed as described in systemd.socket(5): file
// descriptors from 3 on. LISTEN_FDS is their number, and is used only when LISTEN_PID is this process. Empty on
// Windows. Call it once, before other threads are started: it removes the variables from the environment, so that
// programs started later do not use them.
std::vector<uintptr_t> TakeServiceSockets();

}  // namespace zforms::tool
