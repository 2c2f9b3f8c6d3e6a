// Base64 at each level of vector instructions: the bytes worked out by hand, and all fields of the
// state beside those of the plain form.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "codec/base64.h"
#include "tests/codec/bytes.h"
#include "tests/codec/guarded_bytes.h"
#include "tests/codec/levels.h"
#include "tests/support/random_bytes.h"

namespace zevka {
namespace {

using test::Beside;
using test::GuardedBytes;
using test::LevelName;
using test::LevelsHere;

constexpr std::size_t kLargest = 20000;

std::string Repeat(std::string_view text, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

std::string_view AsText(std::span<const unsigned char> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// One decoder and its buffers.
class LevelDecoder {
 public:
  explicit LevelDecoder(CpuLevel level) : level_(level) {}

  std::string_view Decode(std::string_view text, std::size_t room,
                          Beside beside = Beside::kPageBehind) {
    const std::span<unsigned char> out = output_.Room(room, beside);
    return AsText(out.first(Base64DecodeChunkAt(level_, state, input_.Text(text, beside), out)));
  }

  Base64DecodeState state;

 private:
  CpuLevel level_;
  GuardedBytes input_{kLargest};
  GuardedBytes output_{kLargest};
};

void ExpectSame(const Base64DecodeState& state, const Base64DecodeState& plain) {
  EXPECT_EQ(state.invalidTotal, plain.invalidTotal);
  EXPECT_EQ(state.invalidCount, plain.invalidCount);
  EXPECT_EQ(state.padCount, plain.padCount);
  EXPECT_EQ(state.value, plain.value);
  EXPECT_EQ(state.phase, plain.phase);
  EXPECT_EQ(state.partial, plain.partial);
}

// Runs `check` with a decoder of each level and one of the plain form.
template <typename Check>
void ForEachLevel(const Check& check) {
  for (const CpuLevel level : LevelsHere()) {
    SCOPED_TRACE(LevelName(level));
    LevelDecoder decoder(level);
    LevelDecoder plain(CpuLevel::kPlain);
    check(decoder, plain);
    if (testing::Test::HasFailure()) {
      return;
    }
  }
}

// Both decode the text from the same state on.
void Compare(LevelDecoder& decoder, LevelDecoder& plain, std::string_view text, std::size_t room,
             Beside beside = Beside::kPageBehind) {
  const std::string expected(plain.Decode(text, room, beside));
  EXPECT_EQ(decoder.Decode(text, room, beside), expected);
  ExpectSame(decoder.state, plain.state);
}

TEST(Base64Levels, DecodeLinesOf76Characters) {
  // 57 bytes a line: "ABC" 19 times.
  const std::string text = Repeat(Repeat("QUJD", 19) + "\r\n", 200);
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder&) {
    EXPECT_EQ(decoder.Decode(text, 11400), Repeat("ABC", 3800));
    EXPECT_EQ(decoder.state.invalidTotal, 0U);
    EXPECT_EQ(decoder.state.phase, 0);
    EXPECT_EQ(decoder.state.value, -1);
    EXPECT_EQ(decoder.state.partial, 0x40);  // "J" is 9: its last two bits stay behind
  });
}

TEST(Base64Levels, DecodeEveryDigitInEveryPlaceOfAGroup) {
  // The digits in order are 00 10 83 10 51 87 20 92 8B 30 D3 8F ... BF DF BF FF.
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr std::string_view kBytes(
      "\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51\x55\x97\x61\x96\x9B\x71\xD7"
      "\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3"
      "\xDF\xBF",
      48);
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    EXPECT_EQ(decoder.Decode(kDigits, 48), kBytes);
    for (std::size_t place = 1; place < 4; ++place) {
      Compare(decoder, plain, Repeat("A", place) + Repeat(kDigits, 3), 200);
    }
  });
}

