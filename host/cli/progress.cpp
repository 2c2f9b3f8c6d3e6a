#include "host/cli/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <utility>

namespace zevka::host {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBarInterval(100);
constexpr milliseconds kJsonInterval(1000);
// A batch that is done sooner shows no bar unless asked to.
constexpr milliseconds kPatience(300);

constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kLeastBarChars = 10;
constexpr std::size_t kMostBarChars = 40;
constexpr std::string_view kGap = "  ";
constexpr std::string_view kClearToEnd = "\x1B[K";
constexpr std::string_view kGreen = "\x1B[32m";
constexpr std::string_view kPlain = "\x1B[0m";
constexpr double kLongestEta = 100.0 * 3600;

// How much is done: by bytes, or by files when there are no bytes. 100 only when all is.
double DonePercent(const ProgressState& state) {
  if (state.files >= state.filesTotal) {
    return 100;
  }
  const bool byBytes = state.bytesTotal != 0;
  const auto done = static_cast<double>(byBytes ? state.bytes : state.files);
  const auto total = static_cast<double>(byBytes ? state.bytesTotal : state.filesTotal);
  return std::min(done * 100 / total, 99.0);
}

std::string PercentText(double percent) {
  std::string text = std::to_string(static_cast<int>(percent));
  return text.insert(0, text.size() < 3 ? 3 - text.size() : 0, ' ').append("%");
}

std::string FixedText(double value, int digits) {
  std::array<char, 64> buffer{};
  const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                          std::chars_format::fixed, digits);
  return error == std::errc() ? std::string(buffer.data(), end) : std::string("?");
}

std::string RateText(const ProgressState& state) {
  const std::optional<double> rate = BytesPerSecond(state);
  if (!rate) {
    return "- MB/s";
  }
  const double megabytes = *rate / 1e6;
  const int digits = megabytes < 1 ? 2 : megabytes < 100 ? 1 : 0;
  return FixedText(megabytes, digits).append(" MB/s");
}

// m:ss or h:mm:ss
std::string DurationText(std::uint64_t seconds) {
  const auto twoDigits = [](std::uint64_t value) {
    return std::string(value < 10 ? "0" : "").append(std::to_string(value));
  };
  const std::uint64_t minutes = seconds / 60;
  std::string text;
  if (minutes < 60) {
    text = std::to_string(minutes);
  } else {
    text = std::to_string(minutes / 60);
    text.append(":").append(twoDigits(minutes % 60));
  }
  return text.append(":").append(twoDigits(seconds % 60));
}

std::string TimeText(const ProgressState& state) {
  if (state.finished) {
    return std::string("in ").append(
        DurationText(static_cast<std::uint64_t>(std::ceil(state.seconds))));
  }
  const std::optional<std::uint64_t> left = SecondsLeft(state);
  return std::string("ETA ").append(left ? DurationText(*left) : "-:--");
}

std::string FilesText(const ProgressState& state) {
  std::string text = std::to_string(state.files);
  return text.append("/").append(std::to_string(state.filesTotal)).append(" files");
}

std::string BarText(double percent, std::size_t chars, bool colours) {
  const auto done = static_cast<std::size_t>(percent * static_cast<double>(chars) / 100);
  std::string text(" [");
  text.append(colours ? kGreen : "").append(done, '#').append(colours ? kPlain : "");
  return text.append(chars - done, ' ').append("]");
}

// A variable of the environment; empty when it is not there.
std::string_view Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string_view() : value;
}

bool KnowsEscapes() {
  const std::string_view terminal = Variable("TERM");
  return !terminal.empty() && terminal != "dumb";
}

std::size_t TerminalColumns() {
  struct winsize size {};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

void WriteToStandardError(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0 && errno != EINTR) {
      return;
    }
    text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
  }
}

}  // namespace

std::optional<double> BytesPerSecond(const ProgressState& state) {
  if (state.seconds <= 0 || state.bytes == 0) {
    return std::nullopt;
  }
  return static_cast<double>(state.bytes) / state.seconds;
}

std::optional<std::uint64_t> SecondsLeft(const ProgressState& state) {
  if (state.files >= state.filesTotal) {
    return 0;
  }
  const std::optional<double> rate = BytesPerSecond(state);
  if (!rate || state.bytes > state.bytesTotal) {
    return std::nullopt;
  }
  const double left = static_cast<double>(state.bytesTotal - state.bytes) / *rate;
  if (left > kLongestEta) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(std::ceil(left));
}

std::string ProgressLine(const ProgressState& state, std::size_t columns, bool colours) {
  // The last column stays free: some terminals turn to the next line when it is written.
  const std::size_t room = (columns == 0 ? kUsualColumns : columns) - 1;
  const double percent = DonePercent(state);
  std::string line = PercentText(percent);
  if (line.size() > room) {
    return {};
  }
  // The most wanted comes first, each only if it fits; they stand the other way round.
  std::string tail;
  for (const std::string& piece : {TimeText(state), FilesText(state), RateText(state)}) {
    if (line.size() + tail.size() + kGap.size() + piece.size() <= room) {
      tail.insert(0, std::string(kGap).append(piece));
    }
  }
  const std::size_t used = line.size() + tail.size() + std::string_view(" []").size();
  if (used + kLeastBarChars <= room) {
    line.append(BarText(percent, std::min(room - used, kMostBarChars), colours));
  }
  return line.append(tail);
}

