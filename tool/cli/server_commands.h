#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zforms/platform/base/secret_text.h"

namespace CLI {  // NOLINT(readability-identifier-naming): that library's name.
class App;
}

namespace zforms::tool {

// The commands around the form server and their options. Each returns the exit status.

struct ServeOptions {
  std::string templates;
  std::string data;
  std::string config;
  std::string reader;
  std::optional<uint16_t> port;
  std::optional<std::string> app;
  std::optional<uint64_t> folder;
  std::optional<int32_t> year;
  std::optional<uint32_t> expire;
  std::string log;
  std::string scripts;
  std::string draw;
  std::string submissions;
};
int RunServe(const ServeOptions& options);

struct ImportOptions {
  std::string file;
  std::vector<std::string> labels;
  std::string output;
  SecretString password;
  bool recover = false;
  bool force = false;
};
int RunImport(const ImportOptions& options);

struct SubmissionsOptions {
  std::string data;
  std::string code;
  std::string format = "csv";
  int64_t id = 0;
  bool rejected = false;
  bool latest = false;  // only the newest submission of each transaction
  bool raw = false;
};
int RunSubmissions(const SubmissionsOptions& options);

struct RubricsOptions {
  std::string data;
  std::vector<std::string> set;
};
int RunRubrics(const RubricsOptions& options);

struct SubmitOptions {
  std::string target;
  uint16_t port = 8080;
  std::vector<std::string> set;
  std::string output;
  uint32_t timeout = 60;  // seconds
};
int RunSubmit(const SubmitOptions& options);

struct StoreOptions {
  std::string action;  // "upgrade" or "copy"
  std::string store;
  std::string target;
};
int RunStore(const StoreOptions& options);

// Adds the commands to the command line. `*run` is set to the one that the user chooses.
void AddServerCommands(CLI::App& app, std::function<int()>* run);

inline constexpr char kDefaultData[] = "zforms-data";
inline constexpr uint16_t kDefaultPort = 8080;
inline constexpr uint32_t kDefaultExpire = 30;

}  // namespace zforms::tool
