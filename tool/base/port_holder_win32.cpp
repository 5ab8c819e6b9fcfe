#include "tool/base/port_holder.h"

// <winsock2.h> must be included before <windows.h>.
#include <winsock2.h>
#include <ws2tcpip.h>
// <iphlpapi.h> must be included after <winsock2.h>.
#include <iphlpapi.h>

#include <filesystem>
#include <iterator>
#include <vector>

namespace zforms::tool {
namespace {

std::string NameOf(DWORD process) {
  const HANDLE handle = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process);
  if (handle == nullptr) return {};
  wchar_t path[4096];
  DWORD size = static_cast<DWORD>(std::size(path));
  const bool known = ::QueryFullProcessImageNameW(handle, 0, path, &size) != FALSE;
  ::CloseHandle(handle);
  if (!known) return {};
  const std::u8string name = std::filesystem::path(std::wstring(path, size)).filename().u8string();
  return {name.begin(), name.end()};
}

}  // namespace

std::string PortHolder(uint16_t port) {
  DWORD size = 0;
  ::GetExtendedTcpTable(nullptr, &size, FALSE, AF_INET, TCP_TABLE_OWNER_PID_LISTENER, 0);
  std::vector<char> bytes(size + sizeof(MIB_TCPTABLE_OWNER_PID));
  size = static_cast<DWORD>(bytes.size());
  const DWORD result = ::GetExtendedTcpTable(bytes.data(), &size, FALSE, AF_INET, TCP_TABLE_OWNER_PID_LISTENER, 0);
  if (result != NO_ERROR) return {};
  const auto* table = reinterpret_cast<const MIB_TCPTABLE_OWNER_PID*>(bytes.data());
  for (DWORD i = 0; i < table->dwNumEntries; i++) {
    const MIB_TCPROW_OWNER_PID& row = table->table[i];
    if (::ntohs(static_cast<u_short>(row.dwLocalPort)) != port) continue;
    const std::string name = NameOf(row.dwOwningPid);
    const std::string process = "process " + std::to_string(row.dwOwningPid);
    return name.empty() ? process : "\"" + name + "\" (" + process + ")";
  }
  return {};
}

// If another program has bound the port exclusively, the error is WSAEACCES.
bool IsPortInUse(int error) { return error == WSAEADDRINUSE || error == WSAEACCES; }

}  // namespace zforms::tool
