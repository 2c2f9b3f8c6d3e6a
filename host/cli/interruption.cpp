#include "host/cli/interruption.h"

#include <atomic>
#include <cstddef>

namespace zevka::host {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal may come at any moment");

extern "C" void NoteSignal(int /*signal*/) {
  interrupted.store(true, std::memory_order_relaxed);
}

}  // namespace

Interruption::Interruption() {
  interrupted.store(false, std::memory_order_relaxed);
  for (std::size_t index = 0; index < kSignals.size(); ++index) {
    struct sigaction action {};
    action.sa_handler = kSignals[index] == SIGPIPE ? SIG_IGN : NoteSignal;
    // The second one takes its usual course.
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    ::sigaction(kSignals[index], nullptr, &before_[index]);
    if (before_[index].sa_handler != SIG_IGN) {
      ::sigaction(kSignals[index], &action, nullptr);
    }
  }
}

Interruption::~Interruption() {
  for (std::size_t index = 0; index < kSignals.size(); ++index) {
    ::sigaction(kSignals[index], &before_[index], nullptr);
  }
}

bool Interruption::IsInterrupted() {
  return interrupted.load(std::memory_order_relaxed);
}

}  // namespace zevka::host
