#include "codec/base64_stream.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/codec/bytes.h"
#include "tests/codec/written_file.h"
#include "tests/support/fault_table.h"
#include "tests/support/random_bytes.h"
#include "tests/support/reference/base64_reference.h"

namespace zevka {
namespace {

using test::Row;

// An open file and one stream into it.
class Base64Stream : public testing::Test {
 protected:
  void Put(std::string_view bytes) {
    state_.input = test::Bytes(bytes).data();
    state_.inputLength = static_cast<std::int32_t>(bytes.size());
    EXPECT_EQ(Base64WriteStream(file_.Handle(), &state_, ""), 0);
  }

  void Flush(std::string_view trailer = "") {
    state_.inputLength = 0;
    EXPECT_EQ(Base64WriteStream(file_.Handle(), &state_, trailer), 0);
  }

  Base64StreamState state_;
  test::WrittenFile file_;
};

TEST_F(Base64Stream, NoStateIsRefused) {
  EXPECT_EQ(Base64WriteStream(file_.Handle(), nullptr, "trailer"), -1);
  EXPECT_EQ(file_.Close(), "");
}

TEST_F(Base64Stream, FlushOfAnEmptyStateWritesTheTrailerOnly) {
  Flush("end\n");
  EXPECT_EQ(file_.Close(), "end\n");
}

TEST_F(Base64Stream, FlushOfAnEmptyStateWithoutTrailerWritesNothing) {
  Flush();
  EXPECT_EQ(file_.Close(), "");
}

TEST_F(Base64Stream, OneByteLeftGivesTwoDigitsAndTwoPads) {
  Put("foob");
  Flush("\r\n");
  EXPECT_EQ(file_.Close(), "Zm9vYg==\r\n");
}

TEST_F(Base64Stream, TwoBytesLeftGiveThreeDigitsAndOnePad) {
  Put("fooba");
  Flush();
  EXPECT_EQ(file_.Close(), "Zm9vYmE=");
}

// KEEP(base64-stream-lf)
TEST_F(Base64Stream, FiftySevenBytesAreAFullLineWithABareLf) {
  Put(std::string(57, '\0'));
  EXPECT_EQ(state_.column, 0U);
  EXPECT_EQ(file_.Close(), Row(76, 'A', "\n"));
}

TEST_F(Base64Stream, TrailerBehindAFullLineStandsOnALineOfItsOwn) {
  Put(std::string(57, '\0'));
  Flush("\r\n");
  EXPECT_EQ(file_.Close(), Row(76, 'A', "\n\r\n"));
}

TEST_F(Base64Stream, ColumnIsCountedAcrossCalls) {
  Put(std::string(54, '\0'));
  EXPECT_EQ(state_.column, 72U);
  Put(std::string(6, '\0'));
  EXPECT_EQ(state_.column, 4U);
  EXPECT_EQ(file_.Close(), Row(76, 'A', "\nAAAA"));
}

TEST_F(Base64Stream, PaddedGroupThatEndsAtTheFullLineHasNoLf) {
  Put(std::string(55, '\0'));
  Flush("|");
  EXPECT_EQ(file_.Close(), Row(74, 'A', "==|"));
}

TEST_F(Base64Stream, BytesOfAGroupWaitInTheAccumulatorFirstByteHighest) {
  Put("\x01");
  EXPECT_EQ(state_.accumulator, 0x010000U);
  EXPECT_EQ(state_.count, 1U);
  Put("\x02");
  EXPECT_EQ(state_.accumulator, 0x010200U);
  EXPECT_EQ(state_.count, 2U);
  Put("\x03");
  EXPECT_EQ(state_.accumulator, 0U);
  EXPECT_EQ(state_.count, 0U);
  EXPECT_EQ(file_.Close(), "AQID");
}

TEST_F(Base64Stream, NegativeLengthWritesNothing) {
  state_.inputLength = -1;
  EXPECT_EQ(Base64WriteStream(file_.Handle(), &state_, "trailer"), 0);
  EXPECT_EQ(file_.Close(), "");
}

TEST_F(Base64Stream, FailedWritesAreNotReported) {
  test::FaultTable faults;
  faults.FailFrom(test::FileEntry::kWrite, 1);
  Put("foobar");
  Flush("trailer");
  EXPECT_GE(faults.Faults(), 2);
  EXPECT_EQ(file_.Close(), "");
}

TEST_F(Base64Stream, AgreesWithTheReferenceForAnySplit) {
  const std::uint64_t seed = test::TestSeed();
  SCOPED_TRACE("ZEVKA_TEST_SEED=" + std::to_string(seed));
  test::RandomBytes random(seed);
  std::string expected;
  for (int round = 0; round < 300; ++round) {
    const std::string body = random.Bytes(random.Number(3000));
    state_ = {};
    std::string_view rest = body;
    while (!rest.empty()) {
      const std::size_t length = 1 + random.Number(rest.size() - 1);
      Put(rest.substr(0, length));
      rest.remove_prefix(length);
    }
    Flush("|");
    expected += reference::EncodeBase64BreakBehind(body, 76, "\n") + "|";
  }
  EXPECT_EQ(file_.Close(), expected);
}

}  // namespace
}  // namespace zevka
