#pragma once

#include <cstdint>
#include <string>

namespace zforms::tool {

// The program that listens on a port of this machine: "\"python3\" (process 1234)". Empty when there is none, or the
// system does not tell this user.
std::string PortHolder(uint16_t port);

}  // namespace zforms::tool
