#include <windows.h>

#include <thread>
#include <utility>

#include "tool/base/stop_signal.h"

namespace zforms::tool {
namespace {

// A global event, because the handler has no argument for it.
HANDLE StopEvent() {
  static const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  return event;
}

BOOL WINAPI OnConsole(DWORD) {
  SetEvent(StopEvent());
  return TRUE;
}

}  // namespace

void HoldStopSignals() {
  StopEvent();
  SetConsoleCtrlHandler(OnConsole, TRUE);
}

void WhenStopped(std::function<void()> stop) {
  std::thread([stop = std::move(stop)] {
    WaitForSingleObject(StopEvent(), INFINITE);
    stop();
    WaitForSingleObject(StopEvent(), INFINITE);
    ExitProcess(130);
  }).detach();
}

}  // namespace zforms::tool
