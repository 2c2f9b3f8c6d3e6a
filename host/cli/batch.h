// Works on many things at a time and hands the results over in their order, so that what a command
// prints does not depend on how many threads it uses.
//
// The threads run ahead of the slowest one by a bounded number of results, which are kept until
// their turn comes.
//
// Errors: what `work` throws is thrown by RunInOrder, after the results before it were handed over
// and all threads have ended; bad luck of one message is for `work` to put into its result.
#ifndef ZEVKA_HOST_CLI_BATCH_H
#define ZEVKA_HOST_CLI_BATCH_H

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace zevka::host {

// Threads that wait for the disk leave the processors to others, so this does not depend on their
// number: with eight, a batch of small messages takes a quarter of the time that it takes with one.
// More would hold more messages in memory and gain little.
constexpr std::size_t kDefaultJobs = 8;

template <typename Result>
class OrderedRun {
 public:
  // Makes a result for each number, in any thread.
  using Work = std::function<Result(std::size_t number)>;
  // Takes the results: number 0 first, one at a time, in any thread.
  using Take = std::function<void(std::size_t number, Result result)>;
  // Whether to begin nothing further.
  using Stop = std::function<bool()>;

  OrderedRun(Work work, Take take, Stop stop)
      : work_(std::move(work)), take_(std::move(take)), stop_(std::move(stop)) {}

  // Result: how many were done, from number 0 on; all unless `stop` said so.
  std::size_t Run(std::size_t count, std::size_t jobs) {
    count_ = count;
    ahead_ = kAheadPerJob * std::max<std::size_t>(jobs, 1);
    {
      std::vector<std::jthread> threads;
      // This thread is one of them.
      for (std::size_t job = 1; job < std::min(jobs, count); ++job) {
        try {
          threads.emplace_back([this] { Loop(); });
        } catch (const std::system_error&) {
          break;  // the system has no more; fewer will do
        }
      }
      Loop();
    }
    if (thrown_) {
      std::rethrow_exception(thrown_);
    }
    return taken_;
  }

 private:
  static constexpr std::size_t kAheadPerJob = 32;

  void Loop() {
    std::unique_lock lock(mutex_);
    for (;;) {
      room_.wait(lock, [this] { return thrown_ || next_ < taken_ + ahead_; });
      if (thrown_ || next_ >= count_ || stop_()) {
        return;
      }
      const std::size_t number = next_++;
      lock.unlock();
      try {
        Result result = work_(number);
        lock.lock();
        ready_.emplace(number, std::move(result));
        TakeReady(lock);
      } catch (...) {
        if (!lock.owns_lock()) {
          lock.lock();
        }
        thrown_ = thrown_ ? thrown_ : std::current_exception();
        room_.notify_all();
      }
    }
  }

  // Whoever finds the next one ready takes it, and all that follow.
  void TakeReady(std::unique_lock<std::mutex>& lock) {
    if (isTaking_) {
      return;
    }
    isTaking_ = true;
    for (auto first = ready_.begin(); first != ready_.end() && first->first == taken_;
         first = ready_.begin()) {
      Result result = std::move(first->second);
      const std::size_t number = first->first;
      ready_.erase(first);
      lock.unlock();
      take_(number, std::move(result));
      lock.lock();
      ++taken_;
      room_.notify_all();
    }
    isTaking_ = false;
  }

  Work work_;
  Take take_;
  Stop stop_;
  std::size_t count_ = 0;
  std::size_t ahead_ = 0;
  std::mutex mutex_;  // guards all below
  std::condition_variable room_;
  std::size_t next_ = 0;   // the next one to begin
  std::size_t taken_ = 0;  // all before it were taken
  bool isTaking_ = false;
  std::map<std::size_t, Result> ready_;
  std::exception_ptr thrown_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_BATCH_H
