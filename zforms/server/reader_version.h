#pragma once

#include "zforms/platform/host/host_services.h"

namespace zforms {

// True when a reader that can show served forms is installed: one of the classes that readers register leads to a
// program of version 8 or later. ZShell::VersionOfClass accepts any reader on systems without such a registry, unless
// the host has its own shell. Also true when the setting "IgnorePDFVersion" of the section "Settings" is true. With
// `show_message` the user gets a message when it is false.
bool VerifyReaderVersion(const ZHostServices& services, bool show_message);

}  // namespace zforms
