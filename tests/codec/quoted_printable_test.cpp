#include "codec/quoted_printable.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/codec/bytes.h"
#include "tests/support/random_bytes.h"
#include "tests/support/reference/quoted_printable_reference.h"

namespace zevka {
namespace {

using test::Bytes;
using test::Room;

constexpr LineEndStyle kCrLf = LineEndStyle::kCrLf;
constexpr LineEndStyle kCr = LineEndStyle::kCr;
constexpr LineEndStyle kLf = LineEndStyle::kLf;
constexpr LineEndStyle kUnknown = LineEndStyle::kUnknown;

std::string Decode(DecodeState& state, LineEndStyle style, std::string_view input,
                   std::size_t room) {
  std::string out(room, 'x');
  out.resize(QpDecodeChunk(state, style, Bytes(input), Room(out)));
  return out;
}

std::string Decode(DecodeState& state, LineEndStyle style, std::string_view input) {
  return Decode(state, style, input, input.size());
}

struct DecodeCase {
  LineEndStyle style;
  std::string_view input;
  std::string_view output;
  std::uint64_t faults;
  std::int32_t state;
};

const DecodeCase kDecodeCases[] = {
    // Escapes.
    {kLf, "=41", "A", 0, 0},
    {kLf, "=4a=4A=fF", "JJ\xFF", 0, 0},
    {kLf, "a=3Db", "a=b", 0, 0},
    {kLf, "plain text_ \xE9", "plain text_ \xE9", 0, 0},
    {kLf, "=", "", 0, 1},
    {kLf, "=4", "", 0, 2},
    // Faults. KEEP(qp-fault-drops)
    {kLf, "=4G", "", 1, 0},
    {kLf, "=4Gx", "x", 1, 0},
    {kLf, "=Gx", "x", 1, 0},
    {kLf, "==41", "41", 1, 0},
    {kLf, "=4=41", "41", 1, 0},
    {kLf, "= \nx", "\nx", 1, 0},
    {kCrLf, "= \r\nx", "\r\nx", 1, 0},
    {kCrLf, "=4\r\nx", "\nx", 1, 0},
    {kCrLf, "x =4\r", "x ", 1, 0},
    // Soft line breaks that end as the message's lines do.
    {kLf, "a=\nb", "ab", 0, 0},
    {kUnknown, "a=\nb", "ab", 0, 0},
    {kCr, "a=\rb", "ab", 0, 0},
    {kCrLf, "a=\r\nb", "ab", 0, 0},
    {kCrLf, "a=\r", "a", 0, 3},
    // And those that do not.
    {kLf, "a=\r\nb", "a\nb", 1, 0},
    {kUnknown, "a=\rb", "ab", 1, 0},
    {kCr, "a=\nb", "ab", 1, 0},
    {kCr, "a=\r\nb", "a\nb", 0, 0},
    // KEEP(qp-soft-break-open)
    {kCrLf, "a=\nb\nc\nd", "abc\nd", 0, 0},
    {kCrLf, "a=\rb\r\nc\n", "ab\rc\n", 0, 0},
    {kCrLf, "a=\nb=43\nd", "abC\nd", 0, 0},
    {kCrLf, "a=\nb=\r\nc\n", "abc\n", 0, 0},
    {kCrLf, "a=\nbcd", "abcd", 0, 3},
    {kCrLf, "a=\n\nb", "ab", 0, 0},
    // KEEP(qp-blanks-stay)
    {kCrLf, "a \t\r\nb ", "a \t\r\nb ", 0, 0},
};

TEST(QpDecode, GivesBytesFaultsAndStateOfEachInput) {
  for (const DecodeCase& c : kDecodeCases) {
    SCOPED_TRACE(testing::PrintToString(c.input) + " " + std::to_string(static_cast<int>(c.style)));
    DecodeState state;
    EXPECT_EQ(Decode(state, c.style, c.input), c.output);
    EXPECT_EQ(state.base64.invalidTotal, c.faults);
    EXPECT_EQ(state.quotedPrintable.state, c.state);
  }
}

TEST(QpDecode, EveryByteHasItsEscape) {
  constexpr std::string_view kCapital = "0123456789ABCDEF";
  constexpr std::string_view kSmall = "0123456789abcdef";
  for (unsigned i = 0; i < 256; ++i) {
    for (const std::string_view digits : {kCapital, kSmall}) {
      DecodeState state;
      const std::string escape = {'=', digits[i / 16], digits[i % 16]};
      EXPECT_EQ(Decode(state, kCrLf, escape), std::string(1, static_cast<char>(i)));
      EXPECT_EQ(state.base64.invalidTotal, 0U);
    }
  }
}

TEST(QpDecode, OnlyDigitsMakeAnEscape) {
  constexpr std::string_view kDigits = "0123456789ABCDEFabcdef";
  for (unsigned i = 0; i < 256; ++i) {
    const char c = static_cast<char>(i);
    if (kDigits.find(c) != std::string_view::npos) {
      continue;
    }
    DecodeState second;
    EXPECT_EQ(Decode(second, kLf, std::string("=4") + c), "") << i;
    EXPECT_EQ(second.base64.invalidTotal, 1U) << i;
    DecodeState first;
    EXPECT_EQ(Decode(first, kLf, std::string("=") + c), "") << i;
    EXPECT_EQ(first.base64.invalidTotal, c == '\n' ? 0U : 1U) << i;
  }
}

struct EndCase {
  std::string_view input;
  std::uint64_t faults;
};

TEST(QpDecode, EscapeLeftUnfinishedAtTheEndIsAFault) {
  const EndCase cases[] = {{"=4", 1}, {"=", 1}, {"=41", 0}, {"x", 0}, {"=\r", 0}, {"=\r\n", 0}};
  for (const EndCase& c : cases) {
    SCOPED_TRACE(c.input);
    DecodeState state;
    Decode(state, kCrLf, c.input);
    EXPECT_EQ(QpDecodeChunk(state, kCrLf, {}, {}), 0U);
    EXPECT_EQ(state.base64.invalidTotal, c.faults);
  }
}

TEST(QpDecode, EndOfBodyLeavesTheStateAsItIs) {
  DecodeState state;
  Decode(state, kLf, "=4");
  QpDecodeChunk(state, kLf, {}, {});
  EXPECT_EQ(state.quotedPrintable.state, 2);
  EXPECT_EQ(state.quotedPrintable.previous, '4');
}

TEST(QpDecode, RemembersTheLastCharacterOfAChunk) {
  DecodeState state;
  Decode(state, kLf, "abc");
  EXPECT_EQ(state.quotedPrintable.previous, 'c');
  Decode(state, kLf, "=4");
  EXPECT_EQ(Decode(state, kLf, "1"), "A");
}

TEST(QpDecode, DigitBeforeTheChunkMustBeOne) {
  DecodeState state;
  state.quotedPrintable = {2, 'G'};
  EXPECT_EQ(Decode(state, kLf, "1x"), "x");
  EXPECT_EQ(state.base64.invalidTotal, 1U);
}

TEST(QpDecode, ByteWithoutRoomIsAFaultAndIsDropped) {
  DecodeState state;
  EXPECT_EQ(Decode(state, kLf, "abcd", 3), "abc");
  EXPECT_EQ(state.base64.invalidTotal, 1U);
  EXPECT_EQ(Decode(state, kLf, "ab=41\n", 2), "ab");
  EXPECT_EQ(state.base64.invalidTotal, 3U);
  EXPECT_EQ(state.quotedPrintable.state, 0);
}

TEST(QpDecode, OpenSoftBreakEndsWhereTheRoomDoes) {
  DecodeState state;
  EXPECT_EQ(Decode(state, kCrLf, "=\nab\n", 1), "a");
  // The "b" and the LF that is no longer swallowed.
  EXPECT_EQ(state.base64.invalidTotal, 2U);
  EXPECT_EQ(state.quotedPrintable.state, 0);
}

TEST(QpDecode, CounterIsTheOneOfBase64) {
  DecodeState state;
  state.base64.invalidTotal = 5;
  Decode(state, kLf, "=G");
  EXPECT_EQ(state.base64.invalidTotal, 6U);
  EXPECT_EQ(state.base64.invalidCount, 0U);
}

TEST(QpDecode, AnySplitGivesTheSameBytes) {
  const std::string_view input = "a=41=\r\nb=4Gc=\nd=\re\r\n==f =3d\n=";
  for (const LineEndStyle style : {kCrLf, kCr, kLf}) {
    DecodeState whole;
    const std::string expected = Decode(whole, style, input);
    for (std::size_t first = 0; first <= input.size(); ++first) {
      DecodeState state;
      std::string out;
      // An empty piece would be the end of the body.
      if (first > 0) {
        out += Decode(state, style, input.substr(0, first));
      }
      if (first < input.size()) {
        out += Decode(state, style, input.substr(first));
      }
      EXPECT_EQ(out, expected) << first;
      EXPECT_EQ(state.base64.invalidTotal, whole.base64.invalidTotal) << first;
      EXPECT_EQ(state.quotedPrintable.state, whole.quotedPrintable.state) << first;
    }
  }
}

TEST(QpDecode, AgreesWithTheReferenceOnAnyInputAnySplitAndAnyRoom) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  for (int round = 0; round < 4000; ++round) {
    const LineEndStyle style = round % 3 == 0 ? kCrLf : round % 3 == 1 ? kCr : kLf;
    DecodeState state;
    reference::QpDecoder slow(LineEndBytes(style));
    for (std::size_t chunk = random.Number(4); chunk-- > 0;) {
      const std::size_t length = 1 + random.Number(90);
      const std::string input = round % 4 == 0 ? random.Bytes(length)
                                : round % 4 == 1
                                    ? random.From("==\r\n\n\r4A", length)
                                    : random.From("====0123456789abcdefABCDEFg \r\n", length);
      const std::size_t room = round % 2 == 0 ? input.size() : random.Number(70);
      ASSERT_EQ(Decode(state, style, input, room), slow.Decode(input, room));
      ASSERT_EQ(state.base64.invalidTotal, slow.faults);
      ASSERT_EQ(state.quotedPrintable.state, slow.State());
      ASSERT_EQ(state.quotedPrintable.previous, static_cast<unsigned char>(input.back()));
    }
    QpDecodeChunk(state, style, {}, {});
    slow.EndOfBody();
    ASSERT_EQ(state.base64.invalidTotal, slow.faults);
  }
}

}  // namespace
}  // namespace zevka
