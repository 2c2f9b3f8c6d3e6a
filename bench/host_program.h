// A host in small: our library loaded as hosts load it, and the work that a host has with one
// message, through the public headers and nothing else.
#ifndef ZEVKA_BENCH_HOST_PROGRAM_H
#define ZEVKA_BENCH_HOST_PROGRAM_H

#include <zevka/part.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/abi/host.h"
#include "tests/support/temp_dir.h"

namespace zevka::bench {

// Everything beside opening the message from memory, walking it and ending it.
struct HostWork {
  bool readFields = false;       // name and value of each field of each part
  bool decode = false;           // the decoded body of each leaf, in memory
  bool setField = false;         // one field added, one replaced
  bool reencode = false;         // each leaf's decoded body encoded anew; wants decode and write
  const char* footer = nullptr;  // or a text that is added; wants write
  bool write = false;            // the bytes of the new message, in a block of the host
};

// What came of it.
struct HostResult {
  std::uint64_t leaves = 0;
  std::uint64_t fields = 0;
  std::uint64_t decodedBytes = 0;
  std::uint64_t writtenBytes = 0;
  std::uint64_t refused = 0;  // messages that did not open, or could not be written
};

// How a message gets into the library and out of it.
enum class HostRoad {
  kFromMemory,  // OpenMessageFromMemory and CloseMessage: a new name for each message
  kOwnName,     // a memory file whose name each thread uses again and again, so that the system
                // knows that nothing of that name is on disk
  kBySize,      // the second for messages of up to 4 MB, as their bytes are copied out
};

// Enters a folder of its own: messages from memory have names without a folder, and what does not
// fit into memory lies there.
class HostProgram {
 public:
  explicit HostProgram(HostRoad road = HostRoad::kFromMemory);

  // Does the work with one message, and adds to the result. Nothing stays behind.
  // Threads: any number at once.
  void Do(std::string_view message, const HostWork& work, HostResult& result) const;

 private:
  void Visit(PartObject& part, const HostWork& work, HostResult& result) const;
  PartObject* Open(std::string_view bytes, const std::string& ownName) const;
  void Write(PartObject* message, HostResult& result) const;
  void WriteOwn(PartObject* message, const std::string& name, HostResult& result) const;

  HostRoad road_;
  test::TempDir folder_;
  test::Host host_;
};

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_HOST_PROGRAM_H
