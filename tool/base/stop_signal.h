#pragma once

#include <functional>

namespace zforms::tool {

// Prevents these signals from ending this process: requests to stop (SIGINT, SIGTERM, SIGHUP; on Windows Ctrl+C and the
// closing of the console), and SIGPIPE, which follows a write to a pipe without a reader. Call it before other threads
// are started.
void HoldStopSignals();
// Calls the function, on its own thread, when the process is asked to stop; a second request ends the process.
void WhenStopped(std::function<void()> stop);

}  // namespace zforms::tool
