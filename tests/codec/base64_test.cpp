#include "codec/base64.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/codec/bytes.h"
#include "tests/support/random_bytes.h"
#include "tests/support/reference/base64_reference.h"

namespace zevka {
namespace {

using test::Bytes;
using test::Room;
using test::Row;

std::string Decode(Base64DecodeState& state, std::string_view input, std::size_t room) {
  std::string out(room, 'x');
  out.resize(Base64DecodeChunk(state, Bytes(input), Room(out)));
  return out;
}

std::string Decode(Base64DecodeState& state, std::string_view input) {
  return Decode(state, input, input.size());
}

struct DecodeCase {
  std::string_view input;
  std::string output;
  std::uint32_t invalid;
  std::uint32_t pads;
  std::uint16_t phase;
};

const DecodeCase kDecodeCases[] = {
    {"", "", 0, 0, 0},
    {"QUJD", "ABC", 0, 0, 0},
    {"QUI=", "AB", 0, 1, 3},
    {"QQ==", "A", 0, 2, 2},
    {"QQ=A", std::string("A\0", 2), 1, 0, 3},  // KEEP(base64-data-after-padding)
    {"QQ==QQ==", "A\x04\x10", 2, 2, 0},        // the second "QQ" ends the first one's group
    {"Q", "", 0, 0, 1},
    {"QU", "A", 0, 0, 2},
    {"QUJ", "AB", 0, 0, 3},
    {"====", "", 0, 4, 0},
    {"QU\r\nJD", "ABC", 0, 0, 0},
    {"QU\nJD", "ABC", 0, 0, 0},
    {"QU\rJD", "ABC", 0, 0, 0},
    {"\t Q U\tJ D ", "ABC", 0, 0, 0},
    {"QU\vJD", "ABC", 1, 0, 0},  // KEEP(base64-vertical-blanks)
    {"QU\fJD", "ABC", 1, 0, 0},
    {"Q-U_J*D", "ABC", 3, 0, 0},
    {"\x80QU\xFFJD", "ABC", 2, 0, 0},
    {"+/+/", "\xFB\xFF\xBF", 0, 0, 0},
    {"AAAA", std::string(3, '\0'), 0, 0, 0},
    {"////", "\xFF\xFF\xFF", 0, 0, 0},
};

TEST(Base64Decode, GivesBytesFaultsAndPhaseOfEachInput) {
  for (const DecodeCase& c : kDecodeCases) {
    SCOPED_TRACE(c.input);
    Base64DecodeState state;
    EXPECT_EQ(Decode(state, c.input), c.output);
    EXPECT_EQ(state.invalidCount, c.invalid);
    EXPECT_EQ(state.invalidTotal, c.invalid);
    EXPECT_EQ(state.padCount, c.pads);
    EXPECT_EQ(state.phase, c.phase);
  }
}

// The standard alphabet, written out once more.
constexpr std::string_view kDigitsInOrder =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

TEST(Base64Decode, ClassifiesEveryByte) {
  for (int i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    const std::size_t digit = kDigitsInOrder.find(c);
    int expected = -2;
    if (digit != std::string_view::npos) {
      expected = static_cast<int>(digit);
    } else if (i == 9 || i == 10 || i == 13 || i == 32) {
      expected = -1;
    } else if (i == 61) {
      expected = -3;
    }
    Base64DecodeState state;
    Decode(state, std::string(1, c));
    EXPECT_EQ(state.value, expected) << i;
    EXPECT_EQ(state.invalidCount, expected == -2 ? 1U : 0U) << i;
    EXPECT_EQ(state.padCount, expected == -3 ? 1U : 0U) << i;
  }
}

TEST(Base64Decode, CountOfACallStartsAnewAndTheTotalGoesOn) {
  Base64DecodeState state;
  Decode(state, "**");
  Decode(state, "*");
  EXPECT_EQ(state.invalidCount, 1U);
  EXPECT_EQ(state.invalidTotal, 3U);
  Decode(state, "");
  EXPECT_EQ(state.invalidCount, 0U);
  EXPECT_EQ(state.invalidTotal, 3U);
}

TEST(Base64Decode, PaddingCountsWhenDataFollowsInALaterCall) {
  Base64DecodeState state;
  EXPECT_EQ(Decode(state, "QQ=="), "A");
  EXPECT_EQ(state.invalidTotal, 0U);
  Decode(state, "\r\n");
  EXPECT_EQ(state.invalidTotal, 0U);
  Decode(state, "Q");
  EXPECT_EQ(state.invalidCount, 2U);
  EXPECT_EQ(state.padCount, 0U);
}

// KEEP(base64-full-room)
TEST(Base64Decode, WithoutRoomCharactersAreUsedUpAndTheGroupStaysWhereItIs) {
  Base64DecodeState state;
  EXPECT_EQ(Decode(state, "QUJD", 1), "A");
  EXPECT_EQ(state.phase, 2);
  EXPECT_EQ(state.invalidTotal, 0U);
  // The second byte is still under construction; the next digit that finds room completes it.
  EXPECT_EQ(Decode(state, "J", 1), "B");
}

TEST(Base64Decode, WithoutAnyRoomAGroupStillBegins) {
  Base64DecodeState state;
  EXPECT_EQ(Decode(state, "QUJD", 0), "");
  EXPECT_EQ(state.phase, 1);
  EXPECT_EQ(state.partial, 16U << 2);
}

TEST(Base64Decode, ResetClearsEverything) {
  Base64DecodeState state;
  Decode(state, "QU*=");
  Base64ResetDecoder(state);
  EXPECT_EQ(state.invalidTotal, 0U);
  EXPECT_EQ(state.invalidCount, 0U);
  EXPECT_EQ(state.padCount, 0U);
  EXPECT_EQ(state.value, 0);
  EXPECT_EQ(state.phase, 0);
  EXPECT_EQ(state.partial, 0);
}

TEST(Base64Decode, AnySplitGivesTheSameBytes) {
  const std::string_view input = "QUJD\r\nREVG R0g=\t*QQ==x/+\xFFz";
  Base64DecodeState whole;
  const std::string expected = Decode(whole, input);
  for (std::size_t first = 0; first <= input.size(); ++first) {
    for (std::size_t second = first; second <= input.size(); ++second) {
      Base64DecodeState state;
      std::string out = Decode(state, input.substr(0, first));
      out += Decode(state, input.substr(first, second - first), 100);
      out += Decode(state, input.substr(second), 100);
      ASSERT_EQ(out, expected) << first << " " << second;
      ASSERT_EQ(state.invalidTotal, whole.invalidTotal);
      ASSERT_EQ(state.phase, whole.phase);
      ASSERT_EQ(state.partial, whole.partial);
      ASSERT_EQ(state.padCount, whole.padCount);
      ASSERT_EQ(state.value, whole.value);
    }
  }
}

TEST(Base64Decode, AgreesWithTheReferenceOnAnyInputAnySplitAndAnyRoom) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  std::string likely(kDigitsInOrder);
  likely += "AAAA====\r\n\r\n  *\xC3\v";
  for (int round = 0; round < 3000; ++round) {
    Base64DecodeState state;
    reference::Base64Decoder slow;
    for (std::size_t chunk = random.Number(4); chunk-- > 0;) {
      const std::size_t length = random.Number(90);
      const std::string input = round % 3 == 0   ? random.Bytes(length)
                                : round % 3 == 1 ? random.From(likely, length)
                                                 : random.From(kDigitsInOrder, length);
      const std::size_t room = round % 2 == 0 ? input.size() : random.Number(70);
      ASSERT_EQ(Decode(state, input, room), slow.Decode(input, room));
      ASSERT_EQ(state.invalidCount, slow.invalidCount);
      ASSERT_EQ(state.invalidTotal, slow.invalidTotal);
      ASSERT_EQ(state.padCount, slow.padCount);
      ASSERT_EQ(state.value, slow.value);
      ASSERT_EQ(state.phase, slow.used);
      ASSERT_EQ(state.partial, slow.lastBits);
    }
  }
}

// The encoder.

std::string Encode(Base64EncodeState& state, std::string_view terminator, std::string_view input,
                   std::size_t room) {
  std::string out(room, 'x');
  out.resize(Base64EncodeChunk(state, terminator, Bytes(input), Room(out)));
  return out;
}

std::string EncodeWhole(std::string_view terminator, std::string_view input) {
  Base64EncodeState state;
  const std::size_t room = input.size() * 2 + 6;
  const std::string text = input.empty() ? "" : Encode(state, terminator, input, room);
  return text + Encode(state, terminator, "", room);
}

struct EncodeCase {
  std::string_view input;
  std::string_view output;
};

// The ones of RFC 4648 10, and bytes that use the last two digits.
const EncodeCase kEncodeCases[] = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},
    {"foobar", "Zm9vYmFy"},
    {"\xFB\xFF\xBF", "+/+/"},
    {"\xFF", "/w=="},
};

