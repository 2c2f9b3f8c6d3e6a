// The form of the quoted-printable encoder that takes many bytes, at each level of vector
// instructions: lines worked out by hand, a slow reference, and the form that takes one byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "codec/quoted_printable_lines.h"
#include "tests/codec/bytes.h"
#include "tests/codec/guarded_bytes.h"
#include "tests/codec/levels.h"
#include "tests/codec/written_file.h"
#include "tests/support/random_bytes.h"
#include "tests/support/reference/quoted_printable_reference.h"

namespace zevka {
namespace {

using test::Beside;
using test::GuardedBytes;
using test::Row;

constexpr std::size_t kLargest = 3000;

QpLineState StateWith(std::string_view terminator) {
  QpLineState state;
  terminator.copy(state.terminator, terminator.size());
  state.terminatorLength = static_cast<std::uint32_t>(terminator.size());
  return state;
}

// Encodes into just as much room as is asked for.
class TextEncoder {
 public:
  TextEncoder(CpuLevel level, std::string_view terminator)
      : state(StateWith(terminator)), level_(level) {}

  std::string Put(std::string_view text, Beside beside = Beside::kPageBehind) {
    const std::span<char> room = Room(QpTextRoom(text.size()), beside);
    const std::span<const unsigned char> bytes = input_.Text(text, beside);
    return {room.data(), QpEncodeTextAt(level_, bytes, state, room)};
  }
  std::string End(bool lineBreak) {
    const std::span<char> room = Room(kQpLineEndRoom, Beside::kPageBehind);
    return {room.data(), QpEndLine(state, lineBreak, room)};
  }
  std::string Line(std::string_view text, bool lineBreak) {
    const std::string lines = Put(text);
    return lines + End(lineBreak);
  }
  // A body with "\n" for its line breaks.
  std::string Body(std::string_view body) {
    std::string text;
    while (!body.empty()) {
      const std::string_view line = body.substr(0, body.find('\n'));
      text += Put(line);
      body.remove_prefix(line.size());
      if (!body.empty()) {
        text += End(true);
        body.remove_prefix(1);
      }
    }
    text += End(false);
    return text +
           (state.lineStarted != 0 ? std::string(state.terminator, state.terminatorLength) : "");
  }

  QpLineState state;

 private:
  std::span<char> Room(std::size_t size, Beside beside) {
    const std::span<unsigned char> room = output_.Room(size, beside);
    return {reinterpret_cast<char*>(room.data()), room.size()};
  }

