// The promises of <zevka/safe_edit.h>, seen from outside: bytes in, bytes and reasons out.
#include <gtest/gtest.h>
#include <zevka/safe_edit.h>

#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {
namespace {

constexpr std::string_view kPlain =
    "From: ada@example.org\n"
    "Subject: Hi\n"
    "\n"
    "Hello.\n";

constexpr std::string_view kMixed =
    "From: ada@example.org\n"
    "MIME-Version: 1.0\n"
    "Content-Type: multipart/mixed; boundary=\"b1\"\n"
    "\n"
    "For old readers.\n"
    "--b1\n"
    "Content-Type: text/plain\n"
    "\n"
    "See the files.\n"
    "--b1\n"
    "Content-Type: application/octet-stream; name=\"a.bin\"\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "AAECAwQ=\n"
    "--b1\n"
    "Content-Type: application/x-msdownload; name=\"b.exe\"\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "TVo=\n"
    "--b1--\n"
    "A list was here.\n";

constexpr std::string_view kHtml =
    "From: ada@example.org\n"
    "Subject: Hi\n"
    "MIME-Version: 1.0\n"
    "Content-Type: text/html\n"
    "\n"
    "<p>Hello.</p>\n";

// The digest of "Checked by the gate": printf 'Checked by the gate' | sha256sum.
constexpr std::string_view kFooter = "Checked by the gate";

class SafeEdits : public testing::Test {
 protected:
  EditResult Footer(std::string_view message, const EditOptions& options = {}) {
    return SafeEdit(packer_, message, {std::string(kFooter), {}, {}, ""}, options);
  }
  EditResult Field(std::string_view message, const std::string& name, const std::string& value,
                   bool add = false) {
    Wishes wishes;
    wishes.fields.push_back({name, value, add});
    return SafeEdit(packer_, message, wishes);
  }
  EditResult Remove(std::string_view message, const std::vector<std::string>& parts) {
    Wishes wishes;
    wishes.removeParts = parts;
    return SafeEdit(packer_, message, wishes);
  }

