// The quoted-printable decoder at each level of vector instructions: bytes worked out by hand, and
// bytes, faults and state beside those of the plain form.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "codec/quoted_printable.h"
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

constexpr LineEndStyle kStyles[] = {LineEndStyle::kCrLf, LineEndStyle::kCr, LineEndStyle::kLf,
                                    LineEndStyle::kUnknown};

std::string Repeat(std::string_view text, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

class LevelDecoder {
 public:
  explicit LevelDecoder(CpuLevel level) : level_(level) {}

  std::string Decode(std::string_view text, std::size_t room, Beside beside = Beside::kPageBehind) {
    const std::span<unsigned char> out = output_.Room(room, beside);
    const std::size_t count = QpDecodeChunkAt(level_, state, style, input_.Text(text, beside), out);
    return std::string(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(count));
  }

  DecodeState state;
  LineEndStyle style = LineEndStyle::kCrLf;

 private:
  CpuLevel level_;
  GuardedBytes input_{kLargest};
  GuardedBytes output_{kLargest};
};

template <typename Check>
void ForEachLevel(const Check& check) {
  for (const CpuLevel level : LevelsHere()) {
    for (const LineEndStyle style : kStyles) {
      SCOPED_TRACE(LevelName(level));
      SCOPED_TRACE("style " + std::to_string(static_cast<int>(style)));
      LevelDecoder decoder(level);
      LevelDecoder plain(CpuLevel::kPlain);
      decoder.style = style;
      plain.style = style;
      check(decoder, plain);
      if (testing::Test::HasFailure()) {
        return;
      }
    }
  }
}

void Compare(LevelDecoder& decoder, LevelDecoder& plain, std::string_view text, std::size_t room,
             Beside beside = Beside::kPageBehind) {
  const std::string expected = plain.Decode(text, room, beside);
  EXPECT_EQ(decoder.Decode(text, room, beside), expected);
  EXPECT_EQ(decoder.state.base64.invalidTotal, plain.state.base64.invalidTotal);
  EXPECT_EQ(decoder.state.quotedPrintable.state, plain.state.quotedPrintable.state);
  EXPECT_EQ(decoder.state.quotedPrintable.previous, plain.state.quotedPrintable.previous);
}

// Text, escapes next to each other and alone, and soft line breaks.
std::string Mixed(LineEndStyle style) {
  const std::string end(LineEndBytes(style));
  return "plain text and =C3=A4=C3=b6=c3=BC, g=3D, =3D41=" + end + "=" + end + "a=" + end + "=20" +
         end + Repeat("abcdefgh", 9) + "=E2=82=AC=" + end + end + "=FF=00x=" + end;
}

TEST(QpLevels, DecodeEscapesAndSoftBreaks) {
  for (const CpuLevel level : LevelsHere()) {
    SCOPED_TRACE(LevelName(level));
    LevelDecoder decoder(level);
    const std::string text = Repeat("The =E2=82=AC sign =3D a eur=\r\no; caf=C3=A9=c3=a9.\r\n", 50);
    EXPECT_EQ(decoder.Decode(text, text.size()),
              Repeat("The \xE2\x82\xAC sign = a euro; caf\xC3\xA9\xC3\xA9.\r\n", 50));
    EXPECT_EQ(decoder.state.base64.invalidTotal, 0U);
    EXPECT_EQ(decoder.state.quotedPrintable.state, 0);
    EXPECT_EQ(decoder.state.quotedPrintable.previous, '\n');
    decoder.style = LineEndStyle::kLf;
    EXPECT_EQ(decoder.Decode(Repeat("line=\n=41\n", 40), 400), Repeat("lineA\n", 40));
    decoder.style = LineEndStyle::kCr;
    EXPECT_EQ(decoder.Decode(Repeat("line=\r=41\r", 40), 400), Repeat("lineA\r", 40));
    EXPECT_EQ(decoder.state.base64.invalidTotal, 0U);
  }
}

// "=" and any two bytes, at places that cover all of a row and the edge of the next one.
TEST(QpLevels, DecodeEveryPairBehindAnEqualsSign) {
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    for (int first = 0; first < 256; ++first) {
      for (const int second : {0x30, 0x39, 0x3A, 0x41, 0x46, 0x47, 0x61, 0x66, 0x67, 0x2F, 0x40,
                               0x60, 0x0A, 0x0D, 0x3D, 0xB1, 0xC1, 0x00}) {
        const std::size_t place = static_cast<std::size_t>(first + second) % 70;
        std::string text(150, 'x');
        text[place] = '=';
        text[place + 1] = static_cast<char>(first);
        text[place + 2] = static_cast<char>(second);
        text[149] = '\n';  // closes what may be open
        Compare(decoder, plain, text, 150);
        std::swap(text[place + 1], text[place + 2]);
        Compare(decoder, plain, text, 150);
      }
    }
  });
}

