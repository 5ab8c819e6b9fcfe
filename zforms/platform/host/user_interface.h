#pragma once

#include <memory>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/export.h"

namespace zforms {

// ZUserInterface shows messages to the user of the host. Texts are UTF-8. Used by the host's thread.
class ZFORMS_API ZUserInterface {
 public:
  enum class Icon { eInformation, eWarning, eError };

  virtual ~ZUserInterface();

  // Shows the text until it is dismissed.
  virtual void ShowMessage(const Chaine& text, Icon icon) = 0;
  // Asks for consent; true for OK.
  virtual bool Confirm(const Chaine& text) = 0;
};

// Writes one line for each message to standard error, and answers every question with OK: for servers without a user.
// `title` is the application's name.
ZFORMS_API std::unique_ptr<ZUserInterface> OpenConsoleUserInterface(const Chaine& title);

// Shows message boxes on Windows; on other systems the same as OpenConsoleUserInterface.
ZFORMS_API std::unique_ptr<ZUserInterface> OpenSystemUserInterface(const Chaine& title);

}  // namespace zforms
