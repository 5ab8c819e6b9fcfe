#include "tool/office/server_log.h"

#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tool/base/console.h"
#include "zforms/platform/http/http_engine.h"

namespace zforms::tool {
namespace {

// Bytes that are not UTF-8 become the replacement character.
std::string Line(const nlohmann::ordered_json& object) {
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string TimeStamp() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
  return text;
}

void ServerLog::Request(const sHTTPRequestInfos& infos) {
  const std::string path = infos.url.Path().ToString();
  const std::string code = infos.url.Param("code").ToString();
  if (json_) {
    return Write(Line({{"time", TimeStamp()},
                       {"kind", "request"},
                       {"from", infos.remote_address.ToString()},
                       {"method", infos.method.ToString()},
                       {"path", path},
                       {"code", code},
                       {"status", infos.status},
                       {"received", infos.bytes_received},
                       {"sent", infos.bytes_sent},
                       {"microseconds", infos.duration.count()},
                       {"delivered", infos.delivered},
                       {"reason", infos.reason.ToString()}}));
  }
  std::string line = TimeStamp() + " " + infos.remote_address.ToString() + " " +
                     (infos.method.IsEmpty() ? "-" : Printable(infos.method)) + " " +
                     (path.empty() ? "-" : Printable(path));
  if (!code.empty()) line += " code=" + Printable(code);
  line += " " + std::to_string(infos.status) + " in=" + std::to_string(infos.bytes_received) +
          " out=" + std::to_string(infos.bytes_sent) + " us=" + std::to_string(infos.duration.count());
  if (!infos.delivered) line += " gone";
  if (!infos.reason.IsEmpty()) line += ": " + Printable(infos.reason);
  Write(line + "\n");
}

void ServerLog::Event(std::string_view kind, std::string_view text) {
  if (json_) return Write(Line({{"time", TimeStamp()}, {"kind", kind}, {"text", text}}));
  Write(TimeStamp() + " " + std::string(kind) + ": " + Printable(text) + "\n");
}

void ServerLog::Write(const std::string& line) {
  const std::lock_guard lock(mutex_);
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace zforms::tool
