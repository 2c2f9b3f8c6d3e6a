#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/safe_edit/guard.h"

namespace zevka::host {
namespace {

// The first reason; nothing when there is none.
std::string FirstReason(std::string_view text, const EditOptions& options) {
  const std::vector<ReasonNote> notes = GuardReasons(text, options);
  return notes.empty() ? "" : std::string(ReasonName(notes.front().reason));
}

TEST(EditLimits, OfBytes) {
  EditOptions options;
  options.limits.mostBytes = 10;
  EXPECT_EQ(FirstReason("A: 1\n\nbody", options), "");
  EXPECT_EQ(FirstReason("A: 1\n\nbodys", options), "too-large");
  const std::vector<ReasonNote> notes = GuardReasons("DKIM-Signature: v=1\n\n", options);
  ASSERT_EQ(notes.size(), 1U);  // it is not even read
  EXPECT_EQ(notes[0].detail, "21 bytes, the limit is 10");
}

TEST(EditLimits, OfALineInAHeaderBlock) {
  const std::string name = "X-A: ";
  const std::string longest = name + std::string(4095 - name.size(), 'x');
  for (const std::string lineEnd : {"\n", "\r\n", "\r"}) {
    EXPECT_EQ(FirstReason(longest + lineEnd + lineEnd + "body", {}), "");
    EXPECT_EQ(FirstReason(longest + "x" + lineEnd + lineEnd + "body", {}), "long-header-line");
    EXPECT_EQ(FirstReason(longest + "x", {}), "long-header-line");
    // Folded, each line by itself is short enough.
    EXPECT_EQ(FirstReason(longest + lineEnd + " x" + lineEnd + lineEnd, {}), "");
    EXPECT_EQ(FirstReason("A: 1" + lineEnd + " " + longest + lineEnd + lineEnd, {}),
              "long-header-line");
    // Bodies may have long lines.
    EXPECT_EQ(FirstReason("A: 1" + lineEnd + lineEnd + longest + longest, {}), "");
  }
}

TEST(EditLimits, OfALineInTheHeaderBlockOfAPart) {
  const std::string field = "X-A: " + std::string(4095, 'x');
  const std::string multipart = "Content-Type: multipart/mixed; boundary=b\n\n--b\n";
  const std::vector<ReasonNote> inPart = GuardReasons(multipart + field + "\n\nx\n--b--\n");
  ASSERT_EQ(inPart.size(), 1U);
  EXPECT_EQ(ReasonName(inPart[0].reason), "long-header-line");
  EXPECT_EQ(inPart[0].part, "1");
  EXPECT_EQ(inPart[0].detail, "4100 bytes, the limit is 4095");
  const std::vector<ReasonNote> inMessage =
      GuardReasons(multipart + "Content-Type: message/rfc822\n\n" + field + "\n\nx\n--b--\n");
  ASSERT_EQ(inMessage.size(), 1U);
  EXPECT_EQ(inMessage[0].part, "1.1");
  EXPECT_EQ(FirstReason(multipart + "A: 1\n\n" + field + "\n--b--\n", {}), "");
}

std::string Children(std::size_t count) {
  std::string text = "Content-Type: multipart/mixed; boundary=b\n\n";
  for (std::size_t i = 0; i < count; ++i) {
    text += "--b\n\nx\n";
  }
  return text + "--b--\n";
}

TEST(EditLimits, OfParts) {
  EXPECT_EQ(FirstReason(Children(9999), {}), "");
  EXPECT_EQ(FirstReason(Children(10000), {}), "too-many-parts");
  EditOptions options;
  options.limits.mostParts = 3;
  EXPECT_EQ(FirstReason(Children(2), options), "");
  EXPECT_EQ(FirstReason(Children(3), options), "too-many-parts");
}

std::string Levels(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += "Content-Type: message/rfc822\n\n";
  }
  return text + "A: 1\n\nx";
}

TEST(EditLimits, OfLevels) {
  EXPECT_EQ(FirstReason(Levels(100), {}), "");
  EXPECT_EQ(FirstReason(Levels(101), {}), "too-deep");
  EditOptions options;
  options.limits.mostDepth = 2;
  EXPECT_EQ(FirstReason(Levels(2), options), "");
  EXPECT_EQ(FirstReason(Levels(3), options), "too-deep");
}

TEST(EditLimits, DoNotHideTheGuard) {
  EditOptions options;
  options.limits.mostHeaderLineBytes = 10;
  const std::vector<ReasonNote> notes = GuardReasons("DKIM-Signature: v=1\n\nx", options);
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_EQ(notes[0].reason, Reason::kLongHeaderLine);
  EXPECT_EQ(notes[1].reason, Reason::kDkim);
}

TEST(EditLimits, AreNotNeededForValuesThatAreHardToRead) {
  // Each quote could be the begin of a string that is never closed, each bracket that of a comment.
  for (const std::string piece : {"\\\"", "\"\\", "(", "(\\", "=?", "a=(b;", "a=b "}) {
    std::string text = "Content-Type: a/b; x=\"";
    for (int i = 0; i < 100000; ++i) {
      text += piece;
    }
    text += "\nContent-Type: application/pkcs7-mime\n\nx";
    EditOptions options;
    options.limits.mostHeaderLineBytes = text.size();
    EXPECT_EQ(FirstReason(text, options), "smime-encrypted") << piece;
  }
}

TEST(Reasons, HaveNamesOfTheirOwn) {
  std::set<std::string_view> names;
  std::size_t guarded = 0;
  std::size_t asWanted = 0;
  constexpr int kCount = 22;
  for (int i = 0; i < kCount; ++i) {
    const Reason reason = static_cast<Reason>(i);
    EXPECT_FALSE(ReasonName(reason).empty()) << i;
    names.insert(ReasonName(reason));
    guarded += IsGuarded(reason) ? 1U : 0U;
    asWanted += IsAsWanted(reason) ? 1U : 0U;
  }
  EXPECT_EQ(names.size(), 22U);
  EXPECT_EQ(guarded, 10U);
  EXPECT_EQ(asWanted, 3U);
  EXPECT_EQ(ReasonName(Reason::kSmimeSigned), "smime-signed");
  EXPECT_EQ(ReasonName(Reason::kVerifyFailed), "verify-failed");
  EXPECT_TRUE(IsGuarded(Reason::kArc));
  EXPECT_FALSE(IsGuarded(Reason::kTooLarge));
  EXPECT_TRUE(IsAsWanted(Reason::kFooterMarked));
  EXPECT_FALSE(IsAsWanted(Reason::kNotAMessage));
}

}  // namespace
}  // namespace zevka::host
