#include "mime/line_scan.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace zevka {
namespace {

// A copy that ends where its memory does, so that a look behind it is seen.
std::size_t FindIn(const std::string& text) {
  const std::unique_ptr<char[]> copy(new char[text.size()]);
  text.copy(copy.get(), text.size());
  return FindLineEnd({copy.get(), text.size()});
}

TEST(LineScan, FindsNoneWhereThereIsNone) {
  EXPECT_EQ(FindLineEnd({}), 0U);
  for (std::size_t length = 0; length < 70; ++length) {
    EXPECT_EQ(FindIn(std::string(length, 'a')), length);
  }
}

TEST(LineScan, FindsTheFirstAtEveryPlaceOfEveryLength) {
  for (std::size_t length = 1; length < 70; ++length) {
    for (std::size_t at = 0; at < length; ++at) {
      for (const char end : {'\r', '\n'}) {
        std::string text(length, 'a');
        text[at] = end;
        ASSERT_EQ(FindIn(text), at) << length;
        // Others behind it do not matter.
        text.replace(at + 1, length, length - at - 1, end == '\r' ? '\n' : '\r');
        ASSERT_EQ(FindIn(text), at) << length;
      }
    }
  }
}

// The first bytes of the memory do not lie on a round address either.
TEST(LineScan, FindsItFromEveryOffset) {
  const std::string text = std::string(40, 'a') + "\n" + std::string(40, 'b');
  for (std::size_t offset = 0; offset <= 40; ++offset) {
    EXPECT_EQ(FindLineEnd(std::string_view(text).substr(offset)), 40 - offset);
  }
}

TEST(LineScan, NoOtherByteEndsALine) {
  for (int byte = 0; byte < 256; ++byte) {
    const bool ends = byte == '\r' || byte == '\n';
    EXPECT_EQ(FindIn(std::string(33, static_cast<char>(byte))), ends ? 0U : 33U) << byte;
  }
}

}  // namespace
}  // namespace zevka
