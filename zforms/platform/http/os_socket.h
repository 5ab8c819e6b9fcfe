#pragma once

#include <cstdint>

namespace zforms {

// System calls that the networking library does not cover; implemented by os_socket_posix.cpp and os_socket_win32.cpp.
// Sockets are native handles.

// Makes the address of a listening socket exclusive to this process: no other socket can be bound to it while it
// listens. The address of a program that has just ended can be used at once. Call it before binding. False when the
// system refuses.
bool MakeAddressExclusive(uintptr_t socket);

// True for a stream socket that listens already.
bool IsListening(uintptr_t socket);

// 4 or 6 for a socket that is bound to an address of IPv4 or IPv6, 0 for others.
int IPVersionOf(uintptr_t socket);

// Prevents programs that this process starts from inheriting the socket.
void KeepFromChildren(uintptr_t socket);

}  // namespace zforms
