#include <string>
#include <vector>

#include "zforms/platform/host/mail.h"
#include "zforms/platform/host/os_process.h"

namespace zforms {

namespace {

class DesktopMailer : public ZMailer {
 public:
  bool SendMail(const ZPDFEmail& message, bool dialog) override {
    if (!dialog) return false;
    std::vector<std::string> command = {
        "xdg-email", "--utf8", "--subject", message.Subject().ToString(), "--body", message.Text().ToString()};
    for (const ZPDFEmail::AttachedFile& file : message.AttachedFiles()) {
      command.insert(command.end(), {"--attach", file.path.ToString()});
    }
    for (const Chaine& address : message.Recipients()) {
      // xdg-email would take an address that begins with "-" for an option.
      if (address.IsEmpty() || address[0] == '-') return false;
      command.push_back(address.ToString());
    }
    return StartProgram(command);
  }
};

}  // namespace

std::unique_ptr<ZMailer> OpenSystemMailer() { return std::make_unique<DesktopMailer>(); }

}  // namespace zforms
