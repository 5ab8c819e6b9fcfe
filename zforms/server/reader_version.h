#pragma once

#include "zforms/platform/host/host_services.h"

namespace zforms {

// True when a reader that can show served forms is installed: one of the classes that readers register leads to a
// program of version 8 or later. On systems without such a registry, the system's shell accepts any reader (see
// ZShell::VersionOfClass). Also true when the setting "IgnorePDFVersion" of the section "Settings" is true. With
// `show_message` the user gets a message when the result is false.
bool VerifyReaderVersion(const ZHostServices& services, bool show_message);

}  // namespace zforms
