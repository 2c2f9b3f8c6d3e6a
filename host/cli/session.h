// What all subcommands share: the loaded library, the list of files, and how things are reported.
//
// Every problem is one line on standard error, "zevka: FILE: reason", and shows in the exit status:
// 0 all done, 1 something could not be done, 2 wrong use, 3 nothing worse than a signed message
// that was left as it was.
#ifndef ZEVKA_HOST_CLI_SESSION_H
#define ZEVKA_HOST_CLI_SESSION_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/kit/disk.h"
#include "host/loader.h"

namespace zevka::host {

enum ExitStatus : int {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 2,
  kExitSigned = 3,
};

// A message that stays as it was because it is signed.
class SignedMessage : public Failure {
 public:
  using Failure::Failure;
};

// A file as the user named it, and where it is.
struct InputFile {
  std::string given;
  std::string absolute;
};

class Session {
 public:
  // Where the library is, as the user gave it; empty for the usual places. Bound to an option.
  std::string libraryPath;

  // Loads the library, moves into a scratch folder and calls `work` for each file. What `work`
  // throws is reported for its file, and the next one follows.
  void ForEach(const std::vector<std::string>& files,
               const std::function<void(Packer&, const InputFile&)>& work);
  void ForFile(const std::string& file, const std::function<void(Packer&, const InputFile&)>& work);

  // One line on standard error; `subject` may be a file, a folder or a text.
  void Report(std::string_view subject, std::string_view reason, ExitStatus status);
  ExitStatus Status() const { return status_; }

 private:
  ExitStatus status_ = kExitDone;
};

// The path from the root, also after the process has moved to another folder.
std::string Absolute(const std::string& path);

// Text to standard output; a failure shows when the program ends.
void Print(std::string_view text);

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_SESSION_H
