// What all subcommands share: where the library is, how problems are reported and how the command
// ends.
//
// Every problem is one line on standard error, "zevka: FILE: reason". The exit status is that of
// the first failure; kExitNotAsAsked gives way to any failure.
//
// Threads: Report, Say and Note may be called by several threads at once; the rest by one.
#ifndef ZEVKA_HOST_CLI_SESSION_H
#define ZEVKA_HOST_CLI_SESSION_H

#include <zevka/host.h>

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/exit_status.h"

namespace zevka::host {

// The word for standard input, and for standard output where a command writes.
constexpr std::string_view kStandardStream = "-";

// A file as the user named it, and where it is, also after the process has moved to another folder.
struct InputFile {
  std::string given;
  std::string absolute;  // empty for standard input

  bool IsStandardInput() const { return absolute.empty(); }
};
InputFile NamedInput(const std::string& given);

// The bytes of a message file or of standard input. Throws CommandFailure.
std::string ReadInput(const InputFile& file);

// One message of an input.
struct InputMessage {
  std::string
      given;  // as it is spoken of: the file as it was named, "FILE#2" for the second of an mbox
  std::string bytes;
};

// Whether the bytes are those of an mbox with several messages. A message that was saved with its
// separator is a message.
bool HoldsSeveralMessages(std::string_view bytes);

// How the message of that number, from 1 on, of an mbox is spoken of.
std::string NameInMbox(const std::string& given, std::size_t number);

// The path from the root.
std::string Absolute(const std::string& path);

// Text to standard output. Used by one thread at a time.
void Print(std::string_view text);
// Hands on what was printed so far.
void FlushPrinted();
// Brings standard output to its end. Result: 0, or the errno of the first failure since the start.
int EndOfPrinting();

class Session {
 public:
  // Where the library is, as the user gave it; empty for the usual places. Bound to an option.
  std::string libraryPath;

  // Loads the library and calls `work` with a packer, while the process works in a scratch folder.
  // What the library lays down for messages from memory goes with that folder. What `work` throws
  // is reported for the command as a whole; false then, and when there is no library.
  bool WithPacker(const std::function<void(const Packer&)>& work);

  // The same for each file in turn: what `work` throws is reported for its file, and the next one
  // follows.
  void ForEach(const std::vector<std::string>& files,
               const std::function<void(const Packer&, const InputFile&)>& work);

  // The same for each message: an mbox file is taken apart.
  void ForEachMessage(const std::vector<std::string>& files,
                      const std::function<void(const Packer&, const InputMessage&)>& work);

  // Runs `work`; what it throws becomes a line and a status for `subject`. False when it threw.
  bool Guarded(const std::string& subject, const std::function<void()>& work);

  // One line on standard error; `subject` may be a file, a folder or a text.
  void Report(std::string_view subject, std::string_view reason, ExitStatus status);
  // One line on standard error that is no failure.
  void Say(std::string_view text);
  // The status only.
  void Note(ExitStatus status);
  ExitStatus Status() const;

  // How a line gets to standard error; a progress bar puts itself in between. Called with the line,
  // its line end included.
  std::function<void(const std::string& line)> writeError;

 private:
  void WriteError(const std::string& line);

  mutable std::mutex mutex_;
  ExitStatus status_ = kExitDone;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_SESSION_H
