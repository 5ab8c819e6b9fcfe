#pragma once

#include <cstdint>
#include <string>

namespace zforms::tool {

// The program that listens on a port of this machine: "\"python3\" (process 1234)". Empty when no program
// listens, or when the system does not name it to this user.
std::string PortHolder(uint16_t port);

// True for the system's error of a port that another program has.
bool IsPortInUse(int error);

}  // namespace zforms::tool
