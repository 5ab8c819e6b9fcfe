#pragma once

#include <cstdint>
#include <string>

namespace zforms::tool {

// The program that listens on a port of this machine: "\"python3\" (process 1234)". Empty when no program listens, or
// when this user may not see which one does.
std::string PortHolder(uint16_t port);

// True when the system's error means that another program uses the port.
bool IsPortInUse(int error);

}  // namespace zforms::tool
