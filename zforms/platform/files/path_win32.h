#pragma once

#include <string>

#include "zforms/platform/base/chaine.h"

namespace zforms {

// A path in UTF-8 as the functions of Windows take it. Paths longer than these functions accept otherwise get the
// prefix that lifts the limit. Empty when the path is empty, contains a zero byte or is not valid UTF-8.
std::wstring SystemPath(const Chaine& path);

// Whether the path, as SystemPath returns it, names a device, such as "nul" in any folder.
bool IsDevicePath(const std::wstring& path);

// Whether a call that failed should be tried again, because another program, such as a virus scanner, holds the file
// for a moment. Waits before it returns true; returns false after about a second in all. `attempt` counts from 0.
bool MayTryAgain(int attempt);

}  // namespace zforms