// A byte of the given value in a place of long text: counted as the classes say.
TEST(Base64Levels, ClassifyEveryByteInEveryPlaceOfARow) {
  const std::string text = Repeat("QUJD", 50);
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    for (int i = 0; i < 256; ++i) {
      const char c = static_cast<char>(i);
      const bool white = i == 9 || i == 10 || i == 13 || i == 32;
      const bool digit = kDigits.find(c) != std::string_view::npos;
      for (std::size_t place = 0; place < 66; ++place) {
        std::string changed = text;
        changed.insert(place, 1, c);
        decoder.state = {};
        plain.state = {};
        Compare(decoder, plain, changed, 160);
        // Padding is one too, for data follows.
        ASSERT_EQ(decoder.state.invalidTotal, white || digit ? 0U : 1U) << i << " at " << place;
        ASSERT_EQ(decoder.state.phase, digit ? 1 : 0);
      }
    }
  });
}

TEST(Base64Levels, DecodeEveryLengthBesideTheEndsOfMemory) {
  const std::string lines = Repeat(Repeat("QUJD", 19) + "\r\n", 5);
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    for (std::size_t length = 0; length <= 300; ++length) {
      for (const Beside beside : {Beside::kPageBehind, Beside::kPageBefore}) {
        SCOPED_TRACE(length);
        Compare(decoder, plain, std::string_view(lines).substr(0, length), length / 4 * 3 + 3,
                beside);
        Compare(decoder, plain, Repeat("x", length), length, beside);
      }
    }
  });
}

TEST(Base64Levels, DecodeWithAFaultAtEveryPlace) {
  const std::string lines = Repeat(Repeat("QUJD", 19) + "\r\n", 3);
  for (const std::string_view fault :
       {"*", "=", "==", "=\r\n=", "\xC3\xA4", "\v", "\t\t\t", "Q", "\r"}) {
    ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
      for (std::size_t place = 0; place <= lines.size(); ++place) {
        SCOPED_TRACE(place);
        std::string text = lines;
        text.insert(place, fault);
        Compare(decoder, plain, text, text.size());
      }
    });
  }
}

TEST(Base64Levels, DecodeIntoTooLittleRoom) {
  const std::string text = Repeat(Repeat("QUJD", 19) + "\r\n", 3) + "QU==";
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    for (std::size_t room = 0; room <= 180; ++room) {
      SCOPED_TRACE(room);
      decoder.state = {};
      plain.state = {};
      Compare(decoder, plain, text, room);
      Compare(decoder, plain, text, 170);
    }
  });
}

TEST(Base64Levels, DecodeTheSameForAnySplit) {
  const std::string text = Repeat("QUJD", 19) + "\r\n=" + Repeat("RUZH", 18) + "QU\r\n*Q=" + "QUJD";
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    for (std::size_t first = 0; first <= text.size(); ++first) {
      SCOPED_TRACE(first);
      Compare(decoder, plain, text.substr(0, first), 200);
      Compare(decoder, plain, text.substr(first), 200);
    }
  });
}

TEST(Base64Levels, DecodeLargeTextsWithFewFaults) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    test::RandomBytes random(seed);
    for (int round = 0; round < 100; ++round) {
      // Lines of any length, so that groups go over their ends.
      const std::string line = random.From("ABCDwxyz0189+/", random.Number(100)) + "\r\n";
      std::string text = Repeat(line, 1 + random.Number(12000) / line.size());
      for (std::size_t faults = random.Number(3); faults-- > 0;) {
        text[random.Number(text.size() - 1)] = random.From("*= \xFF", 1)[0];
      }
      Compare(decoder, plain, text, round % 4 == 0 ? random.Number(9000) : text.size());
    }
  });
}

// The encoder.

class LevelEncoder {
 public:
  explicit LevelEncoder(CpuLevel level) : level_(level) {}

  std::string Encode(std::string_view bytes, std::size_t room,
                     Beside beside = Beside::kPageBehind) {
    const std::span<unsigned char> out = output_.Room(room, beside);
    const std::size_t count =
        Base64EncodeChunkAt(level_, state, terminator, input_.Text(bytes, beside), out);
    const std::span<unsigned char> rest = out.subspan(count);
    EXPECT_TRUE(std::all_of(rest.begin(), rest.end(), [](char c) { return c == 'x'; }));
    return std::string(AsText(out.first(count)));
  }

