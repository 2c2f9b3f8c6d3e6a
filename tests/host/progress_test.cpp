#include "host/cli/progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace zevka::host {
namespace {

using std::chrono::milliseconds;

// A terminal and a clock in the hands of the test.
struct Stage {
  std::string written;
  std::size_t columns = 60;
  Progress::Time now;
  bool escapes = true;
  bool colours = false;

  ProgressOutput Output() {
    return {[this](std::string_view text) { written.append(text); }, [this] { return columns; },
            escapes, colours};
  }
  Progress::Clock Clock() {
    return [this] { return now; };
  }
  // What was written since it was asked last.
  std::string Take() {
    std::string text;
    text.swap(written);
    return text;
  }
};

ProgressState StateOf(std::uint64_t files, std::uint64_t bytes, double seconds) {
  return {files, 40, bytes, 100'000'000, seconds, false};
}

TEST(ProgressLine, HasPercentBarRateFilesAndTheTimeLeft) {
  EXPECT_EQ(ProgressLine(StateOf(12, 45'000'000, 4), 60, false),
            " 45% [########          ]  11.2 MB/s  12/40 files  ETA 0:05");
  EXPECT_EQ(ProgressLine(StateOf(0, 0, 0), 60, false),
            "  0% [                      ]  - MB/s  0/40 files  ETA -:--");
}

TEST(ProgressLine, GrowsTheBarToABound) {
  const std::string line = ProgressLine(StateOf(20, 50'000'000, 5), 200, false);
  EXPECT_EQ(line, std::string(" 50% [") + std::string(20, '#') + std::string(20, ' ') +
                      "]  10.0 MB/s  20/40 files  ETA 0:05");
}

TEST(ProgressLine, TakesEightyColumnsWhenTheyAreUnknown) {
  EXPECT_EQ(ProgressLine(StateOf(20, 50'000'000, 5), 0, false),
            ProgressLine(StateOf(20, 50'000'000, 5), 80, false));
}

TEST(ProgressLine, LeavesOutTheLeastWantedWhenNarrow) {
  const ProgressState state = StateOf(12, 45'000'000, 4);
  EXPECT_EQ(ProgressLine(state, 40, false), " 45%  11.2 MB/s  12/40 files  ETA 0:05");
  EXPECT_EQ(ProgressLine(state, 39, false), " 45%  11.2 MB/s  12/40 files  ETA 0:05");
  EXPECT_EQ(ProgressLine(state, 38, false), " 45%  12/40 files  ETA 0:05");
  EXPECT_EQ(ProgressLine(state, 27, false), " 45%  11.2 MB/s  ETA 0:05");
  EXPECT_EQ(ProgressLine(state, 20, false), " 45%  ETA 0:05");
  EXPECT_EQ(ProgressLine(state, 10, false), " 45%");
  EXPECT_EQ(ProgressLine(state, 4, false), "");
  EXPECT_EQ(ProgressLine(state, 1, false), "");
}

TEST(ProgressLine, IsAlwaysShorterThanTheTerminal) {
  for (std::size_t columns = 1; columns < 120; ++columns) {
    for (const std::uint64_t bytes : {0U, 1U, 50'000'000U, 100'000'000U}) {
      EXPECT_LT(ProgressLine(StateOf(39, bytes, 3), columns, false).size(), columns);
    }
  }
}

TEST(ProgressLine, ColoursTheDonePart) {
  EXPECT_EQ(ProgressLine(StateOf(20, 50'000'000, 5), 52, true),
            " 50% [\x1B[32m#####\x1B[0m     ]  10.0 MB/s  20/40 files  ETA 0:05");
}

TEST(ProgressLine, IsDoneOnlyWithTheLastFile) {
  const auto percentOf = [](const ProgressState& state) { return ProgressLine(state, 5, false); };
  EXPECT_EQ(percentOf({39, 40, 100, 100, 1, false}), " 99%");
  EXPECT_EQ(percentOf({39, 40, 120, 100, 1, false}), " 99%");
  EXPECT_EQ(percentOf({40, 40, 90, 100, 1, false}), "100%");
  EXPECT_EQ(percentOf({10, 40, 29, 100, 1, false}), " 29%");
  EXPECT_EQ(percentOf({10, 40, 0, 0, 1, false}), " 25%");
  EXPECT_EQ(percentOf({0, 0, 0, 0, 0, false}), "100%");
}

TEST(ProgressLine, WritesRatesAndTimesOfAnySize) {
  struct RateCase {
    std::uint64_t bytes;
    std::uint64_t bytesTotal;
    double seconds;
    bool finished;
    std::string_view end;
  };
  for (const RateCase& test : {
           RateCase{20'000, 30'000, 2, false, "  0.01 MB/s  1/2 files  ETA 0:01"},
           RateCase{123'400'000, 200'000'000, 1, false, "  123 MB/s  1/2 files  ETA 0:01"},
           RateCase{1'000'000, 60'500'000, 1, false, "  1.0 MB/s  1/2 files  ETA 1:00"},
           RateCase{1'000'000, 3'662'000'000, 1, false, "  1.0 MB/s  1/2 files  ETA 1:01:01"},
           RateCase{1, 1'000'000'000, 1, false, "  0.00 MB/s  1/2 files  ETA -:--"},
           RateCase{2, 1, 1, false, "  0.00 MB/s  1/2 files  ETA -:--"},
           RateCase{5'000'000, 6'000'000, 61.5, true, "  0.08 MB/s  1/2 files  in 1:02"},
       }) {
    const std::string line =
        ProgressLine({1, 2, test.bytes, test.bytesTotal, test.seconds, test.finished}, 80, false);
    EXPECT_TRUE(line.ends_with(std::string("]").append(test.end))) << line;
  }
}

TEST(ProgressJson, HasAllFiguresInOrder) {
  EXPECT_EQ(ProgressJson(StateOf(12, 45'000'000, 4.00049)),
            "{\"files\":12,\"files_total\":40,\"bytes\":45000000,\"bytes_total\":100000000,"
            "\"seconds\":4.0,\"rate\":11248622,\"eta\":5}");
  EXPECT_EQ(ProgressJson(StateOf(0, 0, 0)),
            "{\"files\":0,\"files_total\":40,\"bytes\":0,\"bytes_total\":100000000,"
            "\"seconds\":0.0,\"rate\":null,\"eta\":null}");
  EXPECT_EQ(ProgressJson({1, 1, 0, 0, 0.1255, true}),
            "{\"files\":1,\"files_total\":1,\"bytes\":0,\"bytes_total\":0,"
            "\"seconds\":0.126,\"rate\":null,\"eta\":0}");
}

TEST(Progress, AlwaysDrawsFromTheStartAndLeavesTheLastLine) {
  Stage stage;
  stage.columns = 20;
  Progress progress(ProgressMode::kAlways, 2, 100, stage.Output(), stage.Clock());
  EXPECT_EQ(stage.Take(), "\r  0%  ETA -:--\x1B[K");
  stage.now += milliseconds(1000);
  progress.FileDone(50);
  EXPECT_EQ(stage.Take(), "\r 50%  ETA 0:01\x1B[K");
  stage.now += milliseconds(1000);
  progress.FileDone(50);
  EXPECT_EQ(stage.Take(), "\r100%  ETA 0:00\x1B[K");
  progress.Finish();
  EXPECT_EQ(stage.Take(), "\r100%  in 0:02\x1B[K\n");
  progress.Finish();
  progress.FileDone(1);
  progress.Interrupt([] {});
  EXPECT_EQ(stage.Take(), "");
}

TEST(Progress, DrawsAtMostTenTimesASecond) {
  Stage stage;
  stage.columns = 5;
  Progress progress(ProgressMode::kAlways, 100, 0, stage.Output(), stage.Clock());
  stage.Take();
  stage.now += milliseconds(99);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "");
  stage.now += milliseconds(1);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "\r  2%\x1B[K");
  stage.now += milliseconds(99);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "");
}

