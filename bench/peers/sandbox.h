// A trial of one message in a process of its own: what a library dies of, or never ends with, is
// left out of its sets instead of ending the comparison.
#ifndef ZEVKA_BENCH_PEERS_SANDBOX_H
#define ZEVKA_BENCH_PEERS_SANDBOX_H

#include <sys/wait.h>
#include <unistd.h>

#include <exception>

namespace zevka::bench {

// Whether the work comes to its end in a child process within ten seconds.
template <typename Work>
bool Survives(const Work& work) {
  constexpr unsigned kPatience = 10;  // seconds
  const ::pid_t child = ::fork();
  if (child == 0) {
    ::alarm(kPatience);
    try {
      work();
    } catch (const std::exception&) {
      ::_exit(1);
    }
    ::_exit(0);
  }
  int status = 1;
  return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_PEERS_SANDBOX_H
