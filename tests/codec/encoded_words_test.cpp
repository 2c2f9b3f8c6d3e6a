#include "codec/encoded_words.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "tests/codec/bytes.h"
#include "tests/support/random_bytes.h"

namespace zevka {
namespace {

using test::Row;

constexpr LineEndStyle kCrLf = LineEndStyle::kCrLf;

struct LengthCase {
  std::string_view text;
  std::size_t length;
};

const LengthCase kLengthCases[] = {
    {"=?utf-8?Q?abc?= tail", 15},
    {"=?utf-8?Q?abc?x", 14},
    {"=?utf-8?Q?abc?", 14},
    {"=?utf-8?Q?abc", 14},  // KEEP(word-length-past-end)
    {"=?utf-8?Q?", 11},
    {"=?utf-8?q?a b\tc?=", 17},
    {"=?utf-8?B?YQ==?=", 16},
    {"=?utf-8?b?YQ==?=", 16},
    {"=?utf-8?Q?\?=", 12},
    {"=??Q?a?=", 8},
    {"=?utf-8?X?abc?=", 0},
    {"=?ut f-8?Q?a?=", 0},
    {"=?ut\tf-8?Q?a?=", 0},
    {"=?utf-8?Qa?=", 0},
    {"=?utf-8?Q", 0},
    {"=?utf-8?", 0},
    {"=?utf-8", 0},
    {"=?", 0},
    {"=", 0},
    {"", 0},
    {" =?utf-8?Q?a?=", 0},
    {"?=utf-8?Q?a?=", 0},
    {std::string_view("=?utf-8?Q?a\0b?=", 15), 12},
    {std::string_view("=?\0?Q?a?=", 9), 0},
};

TEST(EncodedWordLength, CountsTheCharactersOfEachText) {
  for (const LengthCase& c : kLengthCases) {
    EXPECT_EQ(EncodedWordLength(c.text), c.length) << c.text;
  }
}

// What a run gave.
struct Decoded {
  int count;
  std::string text;     // up to the terminator
  std::string charset;  // up to its end or the terminator
};

Decoded DecodeRun(std::string_view text, bool convert, std::size_t room = 64,
                  std::size_t charsetRoom = 31) {
  DecodeState state;
  std::string out(room, 'x');
  std::string charset(charsetRoom, 'x');
  const int count = DecodeWordRun(state, text, out, charset, convert, kCrLf);
  return {count, out.substr(0, out.find('\0')), charset.substr(0, charset.find('\0'))};
}

struct RunCase {
  std::string_view text;
  bool convert;
  int count;
  std::string_view decoded;
  std::string_view charset;
};

const RunCase kRunCases[] = {
    {"=?utf-8?Q?abc?=", false, 3, "abc", "utf-8"},
    {"=?utf-8?q?a=62c?=", false, 3, "abc", "utf-8"},
    {"=?utf-8?B?YWJj?=", false, 3, "abc", "utf-8"},
    {"=?utf-8?b?YWI=?=", false, 2, "ab", "utf-8"},
    {"=?utf-8?Q?a_b?=", false, 3, "a_b", "utf-8"},  // KEEP(word-underscore)
    {"=?utf-8?Q?a b?=", false, 3, "a b", "utf-8"},
    {" \t =?utf-8?Q?abc?=", false, 3, "abc", "utf-8"},
    {"=?ut f-8?Q?abc?=", false, 3, "abc", "ut f-8"},
    {"=??Q?abc?=", false, 3, "abc", ""},
    {"=?utf-8?Q?a=?=", false, 1, "a", "utf-8"},
    {"=?iso-8859-1?Q?=E9?=", false, 1, "\xE9", "iso-8859-1"},
    {"=?iso-8859-1?Q?=E9?=", true, 2, "\xC3\xA9", "iso-8859-1"},
    {"=?x-unknown?Q?a?=", false, 1, "a", "x-unknown"},
    // Runs: blanks between words vanish, and words need none.
    {"=?utf-8?Q?a?= \t =?utf-8?Q?b?=", false, 2, "ab", "utf-8"},
    {"=?utf-8?Q?a?==?utf-8?Q?b?=", false, 2, "ab", "utf-8"},
    {"=?utf-8?Q?a?= =?koi8-r?Q?b?=", false, 2, "ab", "koi8-r"},
    {"=?iso-8859-1?Q?=E9?= =?utf-8?Q?=C3=A9?=", true, 4, "\xC3\xA9\xC3\xA9", "utf-8"},
    // Text behind the words is copied and not counted. KEEP(word-tail-uncounted)
    {"=?utf-8?Q?a?= b.txt", false, 1, "ab.txt", "utf-8"},
    {"=?utf-8?Q?abc?=.txt", false, 3, "abc.txt", "utf-8"},
    {"=?utf-8?Q?a?= b =?utf-8?Q?c?=", false, 1, "ab =?utf-8?Q?c?=", "utf-8"},
    // No word at the start.
    {"plain", false, 0, "plain", "x"},
    {"  plain =?utf-8?Q?a?=", false, 0, "plain =?utf-8?Q?a?=", "x"},
    {"", false, 0, "", "x"},
    {" \t", false, 0, "", "x"},
    {"=x", false, 0, "=x", "x"},
    // Malformed.
    {"=?utf-8", false, -1, "x", "x"},
    {"=?", false, -1, "x", "x"},
    {"=?utf-8?", false, -1, "x", "x"},
    {"=?utf-8?X?abc?=", false, -1, "x", "x"},
    {"=?utf-8?Qabc?=", false, -1, "x", "x"},
    {"=?utf-8?Q?abc", false, -1, "x", "x"},
    {"=?utf-8?Q?abc?", false, -1, "x", "x"},
    {"=?utf-8?Q?abc?x", false, -1, "x", "x"},
    {"=?utf-8?Q?a?= =?utf-8?Q?b", false, -1, "a", "utf-8"},
    {"=?utf-8?Q?a?= =?", false, -1, "a", "utf-8"},
    // Empty words. KEEP(word-empty)
    {"=?utf-8?Q?\?=", false, -1, "x", "x"},
    {"=?utf-8?B?\?=", false, -1, "x", "x"},
    {"=?utf-8?Q?=?=", false, -1, "x", "x"},
    {"=?utf-8?B?Y?=", false, -1, "x", "x"},
    {"=?utf-8?B?****?=", false, -1, "x", "x"},
    // Conversions that fail or give nothing.
    {"=?x-unknown?Q?a?=", true, -1, "a", "x-unknown"},
    {"=?utf-8?Q?=C3?=", true, -1, "\xC3", "utf-8"},
    {"=?utf-8?Q?=00a?=", true, -1, "", "utf-8"},
};

TEST(DecodeWordRun, GivesCountTextAndCharsetOfEachRun) {
  for (const RunCase& c : kRunCases) {
    SCOPED_TRACE(c.text);
    const Decoded run = DecodeRun(c.text, c.convert);
    EXPECT_EQ(run.count, c.count);
    if (c.count >= 0) {
      EXPECT_EQ(run.text, c.decoded);
      EXPECT_EQ(run.charset, c.charset == "x" ? Row(31, 'x') : std::string(c.charset));
    } else {
      EXPECT_TRUE(run.text.starts_with(c.decoded));
      EXPECT_TRUE(run.charset.starts_with(c.charset));
    }
  }
}

TEST(DecodeWordRun, RawBytesMayHoldNuls) {
  DecodeState state;
  std::string out(8, 'x');
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?Q?a=00b?=", out, {}, false, kCrLf), 3);
  EXPECT_EQ(out, std::string("a\0b\0\0\0\0\0", 8));
}

TEST(DecodeWordRun, TextIsCutToTheRoomAndTerminated) {
  EXPECT_EQ(DecodeRun("plain", false, 4).text, "pla");
  EXPECT_EQ(DecodeRun("plain", false, 4).count, 0);
  // The count is the room, its last byte the terminator.
  const Decoded cut = DecodeRun("=?utf-8?Q?abcdef?=", false, 4);
  EXPECT_EQ(cut.count, 4);
  EXPECT_EQ(cut.text, "abc");
  // The second word finds no room and ends the run.
  EXPECT_EQ(DecodeRun("=?utf-8?Q?abcd?= =?utf-8?Q?e?=", false, 4).count, 4);
  EXPECT_EQ(DecodeRun("=?utf-8?Q?ab?= =?utf-8?Q?cdef?=", false, 4).count, 4);
  EXPECT_EQ(DecodeRun("=?utf-8?Q?ab?= cdef", false, 4).text, "abc");
}

TEST(DecodeWordRun, WithoutRoomNothingIsDone) {
  DecodeState state;
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?Q?a?=", {}, {}, false, kCrLf), 0);
  EXPECT_EQ(DecodeWordRun(state, "=?", {}, {}, false, kCrLf), 0);
  EXPECT_EQ(DecodeWordRun(state, "plain", {}, {}, false, kCrLf), 0);
}

TEST(DecodeWordRun, CharsetIsPaddedAndNotTerminatedWhereItIsLonger) {
  EXPECT_EQ(DecodeRun("=?abcdefgh?Q?a?=", false, 8, 5).charset, "abcde");
  EXPECT_EQ(DecodeRun("=?abcdefgh?Q?a?=", false, 8, 8).charset, "abcdefgh");
}

TEST(DecodeWordRun, CharsetIsKeptUpToSixtyThreeCharacters) {
  std::string text = "=?";
  text += Row(70, 'c', "?Q?a?=");
  EXPECT_EQ(DecodeRun(text, false, 8, 80).charset, Row(63, 'c'));
}

TEST(DecodeWordRun, ConvertedTextIsCutToTheRoom) {
  // Four bytes of UTF-8 where there is room for three and the terminator: half a character stays.
  const Decoded run = DecodeRun("=?iso-8859-1?Q?=E9=E9?=", true, 4);
  EXPECT_EQ(run.count, 3);
  EXPECT_EQ(run.text, "\xC3\xA9\xC3");
}

std::string Words(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += "=?utf-8?Q?a?= ";
  }
  return text;
}

// KEEP(words-32)
TEST(DecodeWordRun, ThirtyTwoWordsAreARunAndThirtyThreeAreNot) {
  EXPECT_EQ(DecodeRun(Words(32), false).count, 32);
  EXPECT_EQ(DecodeRun(Words(32) + "tail", false).text, Row(32, 'a', "tail"));
  EXPECT_EQ(DecodeRun(Words(33), false).count, -1);
}

TEST(DecodeEncodedWords, DepthCountsAsWordsOfTheRun) {
  DecodeState state;
  std::string out(16, 'x');
  EXPECT_EQ(DecodeEncodedWords(state, Words(1), out, {}, 31, false, kCrLf), 1);
  EXPECT_EQ(DecodeEncodedWords(state, Words(2), out, {}, 31, false, kCrLf), -1);
  EXPECT_EQ(DecodeEncodedWords(state, Words(1), out, {}, 32, false, kCrLf), -1);
}

TEST(DecodeWordRun, LeavesBothDecodersAsTheyWere) {
  DecodeState state;
  state.base64 = {7, 6, 5, 4, 3, 2};
  state.quotedPrintable = {3, 'p'};
  std::string out(64, 'x');
  DecodeWordRun(state, "=?utf-8?Q?a=?= =?utf-8?B?YWJ*?= =?utf-8?Q?=4G=?=", out, {}, false, kCrLf);
  EXPECT_EQ(state.base64.invalidTotal, 7U);
  EXPECT_EQ(state.base64.invalidCount, 6U);
  EXPECT_EQ(state.base64.padCount, 5U);
  EXPECT_EQ(state.base64.value, 4);
  EXPECT_EQ(state.base64.phase, 3U);
  EXPECT_EQ(state.base64.partial, 2U);
  EXPECT_EQ(state.quotedPrintable.state, 3);
  EXPECT_EQ(state.quotedPrintable.previous, 'p');
}

TEST(DecodeWordRun, EachWordBeginsWithClearedDecoders) {
  EXPECT_EQ(DecodeRun("=?utf-8?Q?a=4?= =?utf-8?Q?1b?=", false).text, "a1b");
  EXPECT_EQ(DecodeRun("=?utf-8?B?YW?= =?utf-8?B?YWJj?=", false).text, "aabc");
  DecodeState state;
  state.quotedPrintable = {1, '='};
  state.base64.phase = 2;
  std::string out(8, 'x');
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?Q?4?=", out, {}, false, kCrLf), 1);
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?B?YWJj?=", out, {}, false, kCrLf), 3);
}

TEST(DecodeWordRun, SoftBreaksEndAsTheStyleSays) {
  DecodeState state;
  std::string out(8, 'x');
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?Q?a=\nb?=", out, {}, false, LineEndStyle::kLf), 2);
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?Q?a=\nb?=", out, {}, false, LineEndStyle::kCr), 2);
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?Q?a=\nb\n?=", out, {}, false, LineEndStyle::kCr), 3);
  EXPECT_EQ(DecodeWordRun(state, "=?utf-8?Q?a=\nb\n?=", out, {}, false, LineEndStyle::kCrLf), 2);
}

// DecodeHeaderText

struct Text {
  int result;
  std::string text;
};

Text DecodeText(std::string_view text, std::size_t room = 128) {
  DecodeState state;
  std::string out(room, 'x');
  const int result = DecodeHeaderText(state, text, out, kCrLf);
  return {result, out.substr(0, out.find('\0'))};
}

struct TextCase {
  std::string_view text;
  std::string_view decoded;
};

const TextCase kTextCases[] = {
    {"", ""},
    {"plain = text", "plain = text"},
    {"=?utf-8?Q?a?=", "a"},
    {"x =?utf-8?Q?a?= y", "x a y"},
    {"x=?utf-8?Q?a?=y", "xay"},
    {"=?iso-8859-1?Q?caf=E9?= ok", "caf\xC3\xA9 ok"},
    {"=?ut f-8?Q?a?=", "=?ut f-8?Q?a?="},
    {"=?utf-8?X?a?=", "=?utf-8?X?a?="},
    {"=?utf-8", "=?utf-8"},
    {"=?utf-8?Q?a_b?=", "a_b"},
    // KEEP(word-twice)
    {"=?utf-8?Q?a?= =?utf-8?Q?b?= c", "ab b c"},
    {"=?utf-8?Q?a?= =?utf-8?Q?b?= =?utf-8?Q?c?=", "abc bc c"},
    {"=?utf-8?Q?a?= x =?utf-8?Q?b?=", "a x b"},
    {std::string_view("ab\0=?", 5), "ab"},
};

TEST(DecodeHeaderText, DecodesTheWordsOfEachText) {
  for (const TextCase& c : kTextCases) {
    SCOPED_TRACE(c.text);
    const Text text = DecodeText(c.text);
    EXPECT_EQ(text.result, 0);
    EXPECT_EQ(text.text, c.decoded);
  }
}

TEST(DecodeHeaderText, MalformedWordEndsItAll) {
  for (const std::string_view text :
       {"x =?utf-8?Q?a", "x =?utf-8?Q?a?b",
        "x =?utf-8?Q?\?=", "x =?x-unknown?Q?a?=", "=?utf-8?Q?a?= =?utf-8", "=?utf-8?Q?=C3?="}) {
    EXPECT_EQ(DecodeText(text).result, -1) << text;
  }
}

TEST(DecodeHeaderText, OutputIsCutToTheRoomAndTerminated) {
  EXPECT_EQ(DecodeText("abcdef", 4).text, "abc");
  EXPECT_EQ(DecodeText("abc", 4).text, "abc");
  EXPECT_EQ(DecodeText("ab=?utf-8?Q?cdef?=", 4).text, "abc");
  EXPECT_EQ(DecodeText("abcd=?utf-8?Q?", 4).result, 0);
  DecodeState state;
  EXPECT_EQ(DecodeHeaderText(state, "=?utf-8?Q?", {}, kCrLf), 0);
}

TEST(DecodeHeaderText, LeavesBothDecodersAsTheyWere) {
  DecodeState state;
  state.base64.invalidTotal = 7;
  state.quotedPrintable = {2, 'A'};
  std::string out(64, 'x');
  DecodeHeaderText(state, "=?utf-8?Q?a=4G=?= =?utf-8?B?YW*J?=", out, kCrLf);
  EXPECT_EQ(state.base64.invalidTotal, 7U);
  EXPECT_EQ(state.base64.phase, 0);
  EXPECT_EQ(state.quotedPrintable.state, 2);
  EXPECT_EQ(state.quotedPrintable.previous, 'A');
}

// EncodeHeaderText

Text EncodeText(std::string_view text, std::size_t room = 128) {
  DecodeState state;
  std::string out(room, '\0');
  const int result = EncodeHeaderText(state, text, out, kCrLf);
  return {result, out.substr(0, out.find('\0'))};
}

struct EncodeCase {
  std::string_view text;
  int result;
  std::string_view encoded;
};

const EncodeCase kEncodeCases[] = {
    {"", 0, ""},
    {"plain text", 0, ""},
    {"=?utf-8?Q?abc?=", 0, ""},
    {"=?x-unknown?Q?abc?=", 0, ""},
    {"Caf\xC3\xA9 ok", 1, "=?utf-8?q?Caf=C3=A9=20ok?="},
    // KEEP(encode-blank-inside)
    {"Hello Caf\xC3\xA9", 1, "Hello=?utf-8?q?=20Caf=C3=A9?="},
    {" Caf\xC3\xA9", 1, "=?utf-8?q?=20Caf=C3=A9?="},
    {"a\tCaf\xC3\xA9", 1, "a=?utf-8?q?=09Caf=C3=A9?="},
    {"one two \xE9 three", 1, "one two=?utf-8?q?=20=E9=20three?="},
    // What is escaped in a word, and what is not.
    {"\xE9=?_", 1, "=?utf-8?q?=E9=3D=3F=5F?="},
    {"\xE9!~\x7F\x01\r\n\t\"(,", 1, "=?utf-8?q?=E9!~=7F=01=0D=0A=09\"(,?="},
    {"\xFF", 1, "=?utf-8?q?=FF?="},
    // Words that can be decoded are written anew.
    {"=?iso-8859-1?Q?caf=E9?=", 1, "=?utf-8?q?caf=C3=A9?="},
    {"=?iso-8859-1?Q?=E9?= x", 1, "=?utf-8?q?=C3=A9=20x?="},
    // Words that cannot are kept.
    {"\xE9 =?x-unknown?Q?a?= \xE8", 1, "=?utf-8?q?=E9=20?= =?x-unknown?Q?a?= =?utf-8?q?=20=E8?="},
    {"\xE9 =?x-unknown?Q?a?=\xE8", 1, "=?utf-8?q?=E9=20?= =?x-unknown?Q?a?= =?utf-8?q?=E8?="},
    {"=?x-unknown?Q?a?= \xE9", 1, "=?x-unknown?Q?a?==?utf-8?q?=20=E9?="},
    {"=?x-unknown?Q?\xE9?= \xE8", 1, "=?utf-8?q?\?= =?x-unknown?Q?\xE9?= =?utf-8?q?=20=E8?="},
};

TEST(EncodeHeaderText, GivesTheEncodedFormOfEachText) {
  for (const EncodeCase& c : kEncodeCases) {
    SCOPED_TRACE(c.text);
    const Text text = EncodeText(c.text);
    EXPECT_EQ(text.result, c.result);
    EXPECT_EQ(text.text, c.encoded);
  }
}

TEST(EncodeHeaderText, PlainTextLeavesTheOutputUntouched) {
  DecodeState state;
  std::string out(8, 'x');
  EXPECT_EQ(EncodeHeaderText(state, "plain", out, kCrLf), 0);
  EXPECT_EQ(out, "xxxxxxxx");
}

TEST(EncodeHeaderText, WithoutOutputItOnlyTellsWhetherEncodingIsNeeded) {
  DecodeState state;
  EXPECT_EQ(EncodeHeaderText(state, "caf\xE9", {}, kCrLf), 1);
  EXPECT_EQ(EncodeHeaderText(state, "cafe", {}, kCrLf), 0);
  EXPECT_EQ(EncodeHeaderText(state, "\xE9 =?x-unknown?Q?a?= b", {}, kCrLf), 1);
}

// KEEP(encode-kept-word-last)
TEST(EncodeHeaderText, TextThatEndsBehindAKeptWordGivesZero) {
  EXPECT_EQ(EncodeText("\xE9 =?x-unknown?Q?a?= b").result, 0);
  EXPECT_EQ(EncodeText("\xE9 =?x-unknown?Q?a?=").result, 0);
}

TEST(EncodeHeaderText, KeptWordWithoutEndStaysInsideTheText) {
  EXPECT_EQ(EncodeText("\xE9 =?x-unknown?Q?abc").result, 0);
  EXPECT_EQ(EncodeText("\xE9 =?x-unknown?Q?").result, 0);
}

// KEEP(encode-to-end)
TEST(EncodeHeaderText, EverythingToTheEndIsOneWordHoweverLong) {
  std::string text = "\xE9 ";
  text += Row(200, 'a');
  std::string expected = "=?utf-8?q?=E9=20";
  expected += Row(200, 'a', "?=");
  EXPECT_EQ(EncodeText(text, 1000).text, expected);
}

struct RoomCase {
  std::size_t room;
  std::string_view encoded;
};

// Of "ab é", whole "ab=?utf-8?q?=20=C3=A9?=", 23 characters.
const RoomCase kRoomCases[] = {
    {1, ""},
    {2, "a"},
    {5, "ab=?"},
    {13, "ab=?utf-8?q?"},
    {15, "ab=?utf-8?q?=2"},
    {22, "ab=?utf-8?q?=20=C3=A9"},
    {23, "ab=?utf-8?q?=20=C3=A9?"},
    {24, "ab=?utf-8?q?=20=C3=A9?="},
    {25, "ab=?utf-8?q?=20=C3=A9?="},
};

TEST(EncodeHeaderText, OutputIsCutToTheRoomAndTerminated) {
  for (const RoomCase& c : kRoomCases) {
    DecodeState state;
    std::string out(c.room + 1, 'x');
    EXPECT_EQ(EncodeHeaderText(state, "ab \xC3\xA9", std::span(out).first(c.room), kCrLf), 1);
    EXPECT_EQ(out[c.room], 'x');
    EXPECT_EQ(out.substr(0, out.find('\0')), c.encoded) << c.room;
  }
}

TEST(EncodeHeaderText, WordsThatAreDecodedTwiceAreWrittenTwice) {
  EXPECT_EQ(EncodeText("=?utf-8?Q?=C3=A9?= =?utf-8?Q?b?=").text, "=?utf-8?q?=C3=A9b=20b?=");
}

// Of 32 words the run at the first gives 1862 bytes, the one at the second 1860, and the third run
// finds 838 bytes of room in twice the 2281 bytes of the text: there its fifteenth word is left
// with the terminator alone, converts to nothing and ends the decoding.
TEST(EncodeHeaderText, WordsThatGrowBeyondTwiceTheTextAreKeptAsTheyAre) {
  std::string text = "=?utf-8?Q?=C3=A9?=";
  for (int i = 0; i < 31; ++i) {
    text += " =?utf-8?Q?";
    text += Row(60, 'a', "?=");
  }
  ASSERT_EQ(text.size(), 2281U);
  EXPECT_EQ(DecodeText(text, 2 * text.size()).result, -1);
  EXPECT_EQ(DecodeText(text, 100000).result, 0);
  EXPECT_EQ(EncodeText(text, 20000).result, 0);
}

TEST(EncodeHeaderText, WhatItWritesDecodesToTheTextButForUnderscoresAndWords) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  for (int round = 0; round < 2000; ++round) {
    std::string text = random.From("abcXYZ019 \t_?=!,\r\n", random.Number(60)) + "\xC3\xA9" +
                       random.From("abcXYZ019 \t_?=!,\r\n", random.Number(60));
    if (text.find("=?") != std::string::npos) {
      continue;
    }
    DecodeState state;
    std::string encoded(1000, '\0');
    ASSERT_EQ(EncodeHeaderText(state, text, encoded, kCrLf), 1);
    encoded.resize(encoded.find('\0'));
    ASSERT_TRUE(std::all_of(encoded.begin(), encoded.end(),
                            [](char c) { return static_cast<unsigned char>(c) < 128; }));
    std::string decoded(1000, '\0');
    ASSERT_EQ(DecodeHeaderText(state, encoded, decoded, kCrLf), 0);
    ASSERT_EQ(decoded.substr(0, decoded.find('\0')), text);
  }
}