TEST(Base64Encode, GivesTheDigitsOfEachInput) {
  for (const EncodeCase& c : kEncodeCases) {
    EXPECT_EQ(EncodeWhole("\r\n", c.input), c.output);
  }
}

TEST(Base64Encode, FlushingAnEmptyStateWritesNothing) {
  Base64EncodeState state;
  EXPECT_EQ(Encode(state, "\n", "", 100), "");
}

// KEEP(base64-line-72)
TEST(Base64Encode, FiftyFourBytesAreOneLineWithoutTerminator) {
  Base64EncodeState state;
  const std::string line(72, 'A');
  EXPECT_EQ(Encode(state, "\r\n", std::string(54, '\0'), 1000), line);
  EXPECT_EQ(state.column, 72);
  EXPECT_EQ(Encode(state, "\r\n", "", 1000), "");
  EXPECT_EQ(Encode(state, "\r\n", "ABC", 1000), "\r\nQUJD");
  EXPECT_EQ(state.column, 4);
}

TEST(Base64Encode, LinesEndWithTheTerminatorThatIsGiven) {
  const std::string input(57, '\0');
  const std::string line(72, 'A');
  EXPECT_EQ(EncodeWhole("\r\n", input), line + "\r\nAAAA");
  EXPECT_EQ(EncodeWhole("\r", input), line + "\rAAAA");
  EXPECT_EQ(EncodeWhole("\n", input), line + "\nAAAA");
}

