#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZHostSettings;
class ZIdleMessageManager;
class ZMailer;
class ZShell;
class ZTempFolder;
class ZUserInterface;

// The services and options that a host gives to the library. The pointers are not owned. Tests and hosts may replace
// the system's services by their own.
struct ZFORMS_API ZHostServices {
  // The option "App.ShortName".
  Chaine app_short_name;
  // True when the host runs on a server for a remote user: no mail is sent from here.
  bool hosted = false;
  ZHostSettings* settings = nullptr;
  ZShell* shell = nullptr;
  ZUserInterface* user_interface = nullptr;
  ZMailer* mailer = nullptr;
  const ZTempFolder* temp_folder = nullptr;
  ZIdleMessageManager* idle_messages = nullptr;
};

// The system's services, for an application. Owned by the host; must outlive all users.
class ZFORMS_API ZSystemServices {
 public:
  explicit ZSystemServices(const Chaine& app_short_name);
  ZSystemServices(const ZSystemServices&) = delete;
  ZSystemServices& operator=(const ZSystemServices&) = delete;
  ~ZSystemServices();

  // A copy in which the caller may replace services.
  ZHostServices Services() const { return services_; }

 private:
  std::unique_ptr<ZHostSettings> settings_;
  std::unique_ptr<ZShell> shell_;
  std::unique_ptr<ZUserInterface> user_interface_;
  std::unique_ptr<ZMailer> mailer_;
  std::unique_ptr<ZTempFolder> temp_folder_;
  ZHostServices services_;
};

}  // namespace zforms
