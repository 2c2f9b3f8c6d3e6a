// How far a batch has come: a bar for people, lines of JSON for programs, both on standard error.
// Counting and drawing only; what is worked on, and by how many threads, is left to others.
//
//    45% [#########           ]  13.2 MB/s  12/40 files  ETA 0:42
//   {"files":12,"files_total":40,"bytes":...,"bytes_total":...,"seconds":...,"rate":...,"eta":...}
//
// The bar is one line, drawn over itself at most ten times a second. Whoever else writes to the
// same terminal does so inside Interrupt, so that the bar is not torn.
//
// Threads: a Progress may be used by any number of threads. Nothing throws but for want of memory;
// a message that cannot be written to standard error is lost.
#ifndef ZEVKA_HOST_CLI_PROGRESS_H
#define ZEVKA_HOST_CLI_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace zevka::host {

enum class ProgressMode {
  kAuto,    // a bar if standard error is a terminal that can clear a line, once it takes a while
  kAlways,  // a bar, from the start
  kNever,
  kJson,  // a line of JSON at most once a second, and one at the end
};

struct ProgressState {
  std::uint64_t files = 0;
  std::uint64_t filesTotal = 0;
  std::uint64_t bytes = 0;
  std::uint64_t bytesTotal = 0;
  double seconds = 0;     // since the start
  bool finished = false;  // the last state, also when not all files were reached
};

// Bytes per second since the start, and the seconds left at that rate; nothing before both time and
// bytes have passed.
std::optional<double> BytesPerSecond(const ProgressState& state);
std::optional<std::uint64_t> SecondsLeft(const ProgressState& state);

// The bar as one line without its end, always shorter than the terminal is wide; a narrow terminal
// gets less of it.
//   columns  width of the terminal; 0 when unknown
//   colours  marks the done part by a terminal colour
std::string ProgressLine(const ProgressState& state, std::size_t columns, bool colours);

// The line of JSON, without its end. rate is in bytes per second; rate and eta are null when
// unknown.
std::string ProgressJson(const ProgressState& state);

// Where a Progress writes to.
struct ProgressOutput {
  std::function<void(std::string_view)> write;
  std::function<std::size_t()> columns;  // asked before each drawing; 0 when unknown
  bool escapes = false;                  // it is a terminal that clears a line when told so
  bool colours = false;                  // its user wants colours; not without escapes
};
// Standard error, as it and TERM, NO_COLOR and the terminal's size are.
ProgressOutput StandardErrorOutput();

class Progress {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Clock = std::function<Time()>;

  // The batch starts now.
  Progress(ProgressMode mode, std::uint64_t filesTotal, std::uint64_t bytesTotal,
           ProgressOutput output = StandardErrorOutput(),
           Clock clock = std::chrono::steady_clock::now);
  // Takes a bar away that was not finished.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // One more file is done, of so many bytes.
  void FileDone(std::uint64_t bytes);

  // The same for a piece of a file that is not yet done.
  void BytesDone(std::uint64_t bytes);

  // Has a function write to the same terminal: clears the bar, runs it, draws the bar again. What
  // it throws passes through. It must not call back.
  void Interrupt(const std::function<void()>& write);

  // Shows the last state and leaves it standing. Nothing is drawn from then on.
  void Finish();

 private:
  enum class Form { kNone, kBar, kJson };

  static Form FormOf(ProgressMode mode, const ProgressOutput& output);

  // All of these with the mutex held.
  void ShowIfDue();
  void Show(Time now);
  void DrawBar();
  void ClearBar();

  const ProgressOutput output_;
  const Clock clock_;
  const Form form_;
  const Time start_;

  std::mutex mutex_;  // guards all below, and the order of what is written
  ProgressState state_;
  Time due_;                    // nothing is shown before
  std::size_t drawnBytes_ = 0;  // of the bar that stands on the terminal; 0 for none
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_PROGRESS_H