TEST(Progress, AutoWaitsAWhileOnATerminal) {
  Stage stage;
  stage.columns = 5;
  Progress progress(ProgressMode::kAuto, 100, 0, stage.Output(), stage.Clock());
  stage.now += milliseconds(299);
  progress.FileDone(0);
  progress.Interrupt([&stage] { stage.written.append("error\n"); });
  EXPECT_EQ(stage.Take(), "error\n");
  stage.now += milliseconds(1);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "\r  2%\x1B[K");
}

TEST(Progress, AutoSaysNothingOfAShortBatch) {
  Stage stage;
  Progress progress(ProgressMode::kAuto, 1, 0, stage.Output(), stage.Clock());
  progress.FileDone(0);
  progress.Finish();
  EXPECT_EQ(stage.Take(), "");
}

TEST(Progress, SaysNothingWithoutATerminalOrWhenToldSo) {
  Stage plain;
  plain.escapes = false;
  Stage terminal;
  Progress automatic(ProgressMode::kAuto, 2, 0, plain.Output(), plain.Clock());
  Progress never(ProgressMode::kNever, 2, 0, terminal.Output(), terminal.Clock());
  plain.now += milliseconds(5000);
  terminal.now += milliseconds(5000);
  for (Progress* const progress : {&automatic, &never}) {
    progress->FileDone(0);
    progress->Interrupt([] {});
    progress->Finish();
  }
  EXPECT_EQ(plain.written + terminal.written, "");
}

