#include "zforms/platform/host/host_services.h"

#include "zforms/platform/base/idle_messages.h"
#include "zforms/platform/files/temp_folder.h"
#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/host/mail.h"
#include "zforms/platform/host/shell.h"
#include "zforms/platform/host/user_interface.h"

namespace zforms {

ZSystemServices::ZSystemServices(const Chaine& app_short_name)
    : settings_(OpenSystemSettings(app_short_name)),
      shell_(OpenSystemShell()),
      user_interface_(OpenSystemUserInterface(app_short_name)),
      mailer_(OpenSystemMailer()),
      temp_folder_(std::make_unique<ZTempFolder>()) {
  services_.app_short_name = app_short_name;
  services_.settings = settings_.get();
  services_.shell = shell_.get();
  services_.user_interface = user_interface_.get();
  services_.mailer = mailer_.get();
  services_.temp_folder = temp_folder_.get();
  services_.idle_messages = &ZIdleMessageManager::Default();
}

ZSystemServices::~ZSystemServices() = default;

}  // namespace zforms
