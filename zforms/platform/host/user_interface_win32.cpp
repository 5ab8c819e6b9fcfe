#include "zforms/platform/host/user_interface.h"
#include "zforms/platform/text/wide_win32.h"

namespace zforms {

namespace {

class MessageBoxes : public ZUserInterface {
 public:
  explicit MessageBoxes(const Chaine& title) : title_(Widen(title)) {}

  void ShowMessage(const Chaine& text, Icon icon) override { Show(text, MB_OK | FlagOf(icon)); }
  bool Confirm(const Chaine& text) override { return Show(text, MB_OKCANCEL | MB_ICONQUESTION) == IDOK; }

 private:
  static UINT FlagOf(Icon icon) {
    switch (icon) {
      case Icon::eInformation: return MB_ICONINFORMATION;
      case Icon::eWarning: return MB_ICONWARNING;
      case Icon::eError: return MB_ICONERROR;
    }
    return 0;
  }
  int Show(const Chaine& text, UINT flags) {
    return ::MessageBoxW(nullptr, Widen(text).c_str(), title_.c_str(), flags | MB_SETFOREGROUND | MB_TASKMODAL);
  }

  std::wstring title_;
};

}  // namespace

std::unique_ptr<ZUserInterface> OpenSystemUserInterface(const Chaine& title) {
  return std::make_unique<MessageBoxes>(title);
}

}  // namespace zforms
