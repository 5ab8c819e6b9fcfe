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

// The text of a message with the command line's option that would change the outcome.
std::string WithRemedy(const std::string& text, ZFormMessage::Remedy remedy);

// Says the messages on the console of what they are about. What is odd about the file is left to Console::WarnAll.
void Say(const ZFormMessages& messages, Console& form_console, Console& data_console);
void Say(const ZFormMessages& messages, Console& console);

// Why the field of that full name keeps what it holds, with the option that writes it all the same.
Chaine LockOf(const FillingGuard& guard, const Chaine& name);

// Removes usage rights, which end with a change of the form, and what the options say. False, with a message, when
// signatures forbid the change. `writes_anew`: a new file is written, whatever changes.
bool GuardChange(ZAcroForm& form, const GuardOptions& options, Console& console, bool writes_anew = false);

}  // namespace zforms::tool
