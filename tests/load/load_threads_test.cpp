// Many threads at once, each with work of its own or together on one part: what comes out is what
// one thread makes of it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/load/work.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

#ifdef __SANITIZE_THREAD__
constexpr int kThreads = 8;
constexpr std::size_t kSamples = 12;
#else
constexpr int kThreads = 32;
constexpr std::size_t kSamples = 60;
#endif
constexpr std::size_t kLargestSample = 60000;  // bytes

// All threads live until the last is done.
template <typename Body>
void InThreads(int threads, Body body) {
  std::barrier meeting(threads);
  std::vector<std::thread> running;
  for (int number = 0; number < threads; ++number) {
    running.emplace_back([&meeting, &body, number] {
      meeting.arrive_and_wait();
      body(number);
      meeting.arrive_and_wait();
    });
  }
  for (std::thread& thread : running) {
    thread.join();
  }
}

struct Faults {
  std::atomic<int> count{0};
  void Unless(bool right) { count += right ? 0 : 1; }
};

// The messages made here and some of the samples, from all over the folder.
std::vector<std::string> Messages() {
  std::vector<std::string> messages = MadeMessages();
  const std::vector<std::string> samples = SampleMessages(ZEVKA_CORPUS, kLargestSample);
  for (std::size_t at = 0; at < samples.size(); at += 1 + samples.size() / kSamples) {
    messages.push_back(samples[at]);
  }
  return messages;
}

// Every job for every message.
std::vector<std::string> AllResults(const Host& host, const std::vector<std::string>& messages,
                                    const std::string& path) {
  std::vector<std::string> results;
  for (const std::string& message : messages) {
    for (std::size_t job = 0; job < kJobs; ++job) {
      results.push_back(Done(host, message, static_cast<Job>(job), path));
    }
  }
  return results;
}

TEST(LoadThreads, WorkOnMessagesOfTheirOwn) {
  const Host host;
  const TempDir folder;
  const std::vector<std::string> messages = Messages();
  const std::vector<std::string> expected = AllResults(host, messages, folder.Path("alone"));
  EXPECT_EQ(AllResults(host, messages, folder.Path("alone")), expected);
  Faults faults;
  InThreads(kThreads, [&](int number) {
    const std::string path = folder.Path("of-" + std::to_string(number));
    // Each begins somewhere else and does a share, so that all is done a few times.
    const auto shift = static_cast<std::size_t>(number) * 7;
    for (std::size_t at = 0; at < expected.size() / 4; ++at) {
      const std::size_t work = (at * 5 + shift * 31) % expected.size();
      faults.Unless(Done(host, messages[work / kJobs], static_cast<Job>(work % kJobs), path) ==
                    expected[work]);
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(LoadThreads, ReadOnePartTogether) {
  const Host host;
  for (const std::string& bytes : MadeMessages()) {
    const Message alone(host, bytes);
    // The fields are read before the bodies, and a faulty body adds two when it is decoded.
    const std::string early = Everything(alone.get());
    const std::string late = Everything(alone.get());
    // Nothing is decoded yet in this one.
    const Message shared(host, bytes);
    Faults faults;
    InThreads(kThreads, [&](int) {
      for (int round = 0; round < 3; ++round) {
        const std::string read = Everything(shared.get());
        faults.Unless(read == late || (round == 0 && read == early));
      }
    });
    EXPECT_EQ(faults.count, 0) << bytes.substr(0, 60);
  }
}

TEST(LoadThreads, ShareAPackerAndMakeOthers) {
  const Host host;
  const std::string bytes = MadeMessages()[6];
  const std::string expected = host.Rewritten(bytes);
  Faults faults;
  InThreads(kThreads, [&](int number) {
    for (int round = 0; round < 5; ++round) {
      if (number % 2 == 0) {
        faults.Unless(host.Rewritten(bytes) == expected);
      } else {
        const Host another;
        faults.Unless(another.Rewritten(bytes) == expected);
      }
    }
  });
  EXPECT_EQ(faults.count, 0);
}

TEST(LoadThreads, CommitToDiskTogether) {
  const Host host;
  const TempDir folder;
  const std::vector<std::string> messages = MadeMessages();
  std::vector<std::string> expected;
  for (const std::string& message : messages) {
    expected.push_back(Done(host, message, Job::kDiskFooter, folder.Path("alone")));
  }
  Faults faults;
  InThreads(kThreads, [&](int number) {
    const std::string path = folder.Path("m" + std::to_string(number));
    for (std::size_t at = 0; at < messages.size(); ++at) {
      faults.Unless(Done(host, messages[at], Job::kDiskFooter, path) == expected[at]);
    }
  });
  EXPECT_EQ(faults.count, 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

// Each thread's message fits; all of them do not.
TEST(LoadThreads, UseUpTheBudgetTogether) {
  const TempDir folder;
  InChildAt(folder.Path(), [&folder] {
    const Host host;
    constexpr int kHungry = 6;
    std::string body;
    while (body.size() < 9000000) {
      body += "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVphYmNkZWZnaGlqa2xtbm9wcXJzdHV2d3h5ejAx\r\n";
    }
    const std::string bytes =
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Transfer-Encoding: "
        "base64\r\n\r\n" +
        body + "--b--\r\n\r\n";
    const std::string decoded = [&] {
      const Message alone(host, bytes);
      return Host::Decoded(Host::Children(alone.get())[0]);
    }();
    Faults faults;
    std::barrier step(kHungry);
    InThreads(kHungry, [&](int number) {
      PartObject* const part = host.Open(bytes);
      step.arrive_and_wait();  // all are open: their bodies and messages use the budget up
      faults.Unless(Host::Decoded(Host::Children(part)[0]) == decoded);
      step.arrive_and_wait();
      if (number % 2 == 0) {
        faults.Unless(host.Close(part, true) == bytes);
      } else {
        host.Discard(part);
      }
    });
    EXPECT_EQ(faults.count, 0);
    EXPECT_TRUE(BudgetIsFree(host, folder.Path("most")));
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << "something stayed on disk";
  });
}

// Hosts that come and go, and with them the library, while other libraries come and go.
TEST(LoadThreads, LoadAndUnloadTheLibraryAmongOthers) {
  const std::string bytes = MadeMessages()[5];
  const std::string expected = [&] {
    const Host host;
    return host.Rewritten(bytes);
  }();
  const char* const others[] = {"libresolv.so.2", "libBrokenLocale.so.1", "libanl.so.1",
                                "libthread_db.so.1", "libutil.so.1"};
  Faults faults;
  std::atomic<int> loaded{0};
  InThreads(8, [&](int number) {
    for (int round = 0; round < 25; ++round) {
      if (number % 2 == 0) {
        const Host host;
        faults.Unless(host.Rewritten(bytes) == expected);
      } else if (void* const other = ::dlopen(others[(number + round) % 5], RTLD_NOW)) {
        ++loaded;
        ::dlclose(other);
      }
    }
  });
  EXPECT_EQ(faults.count, 0);
  EXPECT_GT(loaded, 0);
}

}  // namespace
}  // namespace zevka::test
