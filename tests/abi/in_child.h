// Runs a piece of a test in a forked process, for what changes the whole process: the working
// folder, the locale, the file layer, limits, or what may hang. Expectations inside count for the
// test, and what they say is printed by the child.
#ifndef ZEVKA_TESTS_ABI_IN_CHILD_H
#define ZEVKA_TESTS_ABI_IN_CHILD_H

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace zevka::test {

constexpr unsigned kChildSeconds = 100;  // a child that hangs is ended by SIGALRM

// The wait status of a forked process that ran the body; the child leaves with what it returns.
template <typename Body>
int StatusOfChild(Body body) {
  std::fflush(nullptr);
  const ::pid_t child = ::fork();
  if (child < 0) {
    throw std::runtime_error("cannot fork");
  }
  if (child == 0) {
    ::alarm(kChildSeconds);
    int status = 3;
    try {
      status = body();
    } catch (const std::exception& fault) {
      std::printf("the child stopped: %s\n", fault.what());
    }
    std::fflush(nullptr);
    ::_exit(status);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

inline void ExpectCleanExit(int status) {
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal "
                                 << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 0) << "see the child's lines above";
}

// The body holds EXPECTs; it must not use ASSERTs of an enclosing function.
template <typename Body>
void InChild(Body body) {
  ExpectCleanExit(StatusOfChild([&body] {
    body();
    return ::testing::Test::HasFailure() ? 1 : 0;
  }));
}

// The same with another working folder.
template <typename Body>
void InChildAt(const std::string& folder, Body body) {
  InChild([&] {
    if (::chdir(folder.c_str()) != 0) {
      throw std::runtime_error("cannot enter " + folder);
    }
    body();
  });
}

// For its life, no file of this process may grow beyond the limit in bytes. Children only.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(::rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    ::signal(SIGXFSZ, SIG_IGN);
    const ::rlimit limited = {bytes, before_.rlim_max};
    if (::setrlimit(RLIMIT_FSIZE, &limited) != 0) {
      throw std::runtime_error("cannot limit the size of files");
    }
  }
  ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  ::rlimit before_{};
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_ABI_IN_CHILD_H
