#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace zforms {
struct sHTTPRequestInfos;
}

namespace zforms::tool {

// The time now in UTC: "2025-01-31T12:00:00.000Z".
std::string TimeStamp();

// ServerLog writes one line for each request, with the reason when it was refused and
// without the values of its form, and for each event, to standard error: as text, or as
// JSON for machines. Any thread.
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
