#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <thread>
#include <utility>

#include "apps/zforms/stop_signal.h"

namespace zforms::tool {
namespace {

sigset_t StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
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
    sigwait(&signals, &number);
    _exit(128 + number);
  }).detach();
}

}  // namespace zforms::tool
