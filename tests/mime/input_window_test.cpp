// The window shows the same whether the file lies together in memory, in pieces, or on disk.
#include "mime/input_window.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/mime/part_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

enum class Place { kTogether, kPieces, kDisk };
constexpr std::array<Place, 3> kPlaces = {Place::kTogether, Place::kPieces, Place::kDisk};

class InputWindowTest : public PartFixture {
 protected:
  // A file with that text, in each place another one.
  std::string Make(Place place, const std::string& text) {
    const std::string name = Path("in" + std::to_string(static_cast<int>(place)));
    FileRemove(name.c_str());
    if (place == Place::kDisk) {
      WriteDisk(name, text);
    } else if (place == Place::kTogether) {
      Put(name, text);
    } else {
      // The second piece is one that lies elsewhere already.
      Put(Path("source"), text);
      OpenFile source(Path("source"), "rb");
      OpenFile out(name, "wb");
      std::string spare;
      EXPECT_TRUE(out.Write(text.substr(0, 10)));
      EXPECT_TRUE(source.Seek(10));
      EXPECT_TRUE(out.WriteTaken(source, source.Take(text.size() - 10, spare)));
    }
    return name;
  }

  static std::string Text() {
    std::string text;
    for (int i = 0; i < 1000; ++i) {
      text += std::to_string(i) + "\n";
    }
    return text;
  }
};

TEST_F(InputWindowTest, OpensWhereItWasTold) {
  const std::string text = Text();
  for (const Place place : kPlaces) {
    OpenFile in(Make(place, text), "rb");
    InputWindow window(in);
    for (const std::size_t at : {0U, 1U, 9U, 10U, 11U, 3000U}) {
      ASSERT_TRUE(window.Start(static_cast<std::int64_t>(at)));
      EXPECT_EQ(window.Text(), "");
      ASSERT_TRUE(window.ReadMore(20));
      EXPECT_EQ(window.Text(), text.substr(at, 20));
      EXPECT_FALSE(window.Ended());
    }
  }
}

TEST_F(InputWindowTest, GrowsAtItsEndAndShrinksAtItsStart) {
  const std::string text = Text();
  for (const Place place : kPlaces) {
    OpenFile in(Make(place, text), "rb");
    InputWindow window(in);
    ASSERT_TRUE(window.Start(0));
    ASSERT_TRUE(window.ReadMore(100));
    window.Drop(30);
    EXPECT_EQ(window.Text(), text.substr(30, 70));
    ASSERT_TRUE(window.ReadMore(50));
    EXPECT_EQ(window.Text(), text.substr(30, 120));
    window.Drop(1000);  // no more than there is
    EXPECT_EQ(window.Text(), "");
    ASSERT_TRUE(window.ReadMore(10));
    EXPECT_EQ(window.Text(), text.substr(150, 10));
  }
}

TEST_F(InputWindowTest, EndsWithAReadThatComesShort) {
  const std::string text = Text();
  for (const Place place : kPlaces) {
    OpenFile in(Make(place, text), "rb");
    InputWindow window(in);
    ASSERT_TRUE(window.Start(0));
    ASSERT_TRUE(window.ReadMore(text.size()));
    EXPECT_FALSE(window.Ended());  // all that was asked for came
    ASSERT_TRUE(window.ReadMore(1));
    EXPECT_TRUE(window.Ended());
    EXPECT_EQ(window.Text(), text);
    window.ForgetEnd();
    EXPECT_FALSE(window.Ended());
    ASSERT_TRUE(window.Start(static_cast<std::int64_t>(text.size()) - 3));
    ASSERT_TRUE(window.ReadMore(4));
    EXPECT_TRUE(window.Ended());
    EXPECT_EQ(window.Text(), "99\n");
  }
}

TEST_F(InputWindowTest, AnEmptyFileEndsAtOnce) {
  for (const Place place : {Place::kTogether, Place::kDisk}) {
    const std::string name = Make(place, "x");
    OpenFile(name, "wb").Close();
    OpenFile in(name, "rb");
    InputWindow window(in);
    ASSERT_TRUE(window.Start(0));
    ASSERT_TRUE(window.ReadMore(4096));
    EXPECT_TRUE(window.Ended());
    EXPECT_EQ(window.Text(), "");
  }
}

TEST_F(InputWindowTest, PassesOnWhatItShows) {
  const std::string text = Text();
  for (const Place place : kPlaces) {
    OpenFile in(Make(place, text), "rb");
    InputWindow window(in);
    ASSERT_TRUE(window.Start(5));
    OpenFile out(Path("out"), "w+b");
    std::string expected;
    for (const std::size_t step : {0U, 1U, 4U, 10U, 2500U, 1U}) {
      ASSERT_TRUE(window.ReadMore(step + 3));
      const std::string shown(window.Text());
      expected += shown.substr(0, step);
      ASSERT_TRUE(window.Flush(out, step));
      EXPECT_EQ(window.Text(), shown.substr(step));
    }
    expected += window.Text();
    ASSERT_TRUE(window.Flush(out, 100000));  // no more than there is
    EXPECT_EQ(window.Text(), "");
    out.Close();
    EXPECT_EQ(Get(Path("out")), expected);
    EXPECT_EQ(expected, text.substr(5, 2516 + 18));
  }
}

TEST_F(InputWindowTest, AWriteThatFailsIsSaid) {
  for (const Place place : kPlaces) {
    OpenFile in(Make(place, Text()), "rb");
    InputWindow window(in);
    ASSERT_TRUE(window.Start(0));
    ASSERT_TRUE(window.ReadMore(3000));
    Put(Path("out"), "x");
    OpenFile out(Path("out"), "rb");  // not to be written
    EXPECT_FALSE(window.Flush(out, 3000));
  }
}

TEST_F(InputWindowTest, AReadThatFailsIsSaid) {
  OpenFile in(Make(Place::kDisk, Text()), "rb");
  InputWindow window(in);
  ASSERT_TRUE(window.Start(0));
  FaultTable faults;
  faults.SetErrorFlags(true);
  faults.FailOnce(FileEntry::kRead, 1);
  EXPECT_FALSE(window.ReadMore(100));
}

TEST_F(InputWindowTest, APlaceThatTheFileCannotGoToIsSaid) {
  for (const Place place : kPlaces) {
    OpenFile in(Make(place, Text()), "rb");
    InputWindow window(in);
    EXPECT_FALSE(window.Start(-1));
  }
}

}  // namespace
}  // namespace zevka::test
