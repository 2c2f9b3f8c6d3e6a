#include "host/kit/sha256.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace zevka::host {
namespace {

constexpr std::string_view kOfNothing =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr std::string_view kOfAbc =
    "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr std::string_view kTwoBlocks = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
constexpr std::string_view kOfTwoBlocks =
    "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1";
constexpr std::string_view kFourBlocks =
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
    "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";
constexpr std::string_view kOfFourBlocks =
    "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1";
constexpr std::string_view kOfMillion =
    "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";

TEST(Sha256, GivesThePublishedDigests) {
  EXPECT_EQ(Sha256Hex(""), kOfNothing);
  EXPECT_EQ(Sha256Hex("abc"), kOfAbc);
  EXPECT_EQ(Sha256Hex(kTwoBlocks), kOfTwoBlocks);
  EXPECT_EQ(Sha256Hex(kFourBlocks), kOfFourBlocks);
  EXPECT_EQ(Sha256Hex(std::string(1000000, 'a')), kOfMillion);
}

TEST(Sha256, TakesAnyByte) {
  std::string bytes;
  for (int value = 0; value < 256; ++value) {
    bytes.push_back(static_cast<char>(value));
  }
  EXPECT_EQ(Sha256Hex(bytes), "40aff2e9d2d8922e47afd4648e6967497158785fbd1da870e7110266bf944880");
}

// Lengths on both sides of where the padding needs a further block, and of a whole block.
TEST(Sha256, PadsEveryLengthRoundABlock) {
  struct LengthCase {
    std::size_t length;
    std::string_view digest;
  };
  for (const LengthCase& test : {
           LengthCase{55, "d5e285683cd4efc02d021a5c62014694958901005d6f71e89e0989fac77e4072"},
           LengthCase{56, "04c26261370ee7541549d16dee320c723e3fd14671e66a099afe0a377c16888e"},
           LengthCase{63, "75220b47218278e656f2013bb8f0c455a25eaf01e86c64924e9d48d89776d6f2"},
           LengthCase{64, "7ce100971f64e7001e8fe5a51973ecdfe1ced42befe7ee8d5fd6219506b5393c"},
           LengthCase{65, "9537c5fdf120482f7d58d25e9ed583f52c02b4e304ea814db1633ad565aed7e9"},
           LengthCase{119, "000b48d4edf0fa7bee3c6236ecd2785baa5db4eeb8bb54341b029e0d9fa5fb0c"},
           LengthCase{120, "13f05a0b594787f5ecd315edc96141bd3243203d1b7d4f0836f37308b276ba98"},
           LengthCase{128, "24da1b81d0b16df6428eee73c69fcb2a93c76bc6df706f0c6670fe6bfe800464"},
       }) {
    EXPECT_EQ(Sha256Hex(std::string(test.length, 'x')), test.digest) << test.length;
  }
}

TEST(Sha256, IsTheSameForEverySplit) {
  const std::string_view text = kFourBlocks;
  for (std::size_t first = 0; first <= text.size(); ++first) {
    for (std::size_t second = first; second <= text.size(); ++second) {
      Sha256 digest;
      digest.Add(text.substr(0, first));
      digest.Add(text.substr(first, second - first));
      digest.Add(text.substr(second));
      ASSERT_EQ(digest.HexDigest(), kOfFourBlocks) << first << ' ' << second;
    }
  }
}

TEST(Sha256, GoesOnAfterItWasAsked) {
  Sha256 digest;
  EXPECT_EQ(digest.HexDigest(), kOfNothing);
  digest.Add("abc");
  EXPECT_EQ(digest.HexDigest(), kOfAbc);
  EXPECT_EQ(digest.HexDigest(), kOfAbc);
  digest.Add(kTwoBlocks.substr(3));
  EXPECT_EQ(digest.HexDigest(), kOfTwoBlocks);
}

}  // namespace
}  // namespace zevka::host