std::string ProgressJson(const ProgressState& state) {
  nlohmann::ordered_json json;
  json["files"] = state.files;
  json["files_total"] = state.filesTotal;
  json["bytes"] = state.bytes;
  json["bytes_total"] = state.bytesTotal;
  json["seconds"] = std::round(state.seconds * 1000) / 1000;
  json["rate"] = nullptr;
  json["eta"] = nullptr;
  if (const std::optional<double> rate = BytesPerSecond(state)) {
    json["rate"] = static_cast<std::uint64_t>(std::llround(*rate));
  }
  if (const std::optional<std::uint64_t> left = SecondsLeft(state)) {
    json["eta"] = *left;
  }
  return json.dump();
}

ProgressOutput StandardErrorOutput() {
  ProgressOutput output;
  output.write = WriteToStandardError;
  output.columns = TerminalColumns;
  output.escapes = ::isatty(STDERR_FILENO) == 1 && KnowsEscapes();
  output.colours = output.escapes && Variable("NO_COLOR").empty();
  return output;
}

Progress::Form Progress::FormOf(ProgressMode mode, const ProgressOutput& output) {
  switch (mode) {
    case ProgressMode::kAuto:
      return output.escapes ? Form::kBar : Form::kNone;
    case ProgressMode::kAlways:
      return Form::kBar;
    case ProgressMode::kJson:
      return Form::kJson;
    case ProgressMode::kNever:
      break;
  }
  return Form::kNone;
}

Progress::Progress(ProgressMode mode, std::uint64_t filesTotal, std::uint64_t bytesTotal,
                   ProgressOutput output, Clock clock)
    : output_(std::move(output)),
      clock_(std::move(clock)),
      form_(FormOf(mode, output_)),
      start_(clock_()),
      due_(start_) {
  state_.filesTotal = filesTotal;
  state_.bytesTotal = bytesTotal;
  if (mode == ProgressMode::kAlways) {
    Show(start_);
  } else {
    due_ += mode == ProgressMode::kJson ? kJsonInterval : kPatience;
  }
}

Progress::~Progress() {
  ClearBar();
}

void Progress::FileDone(std::uint64_t bytes) {
  const std::lock_guard<std::mutex> guard(mutex_);
  ++state_.files;
  state_.bytes += bytes;
  ShowIfDue();
}

void Progress::BytesDone(std::uint64_t bytes) {
  const std::lock_guard<std::mutex> guard(mutex_);
  state_.bytes += bytes;
  ShowIfDue();
}

void Progress::Interrupt(const std::function<void()>& write) {
  const std::lock_guard<std::mutex> guard(mutex_);
  const bool stood = drawnBytes_ != 0;
  ClearBar();
  write();
  if (stood) {
    Show(clock_());
  }
}

void Progress::Finish() {
  const std::lock_guard<std::mutex> guard(mutex_);
  if (state_.finished) {
    return;
  }
  state_.finished = true;
  if (form_ == Form::kJson || drawnBytes_ != 0) {
    Show(clock_());
  }
  if (drawnBytes_ != 0) {
    output_.write("\n");
    drawnBytes_ = 0;
  }
}

void Progress::ShowIfDue() {
  if (form_ == Form::kNone || state_.finished) {
    return;
  }
  const Time now = clock_();
  if (now >= due_) {
    Show(now);
  }
}

void Progress::Show(Time now) {
  state_.seconds = std::chrono::duration<double>(now - start_).count();
  if (form_ == Form::kJson) {
    output_.write(ProgressJson(state_).append("\n"));
    due_ = now + kJsonInterval;
  } else {
    DrawBar();
    due_ = now + kBarInterval;
  }
}

// Draws over the bar that stands there, so that it does not flicker.
void Progress::DrawBar() {
  const std::string line = ProgressLine(state_, output_.columns(), output_.colours);
  std::string text("\r");
  text.append(line);
  if (output_.escapes) {
    text.append(kClearToEnd);
  } else if (line.size() < drawnBytes_) {
    text.append(drawnBytes_ - line.size(), ' ');
  }
  output_.write(text);
  drawnBytes_ = line.size();
}

void Progress::ClearBar() {
  if (drawnBytes_ == 0) {
    return;
  }
  std::string text("\r");
  if (output_.escapes) {
    text.append(kClearToEnd);
  } else {
    text.append(drawnBytes_, ' ').append("\r");
  }
  output_.write(text);
  drawnBytes_ = 0;
}

}  // namespace zevka::host
