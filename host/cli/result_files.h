// Where changed messages go when they do not take the place of the old ones: files in a folder that
// is made for them, each under the name of its message. Nothing that is there is written over.
//
// Threads: Write and Dump may be called by several threads at once.
// Errors: throws DiskFailure.
#ifndef ZEVKA_HOST_CLI_RESULT_FILES_H
#define ZEVKA_HOST_CLI_RESULT_FILES_H

#include <sys/types.h>

#include <cstddef>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/inputs.h"

namespace zevka::host {

// Names for all inputs, one each: their own, or their place below the folder that was named. Where
// two inputs have the same, the second one becomes "name-2.eml"; so the same arguments give the
// same names.
std::vector<std::string> ResultNames(const std::vector<Input>& inputs);

// Writes a new file, whole or not at all, and the folders above it.
// Result: false when there is something of that name.
bool WriteResult(const std::string& path, std::string_view bytes, mode_t mode);

// Writes bytes that nobody will look for by their name.
//   name  of the message; a number follows it where that is taken
void DumpResult(const std::string& folder, std::string_view name, std::string_view bytes);

// Removes what interrupted runs left, once in each folder.
// Threads: any.
class LeftoverSweep {
 public:
  // In the folder of a file.
  void SweepBeside(const std::string& path);

 private:
  std::mutex mutex_;
  std::set<std::string> swept_;
};

}  // namespace zevka::host

#endif  // ZEVKA_HOST_CLI_RESULT_FILES_H