  Base64EncodeState state;
  std::string_view terminator = "\r\n";

 private:
  CpuLevel level_;
  GuardedBytes input_{kLargest};
  GuardedBytes output_{kLargest};
};

void Compare(LevelEncoder& encoder, LevelEncoder& plain, std::string_view bytes, std::size_t room,
             Beside beside = Beside::kPageBehind) {
  EXPECT_EQ(encoder.Encode(bytes, room, beside), plain.Encode(bytes, room, beside));
  EXPECT_EQ(encoder.state.column, plain.state.column);
  EXPECT_EQ(encoder.state.pendingCount, plain.state.pendingCount);
  EXPECT_EQ(AsText(std::span(encoder.state.pending).first(encoder.state.pendingCount)),
            AsText(std::span(plain.state.pending).first(plain.state.pendingCount)));
}

template <typename Check>
void ForEachEncoder(const Check& check) {
  for (const CpuLevel level : LevelsHere()) {
    SCOPED_TRACE(LevelName(level));
    LevelEncoder encoder(level);
    LevelEncoder plain(CpuLevel::kPlain);
    check(encoder, plain);
    if (testing::Test::HasFailure()) {
      return;
    }
  }
}

TEST(Base64Levels, EncodeLinesOf72Characters) {
  const std::string line = Repeat("QUJD", 18);
  ForEachEncoder([&](LevelEncoder& encoder, LevelEncoder&) {
    EXPECT_EQ(encoder.Encode(Repeat("ABC", 18 * 4), 1000),
              line + "\r\n" + line + "\r\n" + line + "\r\n" + line);
    EXPECT_EQ(encoder.state.column, 72);
    encoder.terminator = "\n";
    EXPECT_EQ(encoder.Encode(Repeat("ABC", 18 * 2 + 1), 1000),
              "\n" + line + "\n" + line + "\nQUJD");
    EXPECT_EQ(encoder.state.column, 4);
  });
}

TEST(Base64Levels, EncodeEveryDigit) {
  // The bytes of which the digits come out in order, as in the test of the decoder.
  constexpr std::string_view kBytes(
      "\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51\x55\x97\x61\x96\x9B\x71\xD7"
      "\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E\xBB\xF3"
      "\xDF\xBF",
      48);
  const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  ForEachEncoder([&](LevelEncoder& encoder, LevelEncoder&) {
    EXPECT_EQ(encoder.Encode(kBytes, 100), digits);
    EXPECT_EQ(encoder.Encode(Repeat(kBytes, 2), 200),
              "ABCDEFGH\r\nIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/ABCDEFGHIJKLMNOP"
              "\r\nQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
  });
}

TEST(Base64Levels, EncodeEveryLengthFromEveryColumnBesideTheEndsOfMemory) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  const std::string bytes = test::RandomBytes(seed).Bytes(300);
  ForEachEncoder([&](LevelEncoder& encoder, LevelEncoder& plain) {
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
      for (std::uint16_t column = 0; column <= 72;
           column = static_cast<std::uint16_t>(column + 4)) {
        for (const Beside beside : {Beside::kPageBehind, Beside::kPageBefore}) {
          SCOPED_TRACE(length);
          encoder.state.column = column;
          plain.state.column = column;
          Compare(encoder, plain, std::string_view(bytes).substr(0, length), 500, beside);
        }
      }
    }
  });
}

TEST(Base64Levels, EncodeIntoTooLittleRoom) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  const std::string bytes = test::RandomBytes(seed).Bytes(250);
  for (const std::string_view terminator : {"\r\n", "\n", "", "abc"}) {
    ForEachEncoder([&](LevelEncoder& encoder, LevelEncoder& plain) {
      encoder.terminator = terminator;
      plain.terminator = terminator;
      for (std::size_t room = 0; room <= 360; ++room) {
        SCOPED_TRACE(room);
        Compare(encoder, plain, bytes, room);
      }
    });
  }
}

}  // namespace
}  // namespace zevka
