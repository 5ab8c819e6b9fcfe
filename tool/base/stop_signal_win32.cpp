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

// Windows calls this on a thread of its own.
BOOL WINAPI OnConsole(DWORD reason) {
  SetEvent(StopEvent());
  // When the console is closed or the user logs off, the process ends as soon as this returns, and after some seconds
  // in any case.
  if (reason != CTRL_C_EVENT && reason != CTRL_BREAK_EVENT) Sleep(INFINITE);
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
