// What a mail library does to a message in the comparison. Each program jobs_NAME links one file
// NAME_jobs.cpp, which makes the library it measures, with the driver (jobs_main.cpp).
#ifndef ZEVKA_BENCH_PEERS_LIBRARY_H
#define ZEVKA_BENCH_PEERS_LIBRARY_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zevka::bench {

// How much of the work is done. All of them parse the message from memory, walk its tree and free
// what they made.
struct Job {
  bool decode = false;  // decode every leaf; each decoded body is in memory then
  bool write = false;   // write the message to a buffer in memory that the caller can read
};

// What the work came to, so that it can be seen that all libraries did the same.
struct Counters {
  std::uint64_t leaves = 0;
  std::uint64_t decodedBytes = 0;
  std::uint64_t writtenBytes = 0;
  std::uint64_t refused = 0;  // messages that the library did not take
};

class MailLibrary {
 public:
  MailLibrary() = default;
  virtual ~MailLibrary() = default;
  MailLibrary(const MailLibrary&) = delete;
  MailLibrary& operator=(const MailLibrary&) = delete;

  virtual std::string Name() const = 0;
  virtual std::string Version() const = 0;

  // Does the job with one message, and adds to the counters.
  // Threads: those of zevka alone may be called by several at once.
  virtual void Do(std::string_view message, const Job& job, Counters& counters) = 0;
};

// The library that this program measures. Throws std::runtime_error when it cannot be used.
std::unique_ptr<MailLibrary> MakeLibrary();

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_PEERS_LIBRARY_H
