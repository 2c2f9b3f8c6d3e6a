#include "host/cli/exit_status.h"

namespace zevka::host {

ExitStatus StatusOf(DiskTrouble trouble) {
  switch (trouble) {
    case DiskTrouble::kCannotRead:
      return kExitNoInput;
    case DiskTrouble::kCannotCreate:
      return kExitCannotCreate;
    case DiskTrouble::kCannotWrite:
      return kExitIoError;
    case DiskTrouble::kTryAgain:
      break;
  }
  return kExitTryAgain;
}

}  // namespace zevka::host
