#include <windows.h>

#include <thread>
#include <utility>

#include "tool/base/stop_signal.h"

namespace zforms::tool {
namespace {

// The event that a request to stop sets. It is global, because Windows passes no user data to OnConsole.
HANDLE StopEvent() {
  static const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  return event;
}

// Handles events of the console. Windows calls it on a new thread.
BOOL WINAPI OnConsole(DWORD reason) {
  SetEvent(StopEvent());
  // When the console is closed or the user logs off, Windows ends the process as soon as this function returns, and
  // after some seconds in any case. So the function waits, to leave the program these seconds to stop.
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
