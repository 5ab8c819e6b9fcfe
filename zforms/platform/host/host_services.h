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

// What a host gives to the library: its options and the services around it. None
// is owned. Tests and hosts put their own in place of the system's.
struct ZFORMS_API ZHostServices {
  // The option "App.ShortName".
  Chaine app_short_name;
  // The host runs on a server for somebody elsewhere: no mail leaves from here.
  bool hosted = false;
  ZHostSettings* settings = nullptr;
  ZShell* shell = nullptr;
  ZUserInterface* user_interface = nullptr;
  ZMailer* mailer = nullptr;
  const ZTempFolder* temp_folder = nullptr;
  ZIdleMessageManager* idle_messages = nullptr;
};

// The services of this system, for an application. Belongs to the host and
// outlives what uses them.
class ZFORMS_API ZSystemServices {
 public:
  explicit ZSystemServices(const Chaine& app_short_name);
  ZSystemServices(const ZSystemServices&) = delete;
  ZSystemServices& operator=(const ZSystemServices&) = delete;
  ~ZSystemServices();

  // A copy, of which the caller may replace parts.
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
