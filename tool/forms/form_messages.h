#pragma once

#include <string>

#include "tool/base/console.h"
#include "zforms/filling/form_message.h"
#include "zforms/platform/base/chaine.h"

namespace zforms {
class FillingGuard;
class ZAcroForm;
struct GuardOptions;
}  // namespace zforms

namespace zforms::tool {

// The text of a message, with the option of the command line that would change the outcome.
std::string WithRemedy(const std::string& text, ZFormMessage::Remedy remedy);

// Prints each message on the console of the form or of the data, depending on its subject. Leaves out faults of the
// file, which Console::WarnAll prints.
void Say(const ZFormMessages& messages, Console& form_console, Console& data_console);
void Say(const ZFormMessages& messages, Console& console);

// Why the field with this full name keeps its value, with the option that writes the new one anyway.
Chaine LockOf(const FillingGuard& guard, const Chaine& name);

// Prepares the form for a change: removes usage rights, which the change would make invalid, and the XFA form if the
// options say so. False, with a message, when signatures forbid the change. `writes_anew` is true when a whole new file
// is written and not an update.
bool GuardChange(ZAcroForm& form, const GuardOptions& options, Console& console, bool writes_anew = false);

}  // namespace zforms::tool