TEST(Progress, ClearsTheBarForWhatOthersWrite) {
  Stage stage;
  stage.columns = 5;
  Progress progress(ProgressMode::kAlways, 2, 0, stage.Output(), stage.Clock());
  stage.Take();
  progress.Interrupt([&stage] { stage.written.append("error\n"); });
  EXPECT_EQ(stage.Take(), "\r\x1B[Kerror\n\r  0%\x1B[K");
  stage.now += milliseconds(99);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "");
}

TEST(Progress, GoesOnAfterAnErrorInWhatOthersWrite) {
  Stage stage;
  stage.columns = 5;
  Progress progress(ProgressMode::kAlways, 2, 0, stage.Output(), stage.Clock());
  stage.Take();
  EXPECT_THROW(progress.Interrupt([] { throw std::runtime_error("lost"); }), std::runtime_error);
  EXPECT_EQ(stage.Take(), "\r\x1B[K");
  stage.now += milliseconds(100);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "\r 50%\x1B[K");
}

TEST(Progress, OverwritesWithBlanksWhereNothingElseClears) {
  Stage stage;
  stage.escapes = false;
  stage.columns = 20;
  Progress progress(ProgressMode::kAlways, 2, 0, stage.Output(), stage.Clock());
  EXPECT_EQ(stage.Take(), "\r  0%  ETA -:--");
  stage.columns = 5;
  stage.now += milliseconds(100);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "\r 50%          ");
  progress.Interrupt([&stage] { stage.written.append("error\n"); });
  EXPECT_EQ(stage.Take(), "\r    \rerror\n\r 50%");
}

TEST(Progress, TakesAnUnfinishedBarAway) {
  Stage stage;
  stage.columns = 5;
  { const Progress progress(ProgressMode::kAlways, 2, 0, stage.Output(), stage.Clock()); }
  EXPECT_EQ(stage.Take(), "\r  0%\x1B[K\r\x1B[K");
}

TEST(Progress, WritesJsonOnceASecondAndAtTheEnd) {
  Stage stage;
  stage.escapes = false;
  const auto line = [](std::string_view files, std::string_view seconds, std::string_view eta) {
    return std::string("{\"files\":").append(files) +
           ",\"files_total\":3,\"bytes\":0,\"bytes_total\":0,\"seconds\":" + std::string(seconds) +
           ",\"rate\":null,\"eta\":" + std::string(eta) + "}\n";
  };
  Progress progress(ProgressMode::kJson, 3, 0, stage.Output(), stage.Clock());
  stage.now += milliseconds(999);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), "");
  stage.now += milliseconds(1);
  progress.FileDone(0);
  EXPECT_EQ(stage.Take(), line("2", "1.0", "null"));
  stage.now += milliseconds(999);
  progress.FileDone(0);
  progress.Interrupt([&stage] { stage.written.append("error\n"); });
  EXPECT_EQ(stage.Take(), "error\n");
  progress.Finish();
  EXPECT_EQ(stage.Take(), line("3", "1.999", "0"));
}

