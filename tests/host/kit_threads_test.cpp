// One packer, many threads: each with messages of its own, or all reading one message.

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/host/kit_host.h"

namespace zevka::host {
namespace {

constexpr int kThreads = 6;
constexpr int kRounds = 40;

class KitThreads : public test::KitTest {
 protected:
  // Runs the work in several threads at once; what it throws is a failure of the test.
  template <typename Work>
  static void InThreads(Work work) {
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
      threads.emplace_back([number, &work] { EXPECT_NO_THROW(work(number)); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
};

TEST_F(KitThreads, OnePackerServesMessagesOfManyThreads) {
  InThreads([this](int number) {
    const std::string word = "t" + std::to_string(number);
    const std::string bytes = "Subject: " + word +
                              "\nContent-Type: multipart/mixed; boundary=b\n\n"
                              "--b\nContent-Transfer-Encoding: base64\n\nAAECAwQ=\n--b--\n";
    for (int round = 0; round < kRounds; ++round) {
      Message message = Open(bytes);
      message.Root().SetField("X-Thread", word);
      message.Root().Children().front().SetBody(word);
      EXPECT_TRUE(message.SetFooter("Checked by " + word + "."));
      const Message result = Open(message.Finish());
      EXPECT_EQ(result.Root().Field("X-Thread"), word);
      const std::vector<Part> children = result.Root().Children();
      ASSERT_EQ(children.size(), 2U);
      EXPECT_EQ(children[0].Body(), word);
      EXPECT_EQ(children[1].Body(), "Checked by " + word + ".\n\n");
    }
  });
}

TEST_F(KitThreads, OneMessageIsReadByMany) {
  const Message message = Open(
      "Subject: Hi\nContent-Type: multipart/mixed; boundary=b\n\n"
      "--b\nContent-Type: a/b; name=a.txt\nContent-Transfer-Encoding: base64\n\nAAECAwQ=\n"
      "--b\nX-P: 2\nContent-Transfer-Encoding: quoted-printable\n\ncaf=C3=A9\n--b--\n");
  InThreads([&message](int) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(message.Root().Field("Subject"), "Hi");
      const std::vector<Part> children = message.Root().Children();
      ASSERT_EQ(children.size(), 2U);
      EXPECT_EQ(children[0].Name(), "a.txt");
      EXPECT_EQ(children[0].Body(), std::string("\0\1\2\3\4", 5));
      EXPECT_EQ(children[1].Fields().size(), 2U);
      EXPECT_EQ(children[1].Body(), "caf\xC3\xA9\n");
    }
  });
}

TEST_F(KitThreads, LibraryIsLoadedAndLeftByManyAtOnce) {
  InThreads([](int) {
    for (int round = 0; round < kRounds; ++round) {
      const Packer packer(Library::Load(ZEVKA_LIBRARY));
      EXPECT_EQ(packer.OpenBytes("Subject: Hi\n\nx\n").Finish(), "Subject: Hi\n\nx\n");
    }
  });
}

}  // namespace
}  // namespace zevka::host