  CpuLevel level_;
  GuardedBytes input_{kLargest};
  GuardedBytes output_{QpTextRoom(kLargest)};
};

template <typename Check>
void ForEachLevel(std::string_view terminator, const Check& check) {
  for (const CpuLevel level : test::LevelsHere()) {
    SCOPED_TRACE(test::LevelName(level));
    TextEncoder encoder(level, terminator);
    check(encoder);
    if (testing::Test::HasFailure()) {
      return;
    }
  }
}

TEST(QpText, EveryByteIsLiteralOrEscapedInCapitals) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  ForEachLevel("\n", [&](TextEncoder& encoder) {
    for (unsigned i = 0; i < 256; ++i) {
      const bool literal = i == 9 || (i >= 32 && i <= 126 && i != 61);
      const std::string character = literal ? std::string(1, static_cast<char>(i))
                                            : std::string{'=', kDigits[i / 16], kDigits[i % 16]};
      for (std::size_t place = 0; place < 66; place += i % 3 + 1) {
        const std::string before(place, 'b');
        EXPECT_EQ(encoder.Line(before + static_cast<char>(i) + "x", true),
                  before + character + "x\n");
      }
    }
  });
}

TEST(QpText, LongLinesBreakSoftlyBehindSeventyFiveCharactersAndSplitNoEscape) {
  ForEachLevel("\r\n", [](TextEncoder& encoder) {
    EXPECT_EQ(encoder.Put(Row(75, 'a')), "");
    EXPECT_EQ(encoder.state.length, 75U);
    EXPECT_EQ(encoder.Put("b"), Row(75, 'a', "=\r\n"));
    EXPECT_EQ(encoder.End(true), "b\r\n");
    EXPECT_EQ(encoder.Line(Row(80, 'a'), true), Row(75, 'a', "=\r\naaaaa\r\n"));
    EXPECT_EQ(encoder.Line(Row(72, 'a', "\xFF"), true), Row(72, 'a', "=FF\r\n"));
    EXPECT_EQ(encoder.Line(Row(73, 'a', "\xFF"), true), Row(73, 'a', "=\r\n=FF\r\n"));
    EXPECT_EQ(encoder.Line(Row(74, 'a', "\xFF"), true), Row(74, 'a', "=\r\n=FF\r\n"));
    EXPECT_EQ(encoder.Line(Row(75, 'a', "\xFF"), true), Row(75, 'a', "=\r\n=FF\r\n"));
  });
}

TEST(QpText, BlankBeforeALineEndIsEscapedWithoutLookingAtTheRoom) {
  ForEachLevel("\r\n", [](TextEncoder& encoder) {
    EXPECT_EQ(encoder.Line(Row(74, 'a', " "), true), Row(74, 'a', "=20\r\n"));
    EXPECT_EQ(encoder.Line("a\t", false), "a=09");
    EXPECT_EQ(encoder.Line(Row(74, 'a', " b"), false), Row(74, 'a', " =\r\nb"));
  });
}

TEST(QpText, OnlyTheEndOfAStartedLineLeavesItStarted) {
  ForEachLevel("\r\n", [](TextEncoder& encoder) {
    encoder.Put("a");
    EXPECT_EQ(encoder.state.lineStarted, 0U);
    encoder.End(false);
    EXPECT_EQ(encoder.state.lineStarted, 1U);
    encoder.Put(Row(76, 'a'));
    EXPECT_EQ(encoder.state.lineStarted, 0U);
    encoder.End(true);
    EXPECT_EQ(encoder.state.lineStarted, 0U);
    EXPECT_EQ(encoder.End(false), "");
    EXPECT_EQ(encoder.state.lineStarted, 0U);
  });
}

// What the form for one byte writes and keeps.
void ExpectAsByBytes(TextEncoder& encoder, std::string_view text, Beside beside) {
  test::WrittenFile file;
  QpLineState byBytes = encoder.state;
  for (const char c : text) {
    ASSERT_EQ(QpEncodeByte(file.Handle(), static_cast<unsigned char>(c), byBytes, false, false), 0);
  }
  EXPECT_EQ(encoder.Put(text, beside), file.Close());
  const QpLineState& state = encoder.state;
  EXPECT_EQ(std::string_view(state.line, state.length),
            std::string_view(byBytes.line, byBytes.length));
  EXPECT_EQ(state.lineStarted, byBytes.lineStarted);
}

TEST(QpText, EveryLengthBesideTheEndsOfMemoryIsAsByBytes) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  ForEachLevel("\r\n", [&](TextEncoder& encoder) {
    test::RandomBytes random(seed);
    for (std::size_t length = 0; length <= 300; ++length) {
      SCOPED_TRACE(length);
      const std::string text = length % 3 == 0   ? random.Bytes(length)
                               : length % 3 == 1 ? random.From("abcdefgh =\xC3", length)
                                                 : random.From("ab ", length);
      ExpectAsByBytes(encoder, text, length % 2 == 0 ? Beside::kPageBehind : Beside::kPageBefore);
      encoder.state.lineStarted = 1;
    }
  });
}

TEST(QpText, TextOfNothingButEscapesFitsTheRoom) {
  ForEachLevel("\r\n", [](TextEncoder& encoder) {
    for (std::size_t length = 1; length < kLargest; length = length * 2 + 1) {
      encoder.Put(Row(length, '\xFF'));
      encoder.Put(Row(75 - encoder.state.length, 'a'));
      EXPECT_EQ(encoder.state.length, 75U);
      const std::string text = encoder.Put(Row(length, '\xFF'));
      // 25 escapes a line, and before them the line that was full.
      EXPECT_EQ(text.size(), 78 + (length - 1) / 25 * 78);
    }
  });
}

TEST(QpText, AgreesWithTheReference) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  for (const std::string_view terminator : {"\r\n", "\r", "\n"}) {
    ForEachLevel(terminator, [&](TextEncoder& encoder) {
      test::RandomBytes random(seed);
      for (int round = 0; round < 300; ++round) {
        const std::size_t length = random.Number(round % 10 == 0 ? kLargest : 400);
        const std::string body =
            round % 2 == 0 ? random.Bytes(length) : random.From("aaaaaaaa  \t\n=\xE9\r", length);
        encoder.state = StateWith(terminator);
        ASSERT_EQ(encoder.Body(body), reference::EncodeQp(body, terminator));
      }
    });
  }
}

}  // namespace
}  // namespace zevka
