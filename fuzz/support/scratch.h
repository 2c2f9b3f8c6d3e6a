// A folder for the files of one fuzzing process, in memory where the system has such a place, for
// inputs whose files reach the disk. The current folder stays what it is: fuzzers write there.
#ifndef ZEVKA_FUZZ_SUPPORT_SCRATCH_H
#define ZEVKA_FUZZ_SUPPORT_SCRATCH_H

#include <string>
#include <string_view>

namespace zevka::fuzz {

// Made at the first call, removed at the end of the process.
const std::string& ScratchFolder();

// The path of a file in it.
std::string ScratchFile(std::string_view name);

// Names of what lies in it, sorted and joined by blanks; empty when nothing does.
std::string ScratchListing();

// Removes what lies in it.
void EmptyScratch();

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_SCRATCH_H
