#include "zforms/platform/base/number.h"
#include "zforms/platform/host/host_settings.h"
#include "zforms/platform/text/wide_win32.h"

namespace zforms {

namespace {

class RegistrySettings : public ZHostSettings {
 public:
  explicit RegistrySettings(const Chaine& app) : app_(app) {}

  bool Read(const Chaine& section, const Chaine& name, Chaine* value) const override {
    const std::wstring key = Widen("Software\\" + app_ + "\\" + section);
    const std::wstring wide_name = Widen(name);
    if (key.empty() || wide_name.empty()) return false;
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
      std::wstring text;
      if (ReadRegistryText(root, key, wide_name.c_str(), &text)) return *value = Narrow(text), true;
      DWORD number = 0;
      DWORD size = sizeof number;
      if (::RegGetValueW(root, key.c_str(), wide_name.c_str(), RRF_RT_REG_DWORD, nullptr, &number, &size) ==
          ERROR_SUCCESS) {
        return *value = FormatUInt(number), true;
      }
    }
    return false;
  }

 private:
  Chaine app_;
};

}  // namespace

std::unique_ptr<ZHostSettings> OpenSystemSettings(const Chaine& app) { return std::make_unique<RegistrySettings>(app); }

}  // namespace zforms
