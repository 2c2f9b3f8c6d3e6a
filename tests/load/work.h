// The work that load tests and the soak give to the library: messages, and jobs that a host does
// with one. What comes out of a job depends on the message and the job alone, whoever else works at
// the same time.
#ifndef ZEVKA_TESTS_LOAD_WORK_H
#define ZEVKA_TESTS_LOAD_WORK_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tests/abi/host.h"

namespace zevka::test {

// Messages made here: of every kind that the library treats by itself, small and middling.
std::vector<std::string> MadeMessages();

// The sample mail of a folder, in the order of the names; empty when it is not there.
//   largest  bytes; larger ones are left out
std::vector<std::string> SampleMessages(const std::string& folder, std::size_t largest);

enum class Job {
  kRead,     // every field and body of every part, and the message discarded
  kRewrite,  // committed as it is
  kEdit,     // fields set and added, and committed
  kReplace,  // every body written anew, and committed
  kFooter,   // an ASCII footer: inline, as a child or in a wrapper
  kUtf8,     // a footer that travels as a part
  kDisk,     // opened by path and committed to it
  kDiskFooter,
};
constexpr std::size_t kJobs = 8;

// Does the job; what came out of it, with the random boundary of a wrapper replaced. `path` is that
// of a file that nobody else uses.
std::string Done(const Host& host, const std::string& message, Job job, const std::string& path);

// Everything that can be read of a part and those below it.
std::string Everything(PartObject* part);

// Whether no byte of the budget is in use. The layer must be otherwise idle.
bool BudgetIsFree(const Host& host, const std::string& path);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_LOAD_WORK_H
