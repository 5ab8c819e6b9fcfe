#include "zforms/platform/host/user_interface.h"

namespace zforms {

std::unique_ptr<ZUserInterface> OpenSystemUserInterface(const Chaine& title) { return OpenConsoleUserInterface(title); }

}  // namespace zforms
