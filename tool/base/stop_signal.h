#pragma once

#include <functional>

namespace zforms::tool {

// Has this process not end by itself when it is asked to stop (SIGINT, SIGTERM,
// SIGHUP; on Windows Ctrl+C and the closing of the console), or when nobody reads its output.
// Called before any other thread is started.
void HoldStopSignals();
// Calls the function, on a thread of its own, once the process is asked to stop; a
// second request ends the process.
void WhenStopped(std::function<void()> stop);

}  // namespace zforms::tool