TEST(EncodedWords, HostileTextStaysInsideItsBounds) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  constexpr std::string_view kPieces[] = {
      "=?",   "?=", "?",  "utf-8", "iso-8859-1", "x-unknown", "?Q?", "?B?", "=E9",
      "YWJj", " ",  "\t", "a",     "\xC3\xA9",   "\xE9",      "_",   "=",   "=?utf-8?Q?a?=",
  };
  for (int round = 0; round < 4000; ++round) {
    std::string text;
    for (std::size_t i = random.Number(20); i-- > 0;) {
      text += kPieces[random.Number(std::size(kPieces) - 1)];
    }
    text.shrink_to_fit();
    const std::size_t length = EncodedWordLength(text);
    ASSERT_LE(length, text.size() + 1);
    const std::size_t room = random.Number(40);
    DecodeState state;
    std::string out(room + 1, 'x');
    std::string charset(9, 'x');
    const std::span<char> limited = std::span(out).first(room);
    const bool convert = round % 2 == 0;
    const int count =
        DecodeWordRun(state, text, limited, std::span(charset).first(8), convert, kCrLf);
    ASSERT_GE(count, -1);
    ASSERT_LE(count, static_cast<int>(room));
    DecodeHeaderText(state, text, limited, kCrLf);
    const int encoded = EncodeHeaderText(state, text, limited, kCrLf);
    ASSERT_TRUE(encoded == 0 || encoded == 1);
    ASSERT_EQ(out[room], 'x');
    ASSERT_EQ(charset[8], 'x');
    ASSERT_EQ(state.base64.invalidTotal, 0U);
    ASSERT_EQ(state.quotedPrintable.state, 0);
  }
}

}  // namespace
}  // namespace zevka
