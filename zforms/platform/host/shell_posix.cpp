#include <cstdint>

#include "zforms/platform/host/os_process.h"
#include "zforms/platform/host/shell.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

namespace {

// The path in a form that no program takes for an option.
std::string SafePath(const Chaine& path) {
  return path.View().starts_with('/') ? path.ToString() : "./" + path.ToString();
}

class DesktopShell : public ZShell {
 public:
  bool Execute(const Chaine& path, const Chaine& verb) override {
    if (path.IsEmpty()) return false;
    if (verb == "open") return StartProgram({"xdg-open", SafePath(path)});
    return verb == "print" && StartProgram({"lp", "--", path.ToString()});
  }
  bool OpenURL(const Chaine& url) override {
    const bool is_url = !ZInetURL(url).Protocol().IsEmpty();
    return is_url && StartProgram({"xdg-open", url.ToString()});
  }
  Chaine ProgramFor(const Chaine&) override { return {}; }
  Chaine ServerOfClass(const Chaine&) override { return {}; }
  uint64_t VersionOfClass(const Chaine&) override { return UINT64_MAX; }
};

}  // namespace

std::unique_ptr<ZShell> OpenSystemShell() { return std::make_unique<DesktopShell>(); }

}  // namespace zforms