TEST(Base64Encode, PaddedGroupBehindAFullLineHasTheTerminatorBeforeIt) {
  EXPECT_EQ(EncodeWhole("\n", std::string(55, '\0')), Row(72, 'A', "\nAA=="));
}

TEST(Base64Encode, ColumnSurvivesTheFlush) {
  Base64EncodeState state;
  Encode(state, "\n", "f", 100);
  EXPECT_EQ(Encode(state, "\n", "", 100), "Zg==");
  EXPECT_EQ(state.column, 4);
  EXPECT_EQ(state.pendingCount, 0);
  // 51 more bytes are 68 characters and fill the line; the next group begins a new one.
  EXPECT_EQ(Encode(state, "\n", std::string(51, '\0'), 100), std::string(68, 'A'));
  EXPECT_EQ(Encode(state, "\n", "foo", 100), "\nZm9v");
}

TEST(Base64Encode, FlushEndsThePendingGroupOnce) {
  Base64EncodeState state;
  Encode(state, "\n", "fo", 100);
  EXPECT_EQ(Encode(state, "\n", "", 100), "Zm8=");
  EXPECT_EQ(Encode(state, "\n", "", 100), "");
}

TEST(Base64Encode, BytesTooFewForAGroupWait) {
  Base64EncodeState state;
  EXPECT_EQ(Encode(state, "\n", "f", 100), "");
  EXPECT_EQ(Encode(state, "\n", "o", 100), "");
  EXPECT_EQ(state.pendingCount, 2);
  EXPECT_EQ(Encode(state, "\n", "o", 100), "Zm9v");
  EXPECT_EQ(state.pendingCount, 0);
}

// KEEP(base64-room-drops)
TEST(Base64Encode, GroupWithLessThanSixBytesOfRoomIsDropped) {
  Base64EncodeState state;
  EXPECT_EQ(Encode(state, "\n", "foobar", 6), "Zm9v");
  EXPECT_EQ(Encode(state, "\n", "foobar", 9), "Zm9v");
  EXPECT_EQ(Encode(state, "\n", "foobar", 10), "Zm9vYmFy");
  EXPECT_EQ(Encode(state, "\n", "foo", 5), "");
  EXPECT_EQ(state.column, 16);
}

TEST(Base64Encode, BytesBehindADroppedGroupAreStillPending) {
  Base64EncodeState state;
  EXPECT_EQ(Encode(state, "\n", "foobarf", 6), "Zm9v");
  EXPECT_EQ(Encode(state, "\n", "", 6), "Zg==");
}

TEST(Base64Encode, CompletedPendingGroupIsDroppedWithoutRoom) {
  Base64EncodeState state;
  Encode(state, "\n", "fo", 100);
  EXPECT_EQ(Encode(state, "\n", "o", 5), "");
  EXPECT_EQ(state.pendingCount, 0);
  EXPECT_EQ(Encode(state, "\n", "", 100), "");
}

TEST(Base64Encode, FlushWithoutRoomDropsThePendingBytes) {
  Base64EncodeState state;
  Encode(state, "\n", "f", 100);
  EXPECT_EQ(Encode(state, "\n", "", 5), "");
  EXPECT_EQ(Encode(state, "\n", "", 100), "");
}

TEST(Base64Encode, TerminatorOfMoreThanTwoBytesIsCut) {
  Base64EncodeState state{.column = 72};
  EXPECT_EQ(Encode(state, "abc", "foo", 6), "abZm9v");
}

TEST(Base64Encode, AgreesWithTheReferenceForAnySplit) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  for (int round = 0; round < 1000; ++round) {
    const std::string body = random.Bytes(random.Number(400));
    const std::string_view terminator = round % 2 == 0 ? "\r\n" : "\n";
    Base64EncodeState state;
    std::string out;
    std::string_view rest = body;
    while (!rest.empty()) {
      const std::size_t length = 1 + random.Number(rest.size() - 1);
      out += Encode(state, terminator, rest.substr(0, length), 1000);
      rest.remove_prefix(length);
    }
    out += Encode(state, terminator, "", 1000);
    ASSERT_EQ(out, reference::EncodeBase64BreakBefore(body, 72, terminator));
    Base64DecodeState decoder;
    ASSERT_EQ(Decode(decoder, out), body);
    ASSERT_EQ(decoder.invalidTotal, 0U);
  }
}

}  // namespace
}  // namespace zevka
