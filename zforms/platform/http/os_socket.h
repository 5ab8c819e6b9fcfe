#pragma once

#include <cstdint>

namespace zforms {

// What the networking library leaves to the system's own calls; implemented by
// os_socket_posix.cpp and os_socket_win32.cpp. Sockets are native handles.

// Makes a listening socket's address this process's own: no other socket may be
// bound to it while it listens, and a program that has just ended does not keep
// it. Called before binding. False when the system refuses.
bool MakeAddressExclusive(uintptr_t socket);

// Keeps the socket from programs that this one starts.
void KeepFromChildren(uintptr_t socket);

}  // namespace zforms
