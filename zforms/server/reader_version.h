#pragma once

#include "zforms/platform/host/host_services.h"

namespace zforms {

// Whether a reader that can show served forms is installed: one of its registered
// classes is served by a program of version 8 or later (ZShell::VersionOfClass, which
// lets any reader pass where readers register nothing: off Windows, unless the host has a
// shell of its own). Passes when the setting "IgnorePDFVersion" of the section
// "Settings" is true. With `show_message` the user is told when it fails.
bool VerifyReaderVersion(const ZHostServices& services, bool show_message);

}  // namespace zforms
