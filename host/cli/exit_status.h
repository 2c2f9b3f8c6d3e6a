// The exit statuses of the command, after sysexits.h, with which mail software tells them apart.
// Scripts rely on the numbers.
#ifndef ZEVKA_HOST_CLI_EXIT_STATUS_H
#define ZEVKA_HOST_CLI_EXIT_STATUS_H

#include <zevka/host.h>

#include <string>

#include "host/kit/disk.h"

namespace zevka::host {

enum ExitStatus : int {
  kExitDone = 0,
  kExitNotAsAsked = 1,     // everything was read; some messages are not as asked, or have findings
  kExitUsage = 64,         // the words of the command
  kExitBadData = 65,       // a message or text that cannot be worked on
  kExitNoInput = 66,       // a file that is not there or cannot be read
  kExitUnavailable = 69,   // the library cannot be loaded
  kExitCannotCreate = 73,  // an output file or folder that cannot be made
  kExitIoError = 74,       // reading or writing failed on the way
  kExitTryAgain = 75,      // may go well later: somebody else changed the file, no memory
};

// How the command ends when that stood in the way.
ExitStatus StatusOf(DiskTrouble trouble);

// A failure that says how the command is to end.
class CommandFailure : public Failure {
 public:
  CommandFailure(ExitStatus status, const std::string& reason) : Failure(reason), status_(status) {}
  ExitStatus Status() const { return status_; }

 private:
  ExitStatus status_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_EXIT_STATUS_H
