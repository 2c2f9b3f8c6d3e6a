// Measures whole jobs of one mail library on sets of messages.
//   jobs_LIBRARY [OPTION...] SET...
//   SET              a b c d e f g corpus, or NAME=PATH of a file or folder
//   --job JOB        full (when none is given), decode, write, parse
//   --runs N         clocked runs for each set, 5; one more before them warms up
//   --most-bytes N   stop reading a set behind so many bytes, 100,000,000
//   --sets FOLDER    where the sets a to g are; made by make_big.py of the corpus
//   --probe          try each message in a child first; those that end it are left out
//   --threads N      messages of a set are shared out to N threads (zevka only)
//   --memory         no clock: peak resident memory over the input, which is in memory as a whole,
//                    while the messages of the first set are done one after the other
//   --cpu-time       counts the time on a processor only; for a look on a busy machine
//   --json           a JSON object for each line
// Prints for each set: MB/s of input by the median run, the slowest and the fastest, messages per
// second, and what the library made of the set.
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "bench/measure.h"
#include "bench/peers/library.h"
#include "bench/peers/message_sets.h"
#include "bench/peers/sandbox.h"
#include "bench/result_line.h"

namespace zevka::bench {
namespace {

constexpr double kMega = 1000000.0;
constexpr double kKilobyte = 1024.0;  // the unit of ru_maxrss

struct Wishes {
  std::string jobName = "full";
  Job job{true, true};
  int runs = 5;
  std::uint64_t mostBytes = 100000000;
  std::string setsFolder = ZEVKA_BENCH_SETS;
  bool probe = false;
  int threads = 1;
  bool memory = false;
  Clock clock = Clock::kWall;
  bool json = false;
  std::vector<std::string> sets;
};

template <typename Number>
Number ToNumber(std::string_view text) {
  Number number = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (fault != std::errc() || end != text.data() + text.size()) {
    throw std::runtime_error("no number: " + std::string(text));
  }
  return number;
}

Job ToJob(std::string_view name) {
  if (name == "full") {
    return {true, true};
  }
  if (name == "decode") {
    return {true, false};
  }
  if (name == "write") {
    return {false, true};
  }
  if (name == "parse") {
    return {false, false};
  }
  throw std::runtime_error("no job of that name: " + std::string(name));
}

// Options that are followed by a value.
void TakeValue(Wishes& wishes, const std::string& option, const std::string& value) {
  if (option == "--job") {
    wishes.jobName = value;
    wishes.job = ToJob(value);
  } else if (option == "--runs") {
    wishes.runs = ToNumber<int>(value);
  } else if (option == "--most-bytes") {
    wishes.mostBytes = ToNumber<std::uint64_t>(value);
  } else if (option == "--sets") {
    wishes.setsFolder = value;
  } else if (option == "--threads") {
    wishes.threads = ToNumber<int>(value);
  } else {
    throw std::runtime_error("no such option: " + option);
  }
}

Wishes ReadWishes(const std::vector<std::string>& words) {
  Wishes wishes;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (!words[i].starts_with("--")) {
      wishes.sets.push_back(words[i]);
    } else if (words[i] == "--probe") {
      wishes.probe = true;
    } else if (words[i] == "--memory") {
      wishes.memory = true;
    } else if (words[i] == "--cpu-time") {
      wishes.clock = Clock::kProcessor;
    } else if (words[i] == "--json") {
      wishes.json = true;
    } else if (i + 1 < words.size()) {
      TakeValue(wishes, words[i], words[i + 1]);
      ++i;
    } else {
      throw std::runtime_error("nothing behind " + words[i]);
    }
  }
  if (wishes.sets.empty()) {
    throw std::runtime_error("no set is named");
  }
  return wishes;
}

// Takes out the messages that the library does not survive.
void Probe(MailLibrary& library, const Wishes& wishes, MessageSet& set) {
  std::vector<std::string> left;
  for (std::size_t i = 0; i < set.messages.size(); ++i) {
    Counters ignored;
    if (Survives([&] { library.Do(set.messages[i], wishes.job, ignored); })) {
      left.push_back(std::move(set.messages[i]));
    } else {
      set.bytes -= set.messages[i].size();
      std::fprintf(stderr, "%s does not survive %s, left out\n", library.Name().c_str(),
                   set.files[i].c_str());
    }
  }
  set.messages = std::move(left);
}

void DoAll(MailLibrary& library, const Wishes& wishes, const MessageSet& set) {
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    Counters ignored;
    for (std::size_t i = next++; i < set.messages.size(); i = next++) {
      library.Do(set.messages[i], wishes.job, ignored);
    }
  };
  std::vector<std::thread> helpers;
  for (int i = 1; i < wishes.threads; ++i) {
    helpers.emplace_back(work);
  }
  work();
  for (std::thread& helper : helpers) {
    helper.join();
  }
}

void ClockSet(MailLibrary& library, const Wishes& wishes, MessageSet set) {
  if (wishes.probe) {
    Probe(library, wishes, set);
  }
  Counters counters;
  for (const std::string& message : set.messages) {
    library.Do(message, wishes.job, counters);
  }
  const Seconds seconds = Measure(
      wishes.runs, [&] { DoAll(library, wishes, set); }, wishes.clock);
  const double megabytes = static_cast<double>(set.bytes) / kMega;
  ResultLine(wishes.json)
      .Text("library", library.Name())
      .Text("version", library.Version())
      .Text("set", set.name)
      .Text("job", wishes.jobName)
      .Count("threads", static_cast<std::uint64_t>(wishes.threads))
      .Number("speed", megabytes / seconds.median, 2)
      .Number("slowest", megabytes / seconds.most, 2)
      .Number("fastest", megabytes / seconds.least, 2)
      .Number("perSecond", static_cast<double>(set.messages.size()) / seconds.median, 2)
      .Count("messages", set.messages.size())
      .Count("bytes", set.bytes)
      .Count("leaves", counters.leaves)
      .Count("decoded", counters.decodedBytes)
      .Count("written", counters.writtenBytes)
      .Count("refused", counters.refused)
      .Print();
}

double PeakMemory() {  // MB
  ::rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * kKilobyte / kMega;
}

void WeighMemory(MailLibrary& library, const Wishes& wishes, const MessageSet& set) {
  const double before = PeakMemory();
  Counters counters;
  for (const std::string& message : set.messages) {
    library.Do(message, wishes.job, counters);
  }
  ResultLine(wishes.json)
      .Text("library", library.Name())
      .Text("set", set.name)
      .Text("job", wishes.jobName)
      .Number("input", static_cast<double>(set.bytes) / kMega, 2)
      .Number("overInput", PeakMemory() - before, 2)
      .Print();
}

void Run(const Wishes& wishes) {
  const std::unique_ptr<MailLibrary> library = MakeLibrary();
  for (const std::string& word : wishes.sets) {
    MessageSet set = ReadMessageSet(word, wishes.setsFolder, ZEVKA_CORPUS, wishes.mostBytes);
    if (wishes.memory) {
      WeighMemory(*library, wishes, set);
      return;
    }
    ClockSet(*library, wishes, std::move(set));
  }
}

}  // namespace
}  // namespace zevka::bench

int main(int argumentCount, char** arguments) {
  try {
    zevka::bench::Run(zevka::bench::ReadWishes(
        std::vector<std::string>(arguments + 1, arguments + argumentCount)));
    return 0;
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "%s: %s\n", arguments[0], fault.what());
    return 1;
  }
}
