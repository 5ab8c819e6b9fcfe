#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace zforms {
struct sHTTPRequestInfos;
}

namespace zforms::tool {

// The current time in UTC: "2025-01-31T12:00:00.000Z".
std::string TimeStamp();

// ServerLog writes one line to standard error for each event and each request, as text or as JSON. The line of a
// refused request has the reason, but never the values of its form. Any thread may use it.
class ServerLog {
 public:
  explicit ServerLog(bool json) : json_(json) {}

  void Request(const sHTTPRequestInfos& infos);
  void Event(std::string_view kind, std::string_view text);

 private:
  void Write(const std::string& line);

  bool json_;
  std::mutex mutex_;
};

}  // namespace zforms::tool
