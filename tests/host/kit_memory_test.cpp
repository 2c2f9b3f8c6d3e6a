// Messages that the library's memory cannot hold: they lie in the current folder meanwhile, and
// nothing of them stays.

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "tests/host/kit_host.h"

namespace zevka::host {
namespace {

constexpr std::size_t kMiB = 1024U * 1024U;

class KitMemory : public test::KitTest {
 protected:
  // A message with a plain body of about this size.
  static std::string Large(std::size_t bodyBytes) {
    const std::string line(63, 'x');
    std::string text = "Subject: Large\n\n";
    text.reserve(text.size() + bodyBytes + line.size());
    while (text.size() < bodyBytes) {
      (text += line) += '\n';
    }
    return text;
  }
};

TEST_F(KitMemory, MessageBeyondTheBudgetIsReadFromTheCurrentFolder) {
  const std::string bytes = Large(129 * kMiB);
  {
    const Message message = Open(bytes);
    EXPECT_FALSE(working_.Names().empty());
    EXPECT_TRUE(packer_.Files().Exists(test::OwnName(message)));
    std::size_t bodyBytes = 0;
    message.Root().ReadBody([&](std::string_view chunk) { bodyBytes += chunk.size(); });
    EXPECT_EQ(bodyBytes, bytes.size() - std::string_view("Subject: Large\n\n").size());
  }
  EXPECT_TRUE(working_.Names().empty());
}

TEST_F(KitMemory, MessageBeyondTheBudgetIsFinishedWhole) {
  std::string expected = Large(129 * kMiB);
  Message message = Open(expected);
  message.Root().SetField("X-A", "1");
  expected.insert(expected.find("\n\n") + 1, "X-A: 1\n");
  EXPECT_TRUE(message.Finish() == expected);  // not printed when it differs
  EXPECT_TRUE(working_.Names().empty());
}

// The budget counts all messages of the process together, and gets everything back.
TEST_F(KitMemory, BudgetIsFreeAgainAfterMessagesHaveEnded) {
  const std::string bytes = Large(20 * kMiB);
  for (int round = 0; round < 8; ++round) {
    const Message message = Open(bytes);
    EXPECT_EQ(message.Root().BodySizeBytes(), bytes.size() - 16);
    EXPECT_TRUE(working_.Names().empty()) << "round " << round;
  }
}

}  // namespace
}  // namespace zevka::host