TEST(ProgressThreads, CountEveryFileAndTearNoLine) {
  Stage stage;
  stage.columns = 50;
  Progress progress(ProgressMode::kAlways, 4000, 4000, stage.Output(), stage.Clock());
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&progress, &stage] {
      for (int file = 0; file < 1000; ++file) {
        progress.FileDone(1);
        progress.Interrupt([&stage] { stage.now += milliseconds(7); });
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  stage.Take();
  progress.Finish();
  EXPECT_EQ(stage.Take(), "\r100%  0.00 MB/s  4000/4000 files  in 0:28\x1B[K\n");
}

// Has standard error be something else for a while; TERM and NO_COLOR come back as well.
class StandardErrorTest : public testing::Test {
 protected:
  StandardErrorTest() : saved_(::dup(STDERR_FILENO)) {
    for (const char* const name : {"TERM", "NO_COLOR"}) {
      const char* const value = std::getenv(name);
      variables_.emplace_back(name, value == nullptr ? std::optional<std::string>() : value);
    }
    Set("NO_COLOR", std::nullopt);
  }
  ~StandardErrorTest() override {
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
    for (const int descriptor : open_) {
      ::close(descriptor);
    }
    for (const auto& [name, value] : variables_) {
      Set(name, value);
    }
  }

  static void Set(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name.c_str());
    }
  }

  // False when the system gives no terminal.
  bool UseTerminal(unsigned short columns) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0) {
      return false;
    }
    open_.push_back(master);
    if (::grantpt(master) != 0 || ::unlockpt(master) != 0) {
      return false;
    }
    const int slave = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
    if (slave < 0) {
      return false;
    }
    open_.push_back(slave);
    struct winsize size {};
    size.ws_row = 24;
    size.ws_col = columns;
    return ::ioctl(slave, TIOCSWINSZ, &size) == 0 && ::dup2(slave, STDERR_FILENO) >= 0;
  }

  // What was written to the terminal.
  std::string Written() const {
    std::string text(100, '\0');
    const ssize_t read = ::read(open_.front(), text.data(), text.size());
    return text.substr(0, read < 0 ? 0 : static_cast<std::size_t>(read));
  }

  void UseFile() {
    open_.push_back(::open("/dev/null", O_WRONLY));
    ::dup2(open_.back(), STDERR_FILENO);
  }

 private:
  int saved_;
  std::vector<int> open_;
  std::vector<std::pair<std::string, std::optional<std::string>>> variables_;
};

TEST_F(StandardErrorTest, HasNoEscapesOnAFile) {
  UseFile();
  Set("TERM", "xterm");
  const ProgressOutput output = StandardErrorOutput();
  EXPECT_FALSE(output.escapes);
  EXPECT_FALSE(output.colours);
  EXPECT_EQ(output.columns(), 0U);
}

TEST_F(StandardErrorTest, KnowsWhatTheTerminalCan) {
  if (!UseTerminal(33)) {
    GTEST_SKIP() << "no terminal to be had";
  }
  Set("TERM", "xterm");
  EXPECT_TRUE(StandardErrorOutput().escapes);
  EXPECT_TRUE(StandardErrorOutput().colours);
  EXPECT_EQ(StandardErrorOutput().columns(), 33U);
  Set("NO_COLOR", "");
  EXPECT_TRUE(StandardErrorOutput().colours);
  Set("NO_COLOR", "1");
  EXPECT_TRUE(StandardErrorOutput().escapes);
  EXPECT_FALSE(StandardErrorOutput().colours);
  Set("NO_COLOR", std::nullopt);
  Set("TERM", "dumb");
  EXPECT_FALSE(StandardErrorOutput().escapes);
  EXPECT_FALSE(StandardErrorOutput().colours);
  Set("TERM", std::nullopt);
  EXPECT_FALSE(StandardErrorOutput().escapes);
}

TEST_F(StandardErrorTest, IsWhereTheBarGoes) {
  if (!UseTerminal(5)) {
    GTEST_SKIP() << "no terminal to be had";
  }
  Set("TERM", "xterm");
  const Progress progress(ProgressMode::kAlways, 2, 0);
  EXPECT_EQ(Written(), "\r  0%\x1B[K");
}

}  // namespace
}  // namespace zevka::host
