// Nesting: a stack is never the limit, neither of a small thread nor of the usual one.
#include <gtest/gtest.h>
#include <pthread.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/shapes/road.h"
#include "tests/shapes/shapes.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

// Sanitizers take a stack several times as large.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSmallStack = 1048576;
#else
constexpr std::size_t kSmallStack = 131072;  // bytes
#endif

constexpr char kEmbedded[] = "Content-Type: message/rfc822\r\n\r\n";
constexpr char kInner[] = "Subject: inner\r\n\r\nbody\r\n";

// Runs the body in a thread with a stack of that many bytes.
template <typename Body>
void WithStack(std::size_t bytes, Body body) {
  ::pthread_attr_t attributes;
  ::pthread_t thread{};
  ::pthread_attr_init(&attributes);
  const auto run = [](void* work) -> void* {
    (*static_cast<Body*>(work))();
    return nullptr;
  };
  if (::pthread_attr_setstacksize(&attributes, bytes) != 0 ||
      ::pthread_create(&thread, &attributes, run, &body) != 0) {
    throw std::runtime_error("no thread with a small stack");
  }
  ::pthread_join(thread, nullptr);
  ::pthread_attr_destroy(&attributes);
}

// Opened under a short name in a folder that is not there, where a file in memory may have a name
// of 4095 characters: two for each level are the only limit.
PartObject* OpenNowhere(const Host& host, const std::string& bytes) {
  WriteFile(host, "/nowhere/x", bytes);
  return host->OpenMessage("/nowhere/x");
}

TEST(DeepNesting, OfEmbeddedMessagesEndsWithTheLongestName) {
  InChild([] {
    const Host host;
    WithStack(kSmallStack, [&host] {
      // "/nowhere/x" and 2042 times "_e" are 4094 characters.
      const std::string bytes = Times(kEmbedded, 2041) + kInner;
      PartObject* const message = OpenNowhere(host, bytes);
      EXPECT_NE(message, nullptr);
      EXPECT_EQ(ReadFile(host, "/nowhere/x" + Times("_e", 2042)), "body\r\n");
      EXPECT_TRUE(host.Close(message, true) == bytes);
      // One level more has no name for the last body, two have none for the last message.
      const std::string deeper = kEmbedded + bytes;
      EXPECT_TRUE(host.Close(OpenNowhere(host, deeper), true) ==
                  deeper.substr(0, deeper.size() - 6));
      EXPECT_EQ(OpenNowhere(host, kEmbedded + deeper), nullptr);
    });
  });
}

TEST(DeepNesting, OfEmbeddedMessagesTakesFootersAndEndsUnread) {
  InChild([] {
    const Host host;
    WithStack(kSmallStack, [&host] {
      const std::string bytes = Times(kEmbedded, 1000) + kInner;
      host->ReleaseControl(kDiscardMessage, OpenNowhere(host, bytes));
      EXPECT_EQ(ReadFile(host, "/nowhere/x"), bytes);
      EXPECT_FALSE(Exists(host, "/nowhere/x" + Times("_e", 1001)));
      PartObject* const message = OpenNowhere(host, bytes);
      message->SetFooterText("footer");
      const std::string wrapped = host.Close(message, true).value_or("");
      EXPECT_EQ(wrapped.substr(0, 29), "Content-Type: multipart/mixed");
      EXPECT_NE(wrapped.find("\r\n" + bytes), std::string::npos);
    });
  });
}

// A message from memory has a name of 42 characters; a name on disk has 255 at most.
TEST(DeepNesting, OfEmbeddedMessagesFromMemoryEndsAtTheLongestComponent) {
  const Host host;
  const TempDir folder;
  InChildAt(folder.Path(), [&host] {
    for (std::size_t levels = 1; levels <= 105; ++levels) {
      const std::string bytes = Times(kEmbedded, levels) + kInner;
      EXPECT_TRUE(host.Rewritten(bytes) == bytes) << levels;
    }
    // 106 times "_e" leave no room for the last body's, 107 none for the last message.
    const std::string bytes = Times(kEmbedded, 106) + kInner;
    EXPECT_TRUE(host.Rewritten(bytes) == bytes.substr(0, bytes.size() - 6));
    EXPECT_EQ(host.Open(kEmbedded + bytes), nullptr);
  });
}

// What is deeper than sixteen levels is one body.
TEST(DeepNesting, OfMultipartsIsNotFollowedBelowSixteenLevels) {
  const Host host;
  const std::size_t counts[] = {16, 17, 1000, 200000};
  WithStack(kSmallStack, [&] {
    for (const std::size_t count : counts) {
      std::string bytes = ShapeNamed("nested-multiparts").make(count);
      const Facts facts = GoTheRoad(host, bytes);
      EXPECT_TRUE(facts.opened);
      EXPECT_EQ(facts.parts, 17U) << count;
      EXPECT_EQ(facts.levels, 17U) << count;
      EXPECT_GE(facts.committedBytes, static_cast<std::int64_t>(bytes.size())) << count;
    }
  });
}

// Sixteen megabytes of nothing but nesting: of one kind, of the other, and by turns.
TEST(DeepNesting, OfSixteenMegabytesEnds) {
  const TempDir folder;
  InChildAt(folder.Path(), [] {
    const Host host;
    WithStack(kSmallStack, [&host] {
      std::string embedded = Times(kEmbedded, 16777216 / (sizeof(kEmbedded) - 1));
      EXPECT_FALSE(GoTheRoad(host, embedded).opened);
      std::string turns = ShapeNamed("nested-by-turns").make(180000);
      const Facts facts = GoTheRoad(host, turns);
      EXPECT_TRUE(facts.opened);
      EXPECT_EQ(facts.parts, 2U);  // an embedded message gives no children
    });
  });
}

}  // namespace
}  // namespace zevka::test
