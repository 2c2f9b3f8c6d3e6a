#include "host/kit/mbox.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace zevka::host {
namespace {

constexpr std::string_view kFirst = "From ann@example.org Thu Jan  1 00:00:00 1970\n";
constexpr std::string_view kSecond = "From bob@example.org Fri Jan  2 00:00:00 1970\n";

std::string Joined(const std::vector<std::string_view>& pieces) {
  std::string text;
  for (const std::string_view piece : pieces) {
    text.append(piece);
  }
  return text;
}

std::string WithCrLf(std::string_view text) {
  std::string result;
  for (const char character : text) {
    result.append(character == '\n' ? "\r\n" : std::string(1, character));
  }
  return result;
}

// The pieces of a box: preamble, then separator, message and gap of each entry.
std::vector<std::string> PiecesOf(std::string_view box) {
  MboxReader reader(box);
  std::vector<std::string> pieces = {std::string(reader.Preamble())};
  while (const auto entry = reader.Next()) {
    for (const std::string_view piece : {entry->separator, entry->message, entry->gap}) {
      pieces.emplace_back(piece);
    }
  }
  return pieces;
}

MboxEntry EntryOf(std::string_view box) {
  return MboxReader(box).Next().value_or(MboxEntry());
}

using Pieces = std::vector<std::string>;

TEST(MboxReader, GivesEachMessageWithoutTheEmptyLineOfTheBox) {
  const std::string box =
      Joined({kFirst, "Subject: a\n\none\n\n", kSecond, "Subject: b\n\ntwo\n\n"});
  EXPECT_EQ(PiecesOf(box), (Pieces{"", std::string(kFirst), "Subject: a\n\none\n", "\n",
                                   std::string(kSecond), "Subject: b\n\ntwo\n", "\n"}));
}

TEST(MboxReader, KeepsCrLf) {
  const std::string box = WithCrLf(Joined({kFirst, "A: a\n\n1\n\n\n", kSecond, "B: b\n\n2\n\n"}));
  EXPECT_EQ(PiecesOf(box), (Pieces{"", WithCrLf(kFirst), "A: a\r\n\r\n1\r\n\r\n", "\r\n",
                                   WithCrLf(kSecond), "B: b\r\n\r\n2\r\n", "\r\n"}));
}

TEST(MboxReader, TakesLineEndsOfBothKindsInOneBox) {
  const std::string box = Joined({kFirst, "A: a\n\n1\r\n\n", kSecond, "B: b\n\n2\n\r\n", kFirst});
  EXPECT_EQ(PiecesOf(box),
            (Pieces{"", std::string(kFirst), "A: a\n\n1\r\n", "\n", std::string(kSecond),
                    "B: b\n\n2\n", "\r\n", std::string(kFirst), "", ""}));
}

TEST(MboxReader, ReadsABoxThatEndsAnywhere) {
  const std::string first(kFirst);
  EXPECT_EQ(PiecesOf(""), (Pieces{""}));
  EXPECT_EQ(PiecesOf(first), (Pieces{"", first, "", ""}));
  EXPECT_EQ(PiecesOf(first.substr(0, first.size() - 1)),
            (Pieces{"", first.substr(0, first.size() - 1), "", ""}));
  EXPECT_EQ(PiecesOf(first + "\n"), (Pieces{"", first, "", "\n"}));
  EXPECT_EQ(PiecesOf(first + "A: a\n\none"), (Pieces{"", first, "A: a\n\none", ""}));
  EXPECT_EQ(PiecesOf(first + "A: a\n\none\n"), (Pieces{"", first, "A: a\n\none\n", ""}));
  EXPECT_EQ(PiecesOf(first + "\n" + first), (Pieces{"", first, "", "\n", first, "", ""}));
}

TEST(MboxReader, SplitsOnlyBehindAnEmptyLine) {
  const std::string box = Joined({kFirst, "A: a\n\none\n", kSecond, " \n", kSecond, "two\n"});
  EXPECT_EQ(PiecesOf(box), (Pieces{"", std::string(kFirst), box.substr(kFirst.size()), ""}));
}

TEST(MboxReader, LeavesTextThatBeginsWithFromInItsMessage) {
  const std::string message = "A: a\n\nFrom now on it rains.\n\nFrom Monday, May 1 12:00 on\n";
  const std::string box = Joined({kFirst, message, "\n", kSecond});
  EXPECT_EQ(PiecesOf(box),
            (Pieces{"", std::string(kFirst), message, "\n", std::string(kSecond), "", ""}));
}

TEST(MboxReader, GivesWhatStandsInFrontOfTheFirstSeparator) {
  EXPECT_EQ(PiecesOf(Joined({"\n", kFirst, "A: a\n"})),
            (Pieces{"\n", std::string(kFirst), "A: a\n", ""}));
  EXPECT_EQ(PiecesOf("Subject: a\n\nno box\n"), (Pieces{"Subject: a\n\nno box\n"}));
}

TEST(MboxReader, ViewsCoverTheBox) {
  for (const std::string_view body :
       {"", "\n", "\n\n", "x", "x\n", "x\n\n", "\nx\n\n\n", ">From x\n\n"}) {
    for (const std::string& lines : {Joined({"\n", kFirst, body, kSecond, body, kFirst, body}),
                                     Joined({body, kFirst, body, "\n", kSecond, body})}) {
      for (const std::string& box : {lines, WithCrLf(lines)}) {
        MboxReader reader(box);
        std::string copy(reader.Preamble());
        while (const auto entry = reader.Next()) {
          EXPECT_EQ(Replaced(*entry, MessageOf(*entry)), Raw(*entry));
          copy.append(Raw(*entry));
        }
        EXPECT_EQ(copy, box);
      }
    }
  }
}

TEST(LooksLikeMbox, AsksForASeparatorFirst) {
  EXPECT_TRUE(LooksLikeMbox(kFirst));
  EXPECT_TRUE(LooksLikeMbox(Joined({"\r\n\n", kFirst, "A: a\n"})));
  EXPECT_FALSE(LooksLikeMbox(""));
  EXPECT_FALSE(LooksLikeMbox("\n\n"));
  EXPECT_FALSE(LooksLikeMbox("From: ann@example.org\n\n"));
  EXPECT_FALSE(LooksLikeMbox("From now on\n"));
  EXPECT_FALSE(LooksLikeMbox(Joined({"\r\r", kFirst})));
  EXPECT_FALSE(LooksLikeMbox(Joined({"Subject: a\n\n", kFirst})));
}

TEST(MboxSeparator, IsAnyLineWithASenderAndADate) {
  for (const std::string_view line : {
           "From ann@example.org Thu Jan  1 00:00:00 1970\n",
           "From ann@example.org Thu Jan  1 00:00:00 1970\r\n",
           "From ann@example.org Thu Jan 01 00:00 1970",
           "From ann@example.org  Thu Jan 31 9:59:60 1970 ",
           "From - Wed Feb 29 23:59:59 2012",
           "From Wed Feb 29 23:59:59 2012",
           "From ann at example.org  Thu Jan  1 00:00:00 1970",
           "From \"Mon day\"@example.org Thu Jan  1 00:00:00 1970",
           "From Mon Thu Jan  1 00:00:00 1970",
           "From ???@??? Thu Jan 01 00:00:00 1970",
           "From 12@xxx Mon Mar 09 12:34:56 +0000 2020",
           "From ann THU JAN  1 00:00:00 GMT 1970",
           "From ann Thu Jan  1 00:00:00 MET DST 1970",
           "From ann Thu Jan  1 00:00:00 1970 -0130",
           "From ann Thu Jan  1 00:00:00 1970 +0100 (CET)",
           "From ann Thu Jan  1 00:00:00 1970 remote from host",
           "From ann Thu, 1 Jan 1970 00:00:00 +0000 (UTC)",
           "From ann Thu, 1 Jan 1970 00:00:00",
       }) {
    EXPECT_TRUE(IsMboxSeparator(line)) << line;
  }
}

TEST(MboxSeparator, IsNoLineOfText) {
  for (const std::string_view line : {
           "",
           "From",
           "From \n",
           "From now on\n",
           "from ann@example.org Thu Jan  1 00:00:00 1970\n",
           "From: ann@example.org Thu Jan  1 00:00:00 1970\n",
           ">From ann@example.org Thu Jan  1 00:00:00 1970\n",
           " From ann@example.org Thu Jan  1 00:00:00 1970\n",
           "From ann@example.org\n",
           "From ann@example.org Thu Jan  1 1970\n",
           "From ann@example.org Thu Jan  1 00:00:00\n",
           "From ann@example.org Jan  1 00:00:00 1970\n",
           "From ann@example.org Tho Jan  1 00:00:00 1970\n",
           "From ann@example.org Thu Jen  1 00:00:00 1970\n",
           "From ann@example.org Thu Jan  0 00:00:00 1970\n",
           "From ann@example.org Thu Jan 32 00:00:00 1970\n",
           "From ann@example.org Thu Jan  1 24:00:00 1970\n",
           "From ann@example.org Thu Jan  1 00:60:00 1970\n",
           "From ann@example.org Thu Jan  1 00:00:61 1970\n",
           "From ann@example.org Thu Jan  1 00:00:00: 1970\n",
           "From ann@example.org Thu Jan  1 00:0 1970\n",
           "From ann@example.org Thu Jan  1 : 1970\n",
           "From ann@example.org Thu Jan  1 00:00:00 70\n",
           "From the start, Thu Jan  1 00:00:00 1970, all was well\n",
           "From the start on Thu Jan  1 00:00:00 1970 all was well\n",
       }) {
    EXPECT_FALSE(IsMboxSeparator(line)) << line;
  }
  EXPECT_FALSE(IsMboxSeparator("From " + std::string(2000, 'x') + " Thu Jan  1 00:00:00 1970"));
}

struct QuotingCase {
  std::string_view quoted;
  std::string_view unquoted;
};

TEST(MboxQuoting, PutsOnAndTakesOffOneSign) {
  for (const QuotingCase& test : {
           QuotingCase{"", ""},
           QuotingCase{">From a", "From a"},
           QuotingCase{">From \n>>From b\r\n>>>From c\n", "From \n>From b\r\n>>From c\n"},
           QuotingCase{"a\n>From b\n\n>From c", "a\nFrom b\n\nFrom c"},
           QuotingCase{"> From a\n>from b\n>From: c\n>From\nx>From d\n>>\n>",
                       "> From a\n>from b\n>From: c\n>From\nx>From d\n>>\n>"},
       }) {
    EXPECT_EQ(Unquoted(test.quoted), test.unquoted);
    EXPECT_EQ(Quoted(test.unquoted), test.quoted);
  }
  EXPECT_EQ(Unquoted("From a\n"), "From a\n");
}

TEST(MboxEntry, GetsAChangedMessageQuotedAsBefore) {
  const std::string box = Joined({kFirst, "A: a\n\n>From x\n>>From y\n\n", kSecond});
  const MboxEntry entry = EntryOf(box);
  EXPECT_EQ(MessageOf(entry), "A: a\n\nFrom x\n>From y\n");
  EXPECT_EQ(Replaced(entry, "A: a\n\nFrom x\n>From y\nFrom us\n"),
            Joined({kFirst, "A: a\n\n>From x\n>>From y\n>From us\n\n"}));
}

// A box of another rule: lines of text stand bare, and a '>' may be the message's own.
TEST(MboxEntry, WithBareLinesKeepsThemAndQuotesOnlySeparators) {
  const std::string message = "From x\nA: a\n\nFrom now on\n>From y\n";
  const std::string box = Joined({kFirst, message, "\n", kSecond});
  const MboxEntry entry = EntryOf(box);
  EXPECT_EQ(MessageOf(entry), message);
  EXPECT_EQ(Replaced(entry, message), Joined({kFirst, message, "\n"}));
  EXPECT_EQ(Replaced(entry, Joined({message, kSecond, "\n", kSecond, "\n", kSecond, "From us\n"})),
            Joined({kFirst, message, kSecond, "\n>", kSecond, "\n>", kSecond, "From us\n\n"}));
}

TEST(MboxEntry, EndsItsLastLineWhenAnotherMayFollow) {
  const std::string box = WithCrLf(Joined({kFirst, "A: a\n\none\n\n", kSecond, "B: b\n\ntwo"}));
  MboxReader reader(box);
  const auto first = reader.Next();
  const auto second = reader.Next();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(Replaced(*first, "A: a"), WithCrLf(Joined({kFirst, "A: a\n\n"})));
  EXPECT_EQ(Replaced(*first, ""), WithCrLf(Joined({kFirst, "\n"})));
  EXPECT_EQ(Replaced(*second, "B: b"), WithCrLf(kSecond) + "B: b");
  EXPECT_FALSE(reader.Next());
}

}  // namespace
}  // namespace zevka::host
