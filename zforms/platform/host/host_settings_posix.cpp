#include <cstdlib>
#include <string>

#include "zforms/platform/host/host_settings.h"

namespace zforms {

namespace {

// The folder of the user's settings; empty when unknown.
std::string SettingsFolder() {
  // NOLINTBEGIN(concurrency-mt-unsafe): the environment is not changed while this is read.
  const char* const folder = std::getenv("XDG_CONFIG_HOME");
  if (folder != nullptr && folder[0] == '/') return folder;
  const char* const home = std::getenv("HOME");
  // NOLINTEND(concurrency-mt-unsafe)
  return home == nullptr || home[0] != '/' ? std::string() : std::string(home) + "/.config";
}

}  // namespace

std::unique_ptr<ZHostSettings> OpenSystemSettings(const Chaine& app) {
  const std::string folder = SettingsFolder();
  const bool named = !app.IsEmpty() && app.View().find('/') == std::string_view::npos;
  if (folder.empty() || !named) return std::make_unique<ZIniSettings>();
  return std::make_unique<ZIniSettings>(Chaine(folder + "/" + app.ToString() + "/settings.ini"));
}

}  // namespace zforms
