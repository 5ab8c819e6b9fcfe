#include "platform/host_services.h"

#include "platform/host_settings.h"
#include "platform/idle_messages.h"
#include "platform/mail.h"
#include "platform/shell.h"
#include "platform/temp_folder.h"
#include "platform/user_interface.h"

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