TEST(QpLevels, DecodeEveryLengthBesideTheEndsOfMemory) {
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    const std::string text = Mixed(decoder.style) + Mixed(decoder.style);
    for (std::size_t length = 0; length <= text.size() && length <= 300; ++length) {
      for (const Beside beside : {Beside::kPageBehind, Beside::kPageBefore}) {
        SCOPED_TRACE(length);
        decoder.state = {};
        plain.state = {};
        Compare(decoder, plain, std::string_view(text).substr(0, length), length, beside);
        Compare(decoder, plain, std::string_view(text).substr(length), text.size(), beside);
      }
    }
  });
}

TEST(QpLevels, DecodeTheSameFromEveryPlaceInARow) {
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    const std::string text = Mixed(decoder.style);
    for (std::size_t before = 0; before <= 66; ++before) {
      SCOPED_TRACE(before);
      Compare(decoder, plain, Repeat("b", before) + text, 300);
      EXPECT_EQ(decoder.state.base64.invalidTotal, 0U);
    }
  });
}

TEST(QpLevels, DecodeWithAFaultAtEveryPlace) {
  for (const std::string_view fault :
       {"=", "==", "=4", "=4=", "=G1", "=1G", "=\r", "=\n", "=\r\r", "=\n\n", "=\r=", "= "}) {
    ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
      const std::string text = Mixed(decoder.style);
      for (std::size_t place = 0; place <= text.size(); ++place) {
        SCOPED_TRACE(place);
        std::string changed = text;
        changed.insert(place, fault);
        decoder.state = {};
        plain.state = {};
        Compare(decoder, plain, changed, changed.size());
      }
    });
  }
}

TEST(QpLevels, DecodeIntoTooLittleRoom) {
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    const std::string text = Mixed(decoder.style);
    for (std::size_t room = 0; room <= text.size(); ++room) {
      SCOPED_TRACE(room);
      decoder.state = {};
      plain.state = {};
      Compare(decoder, plain, text, room);
    }
  });
}

TEST(QpLevels, DecodeLargeTextsWithFewFaults) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  ForEachLevel([&](LevelDecoder& decoder, LevelDecoder& plain) {
    test::RandomBytes random(seed);
    for (int round = 0; round < 60; ++round) {
      const std::string end(LineEndBytes(decoder.style));
      std::string text;
      while (text.size() < 3000) {
        text +=
            random.From("abc def\xC3", random.Number(20)) + "=" + random.From("0123ABCDEFaf", 2);
        text += random.Number(3) == 0 ? "=" + end : "";
      }
      for (std::size_t faults = random.Number(3); faults-- > 0;) {
        text[random.Number(text.size() - 1)] = random.From("=G\r\n", 1)[0];
      }
      Compare(decoder, plain, text, round % 4 == 0 ? random.Number(3000) : text.size());
    }
  });
}

}  // namespace
}  // namespace zevka