  Library library_ = Library::Load(ZEVKA_LIBRARY);
  Packer packer_{library_};
};

void ExpectUnchanged(const EditResult& result, std::string_view message, Reason reason) {
  EXPECT_FALSE(result.changed);
  EXPECT_EQ(result.bytes, message);
  ASSERT_FALSE(result.reasons.empty());
  EXPECT_EQ(ReasonName(result.reasons.front().reason), ReasonName(reason))
      << result.reasons.front().detail;
}

std::string Marker() {
  return "X-Zevka-Footer: " + FooterDigest(kFooter);
}

// The text with every LF as another line end.
std::string WithLineEnds(std::string_view text, std::string_view lineEnd) {
  std::string result;
  for (const char character : text) {
    if (character == '\n') {
      result += lineEnd;
    } else {
      result += character;
    }
  }
  return result;
}

// --- footers ---

TEST_F(SafeEdits, FooterGoesBehindThePlainTextAndMarksTheMessage) {
  const EditResult result = Footer(kPlain);
  EXPECT_TRUE(result.changed);
  EXPECT_TRUE(result.reasons.empty());
  EXPECT_EQ(result.bytes, "From: ada@example.org\nSubject: Hi\n" + Marker() +
                              "\n\nHello.\n\nChecked by the gate\n\n");
}

TEST_F(SafeEdits, FooterKeepsTheLineEndsOfTheMessage) {
  for (const std::string_view lineEnd : {"\r\n", "\r"}) {
    const EditResult result = Footer(WithLineEnds(kPlain, lineEnd));
    ASSERT_TRUE(result.changed) << result.reasons.front().detail;
    EXPECT_EQ(result.bytes, WithLineEnds("From: ada@example.org\nSubject: Hi\n" + Marker() +
                                             "\n\nHello.\n\nChecked by the gate\n\n",
                                         lineEnd));
  }
}

TEST_F(SafeEdits, FooterBecomesTheLastPartAndTheRestStaysAsItWas) {
  const EditResult result = Footer(kMixed);
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  const std::size_t body = kMixed.find("\n\nFor old") + 1;
  const std::size_t closing = kMixed.find("--b1--");
  // Everything from the empty line to the closing delimiter, and what stands behind that.
  const std::size_t place = result.bytes.find(kMixed.substr(body, closing - body));
  ASSERT_NE(place, std::string::npos) << result.bytes;
  EXPECT_NE(result.bytes.find("\n\nChecked by the gate\n"), std::string::npos);
  EXPECT_TRUE(result.bytes.ends_with("--b1--\nA list was here.\n")) << result.bytes;
  EXPECT_NE(result.bytes.find(Marker() + "\n"), std::string::npos);
}

TEST_F(SafeEdits, HtmlIsWrappedWithItsBytesKept) {
  const EditResult result = Footer(kHtml);
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  EXPECT_NE(result.bytes.find("Content-Type: text/html\n\n<p>Hello.</p>\n\n--"), std::string::npos)
      << result.bytes;
  EXPECT_NE(result.bytes.find("\n\nChecked by the gate\n"), std::string::npos);
}

TEST_F(SafeEdits, FooterIsNeverAddedTwice) {
  for (const std::string_view message : {kPlain, kMixed, kHtml}) {
    const EditResult once = Footer(message);
    ASSERT_TRUE(once.changed);
    ExpectUnchanged(Footer(once.bytes), once.bytes, Reason::kFooterMarked);
  }
}

TEST_F(SafeEdits, FooterWithOtherLineEndsIsTheSameFooter) {
  Wishes wishes;
  wishes.footer = "One\nTwo\n";
  const EditResult once = SafeEdit(packer_, kPlain, wishes);
  ASSERT_TRUE(once.changed);
  wishes.footer = "One\r\nTwo";
  ExpectUnchanged(SafeEdit(packer_, once.bytes, wishes), once.bytes, Reason::kFooterMarked);
}

TEST_F(SafeEdits, AnotherFooterIsAdded) {
  const EditResult once = Footer(kPlain);
  Wishes wishes;
  wishes.footer = "Another";
  const EditResult twice = SafeEdit(packer_, once.bytes, wishes);
  ASSERT_TRUE(twice.changed);
  EXPECT_NE(twice.bytes.find("Checked by the gate\n"), std::string::npos);
  EXPECT_TRUE(twice.bytes.ends_with("\nAnother\n\n"));
}

TEST_F(SafeEdits, FooterThatEndsTheTextAlreadyCounts) {
  const std::vector<std::string> messages = {
      "Subject: a\n\nHello.\n\nChecked by the gate\n",
      "Subject: a\r\n\r\nHello.\r\nChecked by the gate  \r\n\r\n",
      "Subject: a\n\nChecked by the gate",
      "Subject: a\nContent-Transfer-Encoding: base64\n\nSGkKQ2hlY2tlZCBieSB0aGUgZ2F0ZQo=\n",
      "Subject: a\nContent-Transfer-Encoding: quoted-printable\n\nHi\nChecked=20by the=\n gate\n",
      "Content-Type: multipart/alternative; boundary=x\n\n--x\n\nHi\nChecked by the gate\n--x\n"
      "Content-Type: text/html\n\n<p>Hi</p>\n--x--\n",
  };
  for (const std::string& message : messages) {
    ExpectUnchanged(Footer(message), message, Reason::kFooterPresent);
  }
}

TEST_F(SafeEdits, FooterElsewhereDoesNotCount) {
  const std::vector<std::string> messages = {
      "Subject: a\n\nChecked by the gate\n\nHello.\n",          // not at the end
      "Subject: a\n\nHello. Not Checked by the gate\n",         // not a line of its own
      "Subject: a\nX-Zevka-Footer: sha256=00\n\nHello.\n",      // another digest
      "X-Zevka-Footer-2: " + FooterDigest(kFooter) + "\n\nA\n"  // another field
  };
  for (const std::string& message : messages) {
    EXPECT_TRUE(Footer(message).changed) << message;
  }
}

TEST_F(SafeEdits, FooterDoesNotGoIntoAFileOrAPieceOfAMessage) {
  const std::string file =
      "Content-Type: text/plain; name=a.csv\nContent-Disposition: ATTACHMENT; "
      "filename=a.csv\n\n1,2\n";
  ExpectUnchanged(Footer(file), file, Reason::kRefused);
  Wishes wishes;
  wishes.footer =
      "Gepr\xC3\xBC"
      "ft";  // gets a part of its own
  EXPECT_TRUE(SafeEdit(packer_, file, wishes).changed);
  const std::string piece = "Content-Type: message/partial; number=1; id=x\n\nSubject: a\n\nHi\n";
  ExpectUnchanged(Footer(piece), piece, Reason::kRefused);
}

TEST_F(SafeEdits, MarkerFieldHasTheNameThatTheHostGives) {
  EditOptions options;
  options.markerField = "X-Gate";
  const EditResult result = Footer(kPlain, options);
  EXPECT_NE(result.bytes.find("\nX-Gate: " + FooterDigest(kFooter) + "\n"), std::string::npos);
  ExpectUnchanged(Footer(result.bytes, options), result.bytes, Reason::kFooterMarked);
}

TEST_F(SafeEdits, DigestIsThatOfTheText) {
  // printf abc | sha256sum
  EXPECT_EQ(FooterDigest("abc"),
            "sha256=ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(FooterDigest("abc\r\n"), FooterDigest("abc"));
}

// --- fields, parts, subject ---

TEST_F(SafeEdits, FieldIsReplacedInItsPlaceAndNothingElseChanges) {
  EXPECT_EQ(Field(kPlain, "Subject", "Ho").bytes, "From: ada@example.org\nSubject: Ho\n\nHello.\n");
}

TEST_F(SafeEdits, FieldIsAddedAtTheEndOfTheFields) {
  EXPECT_EQ(Field(kPlain, "X-Checked", "yes").bytes,
            "From: ada@example.org\nSubject: Hi\nX-Checked: yes\n\nHello.\n");
  EXPECT_EQ(Field(kPlain, "Subject", "Ho", true).bytes,
            "From: ada@example.org\nSubject: Hi\nSubject: Ho\n\nHello.\n");
}

TEST_F(SafeEdits, FieldInUtf8IsWrittenInWordsThatStandAlone) {
  const EditResult result = Field(kPlain, "Subject", "Hello w\xC3\xB6rld");
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  EXPECT_EQ(result.bytes,
            "From: ada@example.org\nSubject: Hello =?utf-8?q?w=C3=B6rld?=\n\nHello.\n");
  ExpectUnchanged(Field(result.bytes, "Subject", "Hello w\xC3\xB6rld"), result.bytes,
                  Reason::kAsWanted);
}

TEST_F(SafeEdits, LongFieldInUtf8IsWholeAndFolded) {
  std::string value;
  std::string words;
  for (int count = 0; count < 400; ++count) {
    value += count == 0 ? "caf\xC3\xA9" : " bar caf\xC3\xA9";
    words += count == 0 ? "=?utf-8?q?caf=C3=A9?=" : " bar =?utf-8?q?caf=C3=A9?=";
  }
  const EditResult result = Field(WithLineEnds(kPlain, "\r\n"), "X-Long", value);
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  std::string unfolded;
  std::size_t begin = result.bytes.find("X-Long: ") + 8;
  while (begin != std::string::npos) {
    const std::size_t end = result.bytes.find("\r\n", begin);
    EXPECT_LE(end - begin, 78U);
    unfolded += result.bytes.substr(begin, end - begin);
    begin = result.bytes[end + 2] == ' ' ? end + 2 : std::string::npos;
  }
  EXPECT_EQ(unfolded, words);
}

TEST_F(SafeEdits, EncodedWordsThatAreGivenStayAsTheyAreSpelled) {
  EXPECT_EQ(Field(kPlain, "X-A", "=?utf-8?q?caf=C3=A9?=").bytes,
            "From: ada@example.org\nSubject: Hi\nX-A: =?utf-8?q?caf=C3=A9?=\n\nHello.\n");
}

TEST_F(SafeEdits, FieldThatHasTheValueAlreadyLeavesTheMessageAlone) {
  const std::string folded = "From: ada@example.org\nSubject: Hi\n there\n\nHello.\n";
  ExpectUnchanged(Field(kPlain, "Subject", "Hi"), kPlain, Reason::kAsWanted);
  ExpectUnchanged(Field(folded, "subject", "Hi there"), folded, Reason::kAsWanted);
}

TEST_F(SafeEdits, FieldOfOtherThanAsciiIsSetOnce) {
  const std::string value = "gr\xC3\xBC\xC3\x9F";
  const EditResult once = Field(kPlain, "X-A", value);
  EXPECT_EQ(once.bytes,
            "From: ada@example.org\nSubject: Hi\nX-A: =?utf-8?q?gr=C3=BC=C3=9F?=\n\nHello.\n");
  ExpectUnchanged(Field(once.bytes, "X-A", value), once.bytes, Reason::kAsWanted);
  EXPECT_TRUE(Field(once.bytes, "X-A", value + "e").changed);
}

TEST_F(SafeEdits, FieldOfAMultipartKeepsTheTextBehindTheClosingDelimiter) {
  std::string expected(kMixed);
  expected.insert(expected.find("\n\nFor old") + 1, "X-Checked: yes\n");
  EXPECT_EQ(Field(kMixed, "X-Checked", "yes").bytes, expected);
}

TEST_F(SafeEdits, RemovedPartGoesAndTheOthersStay) {
  std::string expected(kMixed);
  const std::size_t begin = expected.find("--b1\nContent-Type: application/x-msdownload");
  expected.erase(begin, expected.find("--b1--") - begin);
  EXPECT_EQ(Remove(kMixed, {"3"}).bytes, expected);
}

TEST_F(SafeEdits, SeveralPartsAreRemovedByTheNumbersTheyHadAtFirst) {
  std::string expected(kMixed);
  const std::size_t begin = expected.find("--b1\nContent-Type: application/octet-stream");
  expected.erase(begin, expected.find("--b1--") - begin);
  EXPECT_EQ(Remove(kMixed, {"2", "3"}).bytes, expected);
  EXPECT_EQ(Remove(kMixed, {"3", "2", "3"}).bytes, expected);
}

TEST_F(SafeEdits, NumbersOfTwoDigitsNameTheirParts) {
  const std::string head = "Content-Type: multipart/mixed; boundary=b\n\n";
  std::string message = head;
  std::string expected = head;
  for (int number = 1; number <= 12; ++number) {
    const std::string part = "--b\n\npart " + std::to_string(number) + "\n";
    message += part;
    expected += number == 2 || number == 10 ? "" : part;
  }
  EXPECT_EQ(Remove(message + "--b--\n", {"2", "10"}).bytes, expected + "--b--\n");
}

TEST_F(SafeEdits, PartThatIsNotThereIsAReason) {
  for (const std::string number : {"4", "1.1", "0", "99999999999999999999"}) {
    ExpectUnchanged(Remove(kMixed, {number}), kMixed, Reason::kNoSuchPart);
  }
  ExpectUnchanged(Remove(kPlain, {"1"}), kPlain, Reason::kNoSuchPart);
}

TEST_F(SafeEdits, MessageWithoutAnyPartIsNotMade) {
  ExpectUnchanged(Remove(kMixed, {"1", "2", "3"}), kMixed, Reason::kBadWish);
}

TEST_F(SafeEdits, SubjectGetsTheSuffixOnce) {
  Wishes wishes;
  wishes.subjectSuffix = " [ext]";
  const EditResult once = SafeEdit(packer_, kPlain, wishes);
  EXPECT_EQ(once.bytes, "From: ada@example.org\nSubject: Hi [ext]\n\nHello.\n");
  ExpectUnchanged(SafeEdit(packer_, once.bytes, wishes), once.bytes, Reason::kAsWanted);
}

TEST_F(SafeEdits, SubjectThatIsSetGetsTheSuffixToo) {
  Wishes wishes;
  wishes.fields.push_back({"Subject", "Ho", false});
  wishes.subjectSuffix = " [ext]";
  const std::string expected = "From: ada@example.org\nSubject: Ho [ext]\n\nHello.\n";
  EXPECT_EQ(SafeEdit(packer_, kPlain, wishes).bytes, expected);
  EXPECT_EQ(SafeEdit(packer_, "From: ada@example.org\n\nHello.\n", wishes).bytes, expected);
  ExpectUnchanged(SafeEdit(packer_, expected, wishes), expected, Reason::kAsWanted);
}

TEST_F(SafeEdits, FooterOfAPartThatGoesIsNone) {
  Wishes wishes;
  wishes.footer = kFooter;
  wishes.removeParts = {"2"};
  const std::string message =
      "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nHello.\n"
      "--b\n\nChecked by the gate\n--b--\n";
  const EditResult result = SafeEdit(packer_, message, wishes);
  ASSERT_TRUE(result.changed);
  EXPECT_NE(result.bytes.find("Checked by the gate"), std::string::npos) << result.bytes;
}

TEST_F(SafeEdits, AllWishesComeTrueOrNone) {
  Wishes wishes;
  wishes.footer = kFooter;
  wishes.fields.push_back({"X-A", "1", false});
  wishes.removeParts = {"7"};
  ExpectUnchanged(SafeEdit(packer_, kMixed, wishes), kMixed, Reason::kNoSuchPart);
  wishes.removeParts = {"3"};
  const EditResult result = SafeEdit(packer_, kMixed, wishes);
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  EXPECT_EQ(result.bytes.find("b.exe"), std::string::npos);
  EXPECT_NE(result.bytes.find("\nX-A: 1\n"), std::string::npos);
  EXPECT_NE(result.bytes.find("\nChecked by the gate\n"), std::string::npos);
}

// --- nothing to do, nothing possible ---

TEST_F(SafeEdits, NoWishGivesTheSameBytes) {
  ExpectUnchanged(SafeEdit(packer_, kMixed, {}), kMixed, Reason::kAsWanted);
}

TEST_F(SafeEdits, EmptyMessageIsNone) {
  ExpectUnchanged(Footer(""), "", Reason::kNotAMessage);
}

TEST_F(SafeEdits, WishesThatCannotBeWrittenAreRefusedBeforeAnything) {
  std::vector<Wishes> bad(8);
  bad[0].footer = "\xFF";
  bad[1].footer = " \n ";
  bad[2].footer = "a\x01z";
  bad[3].fields.push_back({"X Y", "1", false});
  bad[4].fields.push_back({"X-Y", "1\nBcc: all@example.org", false});
  bad[5].fields.push_back({"X-Y", " ", false});
  bad[6].removeParts = {"1..2"};
  bad[7].subjectSuffix = "a\r\nb";
  for (const Wishes& wishes : bad) {
    ExpectUnchanged(SafeEdit(packer_, kMixed, wishes), kMixed, Reason::kBadWish);
  }
  EditOptions options;
  options.markerField = "no name";
  ExpectUnchanged(Footer(kPlain, options), kPlain, Reason::kBadWish);
}

TEST_F(SafeEdits, LimitsLeaveTheMessageAlone) {
  EditOptions options;
  options.limits.mostBytes = kPlain.size() - 1;
  ExpectUnchanged(Footer(kPlain, options), kPlain, Reason::kTooLarge);
  options.limits.mostBytes = kPlain.size();
  EXPECT_TRUE(Footer(kPlain, options).changed);

  options = {};
  options.limits.mostParts = 3;  // the message and its three parts are four
  ExpectUnchanged(Footer(kMixed, options), kMixed, Reason::kTooManyParts);
  options.limits.mostParts = 4;
  EXPECT_TRUE(Footer(kMixed, options).changed);

  const std::string longest = "X: " + std::string(4092, 'a') + "\n\nHi\n";
  EXPECT_TRUE(Footer(longest).changed);
  const std::string tooLong = "X: " + std::string(4093, 'a') + "\n\nHi\n";
  ExpectUnchanged(Footer(tooLong), tooLong, Reason::kLongHeaderLine);
}

// --- signatures ---

TEST_F(SafeEdits, NothingIsDoneToSignedMailWhateverIsAsked) {
  const std::string message = "DKIM-Signature: v=1; d=example.org\nSubject: a\n\nHi\n";
  ExpectUnchanged(Footer(message), message, Reason::kDkim);
  ExpectUnchanged(Field(message, "X-A", "1"), message, Reason::kDkim);
}

TEST_F(SafeEdits, HostThatSignsAfterwardsMayChangeMailWithTransportSignatures) {
  EditOptions options;
  options.guardTransportSignatures = false;
  const std::string message =
      "ARC-Seal: i=1\n"
      "dkim-signature: v=1; d=example.org\n"
      "DomainKey-Signature: a=rsa-sha1\n"
      "Subject: a\n\nHi\n";
  const EditResult result = Footer(message, options);
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  EXPECT_EQ(result.bytes,
            "ARC-Seal: i=1\n"
            "dkim-signature: v=1; d=example.org\n"
            "DomainKey-Signature: a=rsa-sha1\n"
            "Subject: a\n" +
                Marker() + "\n\nHi\n\nChecked by the gate\n\n");
}

TEST_F(SafeEdits, FieldsThatLookLikeTheStandInsOfSignaturesAreKept) {
  EditOptions options;
  options.guardTransportSignatures = false;
  const std::string message =
      "Qkim-Signature: mine\nDKIM-Signature: v=1\nzkim-signature: also\nSubject: a\n\nHi\n";
  const EditResult result = Footer(message, options);
  ASSERT_TRUE(result.changed);
  EXPECT_TRUE(result.bytes.starts_with(
      "Qkim-Signature: mine\nDKIM-Signature: v=1\nzkim-signature: also\nSubject: a\n"))
      << result.bytes;
}

TEST_F(SafeEdits, MessageThatOneOfTwoReadersTakesForEncryptedIsLeftAlone) {
  const std::string message =
      "Content-Type: multipart/mixed; boundary=b\nContent-Type: multipart/mixed; boundary=c\n\n"
      "--b\n\nx\n--b--\n--c\nContent-Type: application/pgp-encrypted\n\n--c--\n";
  ExpectUnchanged(Footer(message), message, Reason::kPgpEncrypted);
}

TEST_F(SafeEdits, OtherGuardsCannotBeSwitchedOff) {
  EditOptions options;
  options.guardTransportSignatures = false;
  const std::string message =
      "Content-Type: application/pkcs7-mime; smime-type=enveloped-data\n\nAAAA\n";
  ExpectUnchanged(Footer(message, options), message, Reason::kSmimeEncrypted);
}

// --- what the library would misread ---

TEST_F(SafeEdits, WhatStandsInFrontOfTheMessageStaysThere) {
  const std::string mark = "\xEF\xBB\xBF";
  const std::string line = "From ada@example.org Mon Mar  3 09:15:00 2025\n";
  for (const std::string& front : {mark, line, mark + line}) {
    const EditResult result = Field(front + std::string(kPlain), "X-A", "1");
    EXPECT_EQ(result.bytes, front + "From: ada@example.org\nSubject: Hi\nX-A: 1\n\nHello.\n");
  }
  ExpectUnchanged(Field(line + "\n", "X-A", "1"), line + "\n", Reason::kVerifyFailed);
}

TEST_F(SafeEdits, PartsWithoutFieldsKeepTheirText) {
  const std::string message =
      "Content-Type: multipart/mixed; boundary=b\n\n--b\n\nNote: this is text\n--b\n"
      "Content-Type: multipart/digest; boundary=d\n\n--d\n\nSubject: one\n\nHi\n--d--\n--b--\n";
  std::string expected = message;
  expected.insert(expected.find("\n\n--b") + 1, "X-A: 1\n");
  EXPECT_EQ(Field(message, "X-A", "1").bytes, expected);
}

TEST_F(SafeEdits, MultipartWithoutDelimitersGetsNone) {
  const std::string message = "Content-Type: multipart/mixed\n\nHello.\n";
  EXPECT_EQ(Field(message, "X-A", "1").bytes, "Content-Type: multipart/mixed\nX-A: 1\n\nHello.\n");
}

TEST_F(SafeEdits, EmbeddedMessageKeepsEveryByte) {
  // The library's writer would close the inner multipart and trim its delimiters.
  const std::string message =
      "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: message/rfc822\n\n"
      "Subject: in\nContent-Type: multipart/mixed; boundary=c\n\n--c \n\none\n--c \n\ntwo\n\n"
      "--b--\n";
  std::string expected = message;
  expected.insert(expected.find("\n\n--b") + 1, "X-A: 1\n");
  EXPECT_EQ(Field(message, "X-A", "1").bytes, expected);

  const std::string whole = "Content-Type: message/rfc822\n\nSubject: in\n\n\n";
  const EditResult result = Footer(whole);
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  EXPECT_NE(result.bytes.find("message/rfc822\n\nSubject: in\n\n\n\n--"), std::string::npos)
      << result.bytes;
}

// --- the result is looked at again ---

TEST_F(SafeEdits, TextBehindBase64IsNotDecodedAway) {
  const std::string message =
      "Subject: a\nContent-Transfer-Encoding: base64\n\nSGkK\n-- \nSent through a list.\n";
  ExpectUnchanged(Footer(message), message, Reason::kVerifyFailed);
  const std::string claimed = "Content-Transfer-Encoding: base64\n\nHi, this is no base64.\n";
  ExpectUnchanged(Footer(claimed), claimed, Reason::kVerifyFailed);
}

TEST_F(SafeEdits, MessageThatTheLibraryWouldCutComesBackAsItWas) {
  // The library ends a field at a NUL.
  using namespace std::string_literals;
  const std::string message = "Subject: a\0b\nX: y\n\nHello.\n"s;
  const EditResult result = Footer(message);
  ExpectUnchanged(result, message, Reason::kVerifyFailed);
  EXPECT_NE(result.rejected.find("Checked by the gate"), std::string::npos);
}

TEST_F(SafeEdits, MixedLineEndsAreNotWrittenOut) {
  const std::string message = "Subject: a\nX: y\n\nHello.\r\nBye.\n";
  ExpectUnchanged(Footer(message), message, Reason::kVerifyFailed);
}

TEST_F(SafeEdits, TextOfWideCharactersGetsNoFooter) {
  // "hi" LF in UTF-16.
  const std::string message =
      "Content-Type: text/plain; charset=\"UTF-16LE\"\nContent-Transfer-Encoding: "
      "base64\n\naABpAAoA\n";
  ExpectUnchanged(Footer(message), message, Reason::kRefused);
  EXPECT_TRUE(Field(message, "X-A", "1").changed);
}

TEST_F(SafeEdits, StrayReturnsAreNotMendedEither) {
  // The library would write a line end for the CR, and a delimiter for all readers.
  const std::string message =
      "Subject: a\nContent-Type: multipart/mixed; boundary=b\n\n--b\r \nA: b\n\nHi\n--b--\n";
  ExpectUnchanged(Field(message, "X-A", "1"), message, Reason::kVerifyFailed);
}

TEST_F(SafeEdits, UnclosedMultipartIsClosedAndKeepsItsLastBody) {
  const std::string message =
      "Content-Type: multipart/mixed; boundary=x\n\n--x\n\nfirst\n--x\n\nlast\n";
  const EditResult result = Field(message, "X-A", "1");
  ASSERT_TRUE(result.changed) << result.reasons.front().detail;
  EXPECT_EQ(result.bytes,
            "Content-Type: multipart/mixed; boundary=x\nX-A: 1\n\n--x\n\nfirst\n--x\n\nlast\n"
            "\n--x--\n");
}

}  // namespace
}  // namespace zevka::host
