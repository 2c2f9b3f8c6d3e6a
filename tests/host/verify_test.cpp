// The verifier against results that are wrong in one thing each: it must find every one of them.
#include "host/safe_edit/verify.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "host/safe_edit/outline.h"
#include "host/safe_edit/pairing.h"

namespace zevka::host {
namespace {

constexpr std::string_view kBefore =
    "From: ada@example.org\n"
    "Subject: Hi\n"
    "Content-Type: multipart/mixed; boundary=b\n"
    "\n"
    "preamble\n"
    "--b\n"
    "Content-Type: text/plain\n"
    "\n"
    "one\n"
    "--b\n"
    "Content-Type: application/octet-stream\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "AAECAwQ=\n"
    "--b\n"
    "Content-Type: message/rfc822\n"
    "\n"
    "Subject: inner\n"
    "\n"
    "two\n"
    "--b--\n"
    "epilogue\n";

// The text with one stretch replaced.
std::string With(std::string_view text, std::string_view from, std::string_view to) {
  std::string result(text);
  const std::size_t place = result.find(from);
  EXPECT_NE(place, std::string::npos) << from;
  return place == std::string::npos ? result : result.replace(place, from.size(), to);
}

std::optional<ReasonNote> Difference(std::string_view before, std::string_view after,
                                     const AppliedEdit& edit = {}) {
  const Outline old = Outline::Read(before);
  const Outline now = Outline::Read(after);
  const Pairing pairing = PairParts(old, now, !edit.plainFooter.empty(), edit.removed);
  return FindDifference(pairing, now, after, edit);
}

void ExpectFound(std::string_view before, std::string_view after, Reason reason,
                 const AppliedEdit& edit = {}) {
  const std::optional<ReasonNote> difference = Difference(before, after, edit);
  ASSERT_TRUE(difference.has_value()) << after;
  EXPECT_EQ(ReasonName(difference->reason), ReasonName(reason)) << difference->detail;
}

AppliedEdit FooterEdit() {
  AppliedEdit edit;
  edit.plainFooter = "foot";
  return edit;
}

TEST(Verify, SameMessageHasNoDifference) {
  EXPECT_FALSE(Difference(kBefore, kBefore).has_value());
}

TEST(Verify, EveryLossIsFound) {
  struct Case {
    const char* what;
    std::string_view from;
    std::string_view to;
  };
  const Case cases[] = {
      {"a field of the message is missing", "Subject: Hi\n", ""},
      {"its value is another", "Subject: Hi", "Subject: Hj"},
      {"its name is written otherwise", "Subject: Hi", "subject: Hi"},
      {"a field has come", "Subject: Hi\n", "Subject: Hi\nX-New: 1\n"},
      {"fields change places", "From: ada@example.org\nSubject: Hi\n",
       "Subject: Hi\nFrom: ada@example.org\n"},
      {"a field of a part is missing", "Content-Transfer-Encoding: base64\n", ""},
      {"a field of a part has come", "Content-Type: text/plain\n",
       "Content-Type: text/plain\nX: 1\n"},
      {"a byte of a text is another", "\none\n", "\nonE\n"},
      {"a text has grown", "\none\n", "\none\nmore\n"},
      {"a text has lost its end", "\none\n", "\non\n"},
      {"a text has lost all", "\none\n", "\n\n"},
      {"a decoded byte is another", "AAECAwQ=", "AAECAwU="},
      {"decoded bytes are missing", "AAECAwQ=", "AAEC"},
      {"a part is missing", "--b\nContent-Type: text/plain\n\none\n", ""},
      {"a part has come", "--b\nContent-Type: text/plain\n",
       "--b\n\nnew\n--b\nContent-Type: text/plain\n"},
      {"a part's type is another", "Content-Type: text/plain", "Content-Type: text/html"},
      {"the text of an embedded message is another", "\ntwo\n", "\ntwx\n"},
      {"a field of an embedded message is missing", "Subject: inner\n", ""},
      {"the preamble is missing", "preamble\n", ""},
      {"the epilogue is missing", "epilogue\n", ""},
      {"the closing delimiter is missing", "--b--\nepilogue\n", ""},
      {"the multipart is another", "Content-Type: multipart/mixed; boundary=b",
       "Content-Type: multipart/related; boundary=b"},
      {"one line ends otherwise", "Subject: Hi\n", "Subject: Hi\r\n"},
      {"a line among the fields is no field", "Subject: Hi\n", "Subject: Hi\nwhat is this\n"},
  };
  for (const Case& wrong : cases) {
    SCOPED_TRACE(wrong.what);
    ExpectFound(kBefore, With(kBefore, wrong.from, wrong.to), Reason::kVerifyFailed);
  }
}

TEST(Verify, PartsThatChangePlacesAreFound) {
  const std::string first = "--b\n\none\n";
  const std::string second = "--b\n\ntwo\n";
  const std::string head = "Content-Type: multipart/mixed; boundary=b\n\n";
  ExpectFound(head + first + second + "--b--\n", head + second + first + "--b--\n",
              Reason::kVerifyFailed);
}

TEST(Verify, FoldingAndEncodingAreNoDifference) {
  EXPECT_FALSE(Difference("Subject: a b\n\nHi\n", "Subject: a\n b\n\nHi\n").has_value());
  // "Hi" LF
  const std::string head = "Content-Type: text/plain\nContent-Transfer-Encoding: base64\n\n";
  EXPECT_FALSE(Difference(head + "SGkK\n", head + "SG\nkK\n").has_value());
}

TEST(Verify, BlanksInsideAValueAreADifference) {
  ExpectFound("Subject: a b\n\nHi\n", "Subject: a  b\n\nHi\n", Reason::kVerifyFailed);
}

TEST(Verify, InlineFooterMayOnlyFollowTheText) {
  const AppliedEdit edit = FooterEdit();
  EXPECT_FALSE(Difference("A: b\n\nHi\n", "A: b\n\nHi\n\nfoot\n\n", edit).has_value());
  EXPECT_FALSE(Difference("A: b\n\nHi", "A: b\n\nHi\nfoot\n", edit).has_value());
  ExpectFound("A: b\n\nHi\n", "A: b\n\nHo\n\nfoot\n", Reason::kVerifyFailed, edit);
  ExpectFound("A: b\n\nHi\n", "A: b\n\nfoot\n", Reason::kVerifyFailed, edit);
  ExpectFound("A: b\n\nHi\n", "A: b\n\nHi\n", Reason::kRefused, edit);
  ExpectFound("A: b\n\nHi\n", "A: b\n\nHi\n\nfool\n", Reason::kRefused, edit);
  ExpectFound("A: b\n\nHi\n", "A: b\n\nHi\n\nfoot\nfoot\n", Reason::kRefused, edit);
}

TEST(Verify, FooterPartMustBeTheLastAndSayTheFooter) {
  const AppliedEdit edit = FooterEdit();
  const std::string part = "--b\nContent-Type: text/plain\n\nfoot\n";
  EXPECT_FALSE(Difference(kBefore, With(kBefore, "--b--", part + "--b--"), edit).has_value());
  ExpectFound(kBefore, kBefore, Reason::kRefused, edit);
  ExpectFound(kBefore, With(kBefore, "--b--", "--b\n\nfool\n--b--"), Reason::kRefused, edit);
  // In front of the others it makes each of them another.
  ExpectFound(kBefore, With(kBefore, "--b\n", part + "--b\n"), Reason::kRefused, edit);
}

TEST(Verify, WrapperHoldsTheOldBodyAndTheFooter) {
  const AppliedEdit edit = FooterEdit();
  const std::string before = "Subject: Hi\nContent-Type: text/html\n\n<p>\n";
  const std::string after =
      "Content-Type: multipart/mixed; boundary=w\nMIME-Version: 1.0\nSubject: Hi\n\n"
      "--w\nContent-Type: text/html\n\n<p>\n\n--w\nContent-Type: text/plain\n\nfoot\n--w--\n";
  EXPECT_FALSE(Difference(before, after, edit).has_value());
  ExpectFound(before, With(after, "Subject: Hi\n", ""), Reason::kVerifyFailed, edit);
  ExpectFound(before, With(after, "MIME-Version: 1.0\n", ""), Reason::kVerifyFailed, edit);
  ExpectFound(before, With(after, "<p>", "<q>"), Reason::kVerifyFailed, edit);
  ExpectFound(before, With(after, "<p>\n\n", "<p>\n"), Reason::kVerifyFailed, edit);
  ExpectFound(before, With(after, "--w--\n", ""), Reason::kVerifyFailed, edit);
  ExpectFound(before, With(after, "multipart/mixed", "multipart/digest"), Reason::kVerifyFailed,
              edit);
  ExpectFound(before, With(after, "foot", "fool"), Reason::kRefused, edit);
}

TEST(Verify, WishedFieldsMustBeThere) {
  AppliedEdit edit;
  edit.fields.push_back({"X-A", "1", false});
  EXPECT_FALSE(Difference("A: b\n\nHi\n", "A: b\nX-A: 1\n\nHi\n", edit).has_value());
  ExpectFound("A: b\n\nHi\n", "A: b\n\nHi\n", Reason::kRefused, edit);
  ExpectFound("A: b\n\nHi\n", "A: b\nX-A: 2\n\nHi\n", Reason::kRefused, edit);
  // The replaced field may go, and only one.
  EXPECT_FALSE(Difference("X-A: 0\nA: b\n\nHi\n", "X-A: 1\nA: b\n\nHi\n", edit).has_value());
  ExpectFound("X-A: 0\nX-A: 7\nA: b\n\nHi\n", "X-A: 1\nA: b\n\nHi\n", Reason::kVerifyFailed, edit);
}

TEST(Verify, FieldsOfAWrappedMessageKeepTheirOrder) {
  const AppliedEdit edit = FooterEdit();
  const std::string before = "A: 1\nB: 2\nMIME-Version: 1.0\nContent-Type: text/html\n\nHi\n";
  const auto wrapped = [](const std::string& fields) {
    return "Content-Type: multipart/mixed; boundary=w\nMIME-Version: 1.0\n" + fields +
           "\n--w\nContent-Type: text/html\n\nHi\n\n--w\nContent-Type: text/plain\n\nfoot\n"
           "--w--\n";
  };
  EXPECT_FALSE(Difference(before, wrapped("A: 1\nB: 2\n"), edit).has_value());
  ExpectFound(before, wrapped("B: 2\nA: 1\n"), Reason::kVerifyFailed, edit);
  ExpectFound(before, wrapped("A: 1\nB: 2\nMIME-Version: 1.0\n"), Reason::kVerifyFailed, edit);
  ExpectFound(before, wrapped("A: 1\nB: 2\n") + "more\n", Reason::kVerifyFailed, edit);
}

TEST(Verify, EachWishBringsOneField) {
  AppliedEdit edit;
  edit.fields.push_back({"X-A", "1", true});
  const std::string before = "X-A: 1\n\nHi\n";
  EXPECT_FALSE(Difference(before, "X-A: 1\nX-A: 1\n\nHi\n", edit).has_value());
  ExpectFound(before, before, Reason::kVerifyFailed, edit);
  ExpectFound(before, "X-A: 1\nX-A: 1\nX-A: 1\n\nHi\n", Reason::kVerifyFailed, edit);
  ExpectFound(before, "X-A: 1\nX-A: 2\nX-A: 1\n\nHi\n", Reason::kVerifyFailed, edit);
  edit.fields = {{"X-B", "\xC3\xA4", false}};
  EXPECT_FALSE(Difference("A: b\n\nHi\n", "A: b\nX-B: =?utf-8?q?=C3=A4?=\n\nHi\n", edit));
  ExpectFound("A: b\n\nHi\n", "A: b\nX-B: =?utf-8?q?=C3=B6?=\n\nHi\n", Reason::kRefused, edit);
}

TEST(Verify, TextBehindAClosedMultipartMayNotCome) {
  const std::string message = "Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b--\n";
  EXPECT_FALSE(Difference(message, message + "\n").has_value());
  ExpectFound(message, message + "new\n", Reason::kVerifyFailed);
}

TEST(Verify, SharedBoundaryIsNotClosedAnew) {
  const std::string head =
      "Content-Type: multipart/mixed; boundary=b\n\n--b\n"
      "Content-Type: multipart/mixed; boundary=c\n\n--c\n"
      "Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n";
  const std::string tail = "--c\n\ntwo\n--c--\n--b--\n";
  ExpectFound(head + tail, head + "--b--\n" + tail, Reason::kVerifyFailed);
  EXPECT_FALSE(Difference(head + "--b--\n" + tail, head + "--b--\n" + tail).has_value());
}

TEST(Verify, EmbeddedMessageTakesNoFooter) {
  const std::string message = "Content-Type: message/rfc822\n\nA: b\n\nHi\n";
  ExpectFound(message, message, Reason::kRefused, FooterEdit());
}

TEST(Verify, BodyThatIsNotAllBase64IsNotEncodedAnew) {
  const std::string head = "Content-Transfer-Encoding: base64\n\n";
  ExpectFound(head + "SGkK\n...\n", head + "SGkK\n", Reason::kVerifyFailed);
  EXPECT_FALSE(Difference(head + "SGkK\n...\n", head + "SGkK\n...\n").has_value());
  EXPECT_FALSE(Difference(head + "SG k\t=\n", head + "SGk=\n").has_value());
  ExpectFound(head + "SGk=SGk=\n", head + "SGlIaQ==\n", Reason::kVerifyFailed);
  ExpectFound(head + "SGkKS\n", head + "SGkK\n", Reason::kVerifyFailed);
}

TEST(Verify, OnlyTheRemovedPartsMayGo) {
  AppliedEdit edit;
  edit.removed = {"2"};
  const std::string_view binary =
      "--b\nContent-Type: application/octet-stream\nContent-Transfer-Encoding: "
      "base64\n\nAAECAwQ=\n";
  const std::string_view text = "--b\nContent-Type: text/plain\n\none\n";
  EXPECT_FALSE(Difference(kBefore, With(kBefore, binary, ""), edit).has_value());
  ExpectFound(kBefore, With(kBefore, text, ""), Reason::kVerifyFailed, edit);
  ExpectFound(kBefore, kBefore, Reason::kVerifyFailed, edit);
}

TEST(Verify, SubjectMayGetItsSuffix) {
  AppliedEdit edit;
  edit.subjectSuffix = " [x]";
  EXPECT_FALSE(Difference("Subject: a\n\nHi\n", "Subject: a [x]\n\nHi\n", edit).has_value());
  ExpectFound("Subject: a\n\nHi\n", "Subject: b [x]\n\nHi\n", Reason::kVerifyFailed, edit);
  ExpectFound("Subject: a\n\nHi\n", "Subject: a\n\nHi\n", Reason::kRefused, edit);
  ExpectFound("X: a\n\nHi\n", "X: a [x]\n\nHi\n", Reason::kVerifyFailed, edit);
}

}  // namespace
}  // namespace zevka::host
