#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZUserInterface speaks to whoever sits before the host. Texts are UTF-8. The
// host's thread uses it.
class ZFORMS_API ZUserInterface {
 public:
  enum class Icon { eInformation, eWarning, eError };

  virtual ~ZUserInterface();

  // Shows the text until it is dismissed.
  virtual void ShowMessage(const Chaine& text, Icon icon) = 0;
  // Asks for consent; true for OK.
  virtual bool Confirm(const Chaine& text) = 0;
};

// Message boxes on Windows. Elsewhere one line a message on the standard error
// stream, and consent: a server without a screen has nobody to ask. `title` is
// the application's name.
ZFORMS_API std::unique_ptr<ZUserInterface> OpenSystemUserInterface(const Chaine& title);

}  // namespace zforms
