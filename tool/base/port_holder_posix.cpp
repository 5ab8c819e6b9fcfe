#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <system_error>
#include <vector>

#include "tool/base/console.h"
#include "tool/base/port_holder.h"
#include "zforms/platform/base/ascii.h"

namespace zforms::tool {
namespace {

namespace fs = std::filesystem;

// The sockets that listen on the port, in the format of the links in /proc/PID/fd; see proc(5).
std::set<std::string> ListeningSockets(uint16_t port) {
  constexpr size_t kLocalAddress = 1;
  constexpr size_t kState = 3;
  constexpr size_t kInode = 9;
  std::ostringstream wanted;
  wanted << ':' << std::uppercase << std::hex;
  wanted.fill('0');
  wanted.width(4);
  wanted << port;
  std::set<std::string> sockets;
  for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream lines(table);
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      const std::vector<std::string> columns{std::istream_iterator<std::string>(words), {}};
      if (columns.size() <= kInode || columns[kState] != "0A") continue;
      if (columns[kLocalAddress].ends_with(wanted.str())) sockets.insert("socket:[" + columns[kInode] + "]");
    }
  }
  return sockets;
}

bool HoldsOneOf(const fs::path& process, const std::set<std::string>& sockets) {
  std::error_code error;
  for (fs::directory_iterator at(process / "fd", error), end; !error && at != end; at.increment(error)) {
    std::error_code ignored;
    if (sockets.contains(fs::read_symlink(at->path(), ignored).string())) return true;
  }
  return false;
}

}  // namespace

std::string PortHolder(uint16_t port) {
  const std::set<std::string> sockets = ListeningSockets(port);
  std::error_code error;
  for (fs::directory_iterator at("/proc", error), end; !sockets.empty() && !error && at != end; at.increment(error)) {
    const std::string number = at->path().filename().string();
    const bool is_process = std::all_of(number.begin(), number.end(), IsDigitASCII);
    if (!is_process || !HoldsOneOf(at->path(), sockets)) continue;
    std::ifstream file(at->path() / "comm");
    std::string name;
    std::getline(file, name);
    return "\"" + Printable(name) + "\" (process " + number + ")";
  }
  return {};
}

bool IsPortInUse(int error) { return error == EADDRINUSE; }

}  // namespace zforms::tool
