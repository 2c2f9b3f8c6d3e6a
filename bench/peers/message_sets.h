// The sets of messages of the comparison, read into memory before any clock runs.
#ifndef ZEVKA_BENCH_PEERS_MESSAGE_SETS_H
#define ZEVKA_BENCH_PEERS_MESSAGE_SETS_H

#include <cstdint>
#include <string>
#include <vector>

namespace zevka::bench {

struct MessageSet {
  std::string name;
  std::vector<std::string> messages;
  std::vector<std::string> files;  // where each message was read
  std::uint64_t bytes = 0;
};

// Reads a set.
//   word       "a" to "g" and "corpus", looked up in the folders given, or NAME=PATH, where PATH is
//              a file or a folder, which is read with all below it in the order of the names
//   mostBytes  no further message is read once there are more bytes
// Throws std::runtime_error when there is no such set or a file cannot be read.
MessageSet ReadMessageSet(const std::string& word, const std::string& setsFolder,
                          const std::string& corpusFolder, std::uint64_t mostBytes);

std::string ReadFile(const std::string& path);

}  // namespace zevka::bench

#endif  // ZEVKA_BENCH_PEERS_MESSAGE_SETS_H
