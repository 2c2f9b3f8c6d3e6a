// The road of a message through the library as a host goes it: opened from memory, every field and
// every body read, committed, with a footer or without. What was met on the way is counted.
#ifndef ZEVKA_TESTS_SHAPES_ROAD_H
#define ZEVKA_TESTS_SHAPES_ROAD_H

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/abi/host.h"

namespace zevka::test {

struct Facts {
  bool opened = false;
  std::uint64_t parts = 0;   // those that a host reaches, the message included
  std::uint64_t levels = 0;  // of them
  std::uint64_t fields = 0;
  std::uint64_t fieldBytes = 0;  // of names and values
  std::uint64_t encodedBytes = 0;
  std::uint64_t decodedBytes = 0;
  std::int64_t committedBytes = -1;  // -1: the commit gave none
};

// Opens and walks the message and ends it. `footer` null: none. `committed` null: the bytes of the
// result are not wanted.
Facts GoTheRoad(const Host& host, std::string& message, const char* footer = nullptr,
                std::string* committed = nullptr);

// Opens the message and ends it unread.
bool OpenAndDiscard(const Host& host, std::string& message);

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SHAPES_ROAD_H
