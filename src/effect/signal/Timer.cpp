#include "effect/signal/Timer.h"

#include <chrono>

namespace lomix {
namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace
}  // namespace lomix

Timer::Timer(bool startNow) : stopped(1), startTime(-1.0), stopTime(-1.0) {
  if (startNow) start();
}

void Timer::start() {
  startTime = lomix::now();
  stopped = 0;
}

void Timer::stop() {
  if (stopped != 0) return;
  stopTime = lomix::now();
  stopped = 1;
}

double Timer::getSeconds() const { return (stopped != 0 ? stopTime : lomix::now()) - startTime; }
