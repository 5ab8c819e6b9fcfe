#include "zforms/platform/host/user_interface.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "zforms/platform/base/ascii.h"

namespace zforms {
namespace {

const char* NameOf(ZUserInterface::Icon icon) {
  switch (icon) {
    case ZUserInterface::Icon::eInformation: return "information";
    case ZUserInterface::Icon::eWarning: return "warning";
    case ZUserInterface::Icon::eError: return "error";
  }
  return "";
}

class ErrorStream : public ZUserInterface {
 public:
  explicit ErrorStream(const Chaine& title) : title_(title.ToString()) {}

  void ShowMessage(const Chaine& text, Icon icon) override {
    // Replaces line ends, so that text from a client cannot add lines to the log.
    std::string line = text.ToString();
    std::replace_if(line.begin(), line.end(), IsControlASCII, ' ');
    std::fprintf(stderr, "%s: %s: %s\n", title_.c_str(), NameOf(icon), line.c_str());
  }
  bool Confirm(const Chaine&) override { return true; }

 private:
  std::string title_;
};

}  // namespace

ZUserInterface::~ZUserInterface() = default;

std::unique_ptr<ZUserInterface> OpenConsoleUserInterface(const Chaine& title) {
  return std::make_unique<ErrorStream>(title);
}

}  // namespace zforms
