#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/data/ini_file.h"

namespace zforms {

// ZHostSettings gives the values that the user of a machine has set for an application, by section and name. Any thread
// may read.
class ZFORMS_API ZHostSettings {
 public:
  virtual ~ZHostSettings();

  // True when the value is set; `*value` gets its text.
  virtual bool Read(const Chaine& section, const Chaine& name, Chaine* value) const = 0;

  // The value, or `fallback` when it is not set or malformed. True is "1", "true", "yes" or "on", in any letter case;
  // false is "0", "false", "no" or "off".
  bool Bool(const Chaine& section, const Chaine& name, bool fallback) const;
  Chaine Text(const Chaine& section, const Chaine& name, const Chaine& fallback) const;
};

// Settings from an INI file, which is read once. A missing file sets nothing.
class ZFORMS_API ZIniSettings : public ZHostSettings {
 public:
  ZIniSettings() = default;
  // `path` is UTF-8.
  explicit ZIniSettings(const Chaine& path) { file_.Open(path); }
  ~ZIniSettings() override;

  bool Read(const Chaine& section, const Chaine& name, Chaine* value) const override;
  // Why the file could not be read, or empty.
  const std::string& LastError() const { return file_.LastError(); }

 private:
  ZIniFile file_;
};

// The settings of an application, from the place where this system keeps them: the file "settings.ini" in the folder of
// the application's name below $XDG_CONFIG_HOME (default ~/.config); on Windows the registry below HKEY_CURRENT_USER,
// then HKEY_LOCAL_MACHINE, "Software\\APP\\SECTION".
ZFORMS_API std::unique_ptr<ZHostSettings> OpenSystemSettings(const Chaine& app);

}  // namespace zforms
