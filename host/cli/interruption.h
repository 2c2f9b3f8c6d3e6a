// Ctrl-C and its like in a batch: the messages that are being worked on are finished, then the
// command reports and ends. A second signal of the kind ends it at once; the messages are safe then
// too, as each is replaced in one step.
//
// A reader of the output that goes away does not stop the batch: it is the messages that count.
//
// Threads: make and drop it in one; IsInterrupted in any. One at a time.
#ifndef ZEVKA_HOST_CLI_INTERRUPTION_H
#define ZEVKA_HOST_CLI_INTERRUPTION_H

#include <array>
#include <csignal>

namespace zevka::host {

// From its making to its end SIGINT, SIGTERM and SIGHUP are notes and SIGPIPE is nothing. A signal
// that was ignored before, as under nohup, stays ignored.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  static bool IsInterrupted();

 private:
  static constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

  std::array<struct sigaction, kSignals.size()> before_{};
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_INTERRUPTION_H
