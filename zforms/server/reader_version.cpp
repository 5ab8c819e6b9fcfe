#include "zforms/server/reader_version.h"

#include <algorithm>
#include <iterator>

#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/host/shell.h"
#include "zforms/platform/host/user_interface.h"
#include "zforms/platform/host/version_resource.h"
#include "zforms/server/messages.h"

namespace zforms {
namespace {

constexpr uint16_t kMinReaderVersion = 8;
// The class identifiers that readers register, the newest first.
constexpr const char* kReaderClasses[] = {"{CA8A9780-280D-11CF-A24D-444553540000}",
                                          "{06849E9F-C8D7-4D59-B87D-784B7D6BE0B3}",
                                          "{18DF081C-E8AD-4283-A596-FA578C2EBDC3}"};

bool HasReader(ZShell& shell) {
  return std::any_of(std::begin(kReaderClasses), std::end(kReaderClasses), [&shell](const char* class_id) {
    return MajorVersion(shell.VersionOfClass(class_id)) >= kMinReaderVersion;
  });
}

}  // namespace

bool VerifyReaderVersion(const ZHostServices& services, bool show_message) {
  if (services.settings != nullptr && services.settings->Bool("Settings", "IgnorePDFVersion", false)) return true;
  if (services.shell != nullptr && HasReader(*services.shell)) return true;
  if (show_message && services.user_interface != nullptr) {
    services.user_interface->ShowMessage(ServerMessage(eServerMessage::eReaderMissing),
                                         ZUserInterface::Icon::eInformation);
  }
  return false;
}

}  // namespace zforms
