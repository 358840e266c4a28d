#include "apps/deduce/interrupt.h"

#include <csignal>

namespace tessra::app {

namespace {

volatile std::sig_atomic_t interrupts = 0;

extern "C" void on_interrupt(int signal) {
  interrupts = 1;
  std::signal(signal, SIG_DFL);
}

}  // namespace

void catch_interrupts() { std::signal(SIGINT, on_interrupt); }
bool interrupted() { return interrupts != 0; }

}  // namespace tessra::app
