#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

#include "tool/base/stop_signal.h"

namespace zforms::tool {
namespace {

constexpr std::chrono::milliseconds kOneRequest(500);

sigset_t StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  // SIGHUP means that the terminal was closed. If the process was started with SIGHUP ignored, as by nohup, it stays
  // so.
  struct sigaction hangup = {};
  if (sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN) sigaddset(&signals, SIGHUP);
  return signals;
}

}  // namespace

void HoldStopSignals() {
  const sigset_t signals = StopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
}

void WhenStopped(std::function<void()> stop) {
  std::thread([stop = std::move(stop)] {
    const sigset_t signals = StopSignals();
    int number = 0;
    sigwait(&signals, &number);
    stop();
    // A signal that is sent to the process and to its group arrives twice. So signals within kOneRequest of the first
    // one do not count as a second request.
    const auto first = std::chrono::steady_clock::now();
    do {
      sigwait(&signals, &number);
    } while (std::chrono::steady_clock::now() - first < kOneRequest);
    _exit(128 + number);
  }).detach();
}

}  // namespace zforms::tool
