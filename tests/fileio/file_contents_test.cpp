// Sharing never shows: files that hold the same memory are to everyone outside files of their own.
#include "fileio/file_contents.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "fileio/file_views.h"
#include "fileio/large_memory.h"
#include "fileio/memory_layer.h"
#include "fileio/open_file.h"
#include "tests/fileio/layer_fixture.h"

namespace zevka::test {
namespace {

// Sizes below and above each at which memory is had in another way.
constexpr std::array<std::size_t, 9> kSizes = {1,     100,   2047,   2048,  4096,
                                               16383, 16385, 262143, 262145};

class SharedContents : public LayerFixture {
 protected:
  // A file with these bytes, closed.
  void Make(const std::string& name, std::string_view bytes, std::uint64_t expected = 0) {
    void* const handle = Open(Path(name), "w+b");
    if (expected != 0) {
      FileExpectSize(handle, expected);
    }
    ASSERT_EQ(Write(handle, bytes), bytes.size());
    FileClose(handle);
  }

  // Writes what `from` holds from `at` on to the end of `to`; both stay closed.
  void Share(const std::string& to, const std::string& from, std::uint64_t at,
             std::uint64_t count) {
    OpenFile out(Path(to), FileStatSize(to) < 0 ? "w+b" : "a+b");
    OpenFile in(Path(from), "rb");
    ASSERT_TRUE(in.Seek(static_cast<std::int64_t>(at)));
    std::string spare;
    while (count != 0) {
      const std::string_view taken = in.Take(count, spare);
      ASSERT_FALSE(taken.empty());
      ASSERT_TRUE(out.WriteTaken(in, taken));
      count -= taken.size();
    }
  }

  std::int64_t FileStatSize(const std::string& name) const { return SizeOf(Path(name)); }

  void Append(const std::string& name, std::string_view bytes) {
    OpenFile out(Path(name), "a+b");
    ASSERT_TRUE(out.Write(bytes));
  }

  void Overwrite(const std::string& name, std::uint64_t at, std::string_view bytes) {
    OpenFile out(Path(name), "r+b");
    ASSERT_TRUE(out.Seek(static_cast<std::int64_t>(at)));
    ASSERT_TRUE(out.Write(bytes));
  }

  std::string Bytes(const std::string& name) {
    OpenFile in(Path(name), "rb");
    std::string bytes(static_cast<std::size_t>(FileStatSize(name)) + 1, '?');
    bytes.resize(in.Read(bytes.data(), bytes.size()));
    return bytes;
  }

  char* Buffer(const std::string& name) {
    return static_cast<char*>(FileGetBuffer(Path(name).c_str()));
  }

  // What stands between the length and the capacity of a file that a host looks into.
  void ExpectZerosBehind(const std::string& name) {
    const char* const data = Buffer(name);
    ASSERT_NE(data, nullptr);
    OpenFile in(Path(name), "rb");
    const std::uint64_t capacity = Record(in.Handle()).capacity;
    for (auto i = static_cast<std::uint64_t>(FileStatSize(name)); i < capacity; ++i) {
      ASSERT_EQ(data[i], '\0') << i;
    }
  }

  void Remove(const std::string& name) { ASSERT_EQ(FileRemove(Path(name).c_str()), 0); }

  // Counts up, so that a byte in a wrong place is seen.
  static std::string Text(std::size_t size, char first = 'a') {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
      text[i] = static_cast<char>(static_cast<std::size_t>(first) + i % 23 + i / 23 % 3);
    }
    return text;
  }

  // For each size: two files with the same bytes, the second one's taken from the first; then one
  // is changed and the other looked at.
  void ForTwins(const std::function<void(const std::string& text)>& test,
                const std::vector<std::size_t>& sizes = {kSizes.begin(), kSizes.end()}) {
    for (const std::size_t size : sizes) {
      for (const std::uint64_t expected : {std::uint64_t{0}, std::uint64_t{300000}}) {
        SCOPED_TRACE(size);
        const std::string text = Text(size);
        Make("one", text, expected);
        Share("two", "one", 0, size);
        test(text);
        FileRemove(Path("one").c_str());
        FileRemove(Path("two").c_str());
        ASSERT_EQ(MemoryInUse(), 0U);
      }
    }
  }
};

TEST_F(SharedContents, ChangingTheSourceLeavesTheOther) {
  ForTwins([this](const std::string& text) {
    Overwrite("one", text.size() / 2, "X");
    EXPECT_TRUE(Bytes("two") == text);
    std::string changed = text;
    changed[text.size() / 2] = 'X';
    EXPECT_TRUE(Bytes("one") == changed);
  });
}

TEST_F(SharedContents, ChangingTheOtherLeavesTheSource) {
  ForTwins([this](const std::string& text) {
    Overwrite("two", 0, "X");
    EXPECT_TRUE(Bytes("one") == text);
    EXPECT_TRUE(Bytes("two") == "X" + text.substr(1));
  });
}

TEST_F(SharedContents, BothGoOnBehindTheSamePlaceEachInItsOwnWay) {
  ForTwins([this](const std::string& text) {
    Append("one", "first");
    Append("two", "second, longer");
    Append("one", Text(5000));
    Append("two", Text(5000, 'A'));
    EXPECT_TRUE(Bytes("one") == text + "first" + Text(5000));
    EXPECT_TRUE(Bytes("two") == text + "second, longer" + Text(5000, 'A'));
  });
}

TEST_F(SharedContents, RemovingTheSourceLeavesTheOther) {
  ForTwins([this](const std::string& text) {
    Remove("one");
    Make("three", Text(text.size(), 'A'));  // would get the memory, were it free
    EXPECT_TRUE(Bytes("two") == text);
    Append("two", "more");
    EXPECT_TRUE(Bytes("two") == text + "more");
    Remove("three");
  });
}

TEST_F(SharedContents, EmptyingOneLeavesTheOther) {
  ForTwins([this](const std::string& text) {
    Make("one", "new");
    EXPECT_TRUE(Bytes("two") == text);
    EXPECT_EQ(Bytes("one"), "new");
  });
}

TEST_F(SharedContents, WhatAHostWritesGoesToOneFileOnly) {
  ForTwins([this](const std::string& text) {
    char* const one = Buffer("one");
    char* const two = Buffer("two");
    ASSERT_NE(one, two);
    one[0] = 'X';
    two[text.size() - 1] = 'Y';
    Share("three", "one", 0, text.size());  // what a host may write to is not shared
    one[0] = 'Z';
    EXPECT_TRUE(Bytes("one").substr(0, 1) == "Z");
    EXPECT_TRUE(Bytes("two") == (text.size() == 1 ? "Y" : text.substr(0, text.size() - 1) + "Y"));
    EXPECT_TRUE(Bytes("three").substr(0, 1) == "X");
    ExpectZerosBehind("one");
    ExpectZerosBehind("two");
    Remove("three");
  });
}

TEST_F(SharedContents, AnOldHoldStaysAsItWasWhateverBecomesOfTheFile) {
  ForTwins([this](const std::string& text) {
    OpenFile in(Path("one"), "rb");
    const HeldText held = FileHold(in.Handle());
    in.Close();
    ASSERT_TRUE(held.Text() == text);
    Overwrite("one", 0, "X");
    Buffer("one")[0] = 'Y';
    Append("one", "Z");
    Remove("one");
    EXPECT_TRUE(held.Text() == text);
    OpenFile out(Path("three"), "w+b");
    ASSERT_TRUE(FileWriteHeld(out.Handle(), held, 0, text.size()));
    out.Close();
    EXPECT_TRUE(Bytes("three") == text);
    Remove("three");
  });
}

TEST_F(SharedContents, WhatAHostMayWriteToIsNotHeld) {
  Make("one", Text(5000));
  ASSERT_NE(Buffer("one"), nullptr);
  OpenFile in(Path("one"), "rb");
  EXPECT_EQ(FileHold(in.Handle()).Text(), "");
}

TEST_F(SharedContents, TakingTheContentsLeavesTheOther) {
  ForTwins([this](const std::string& text) {
    char* data = nullptr;
    ASSERT_EQ(FileTakeContents(Path("one").c_str(), &data), static_cast<std::int64_t>(text.size()));
    EXPECT_TRUE(std::string(data, text.size() + 1) == text + '\0');
    std::memset(data, 'X', text.size());
    std::free(data);
    EXPECT_TRUE(Bytes("two") == text);
  });
}

TEST_F(SharedContents, ARenameOntoTheOtherMovesWhatTheyShare) {
  ForTwins([this](const std::string& text) {
    Append("one", "more");
    ASSERT_EQ(FileRename(Path("one").c_str(), Path("two").c_str()), 0);
    EXPECT_TRUE(Bytes("two") == text + "more");
    EXPECT_EQ(FileStatSize("one"), -1);
  });
}

// The budget counts each file as if it had its memory to itself.
TEST_F(SharedContents, TheBudgetCountsEachFileByItself) {
  Make("one", Text(10000));  // 8192 + 4096
  EXPECT_EQ(MemoryInUse(), 12288U);
  Share("two", "one", 0, 4095);
  EXPECT_EQ(MemoryInUse(), 12288U + 4096U);
  Share("two", "one", 4095, 1);  // reaches 4096: doubles
  EXPECT_EQ(MemoryInUse(), 12288U + 8192U);
  Remove("one");
  EXPECT_EQ(MemoryInUse(), 8192U);
}

// --- One file alone has what another was, from the start on.

// A file that begins as what is held, and has it alone soon after.
class Heir : public SharedContents {
 protected:
  // `length` bytes of `text`, in the memory of a file that held all of it and is gone.
  void MakeHeir(const std::string& text, std::size_t length, std::uint64_t expected) {
    Make("before", text, expected);
    OpenFile in(Path("before"), "rb");
    const HeldText held = FileHold(in.Handle());
    in.Close();
    ASSERT_TRUE(held.Text() == text);
    OpenFile out(Path("heir"), "w+b");
    FileExpectBytes(out.Handle(), held);
    ASSERT_TRUE(out.Write(text.substr(0, length)));
    out.Close();
    Remove("before");
  }
};

TEST_F(Heir, HasZerosBehindItsContents) {
  for (const std::uint64_t expected : {0U, 300000U}) {
    DropKeptLargeMemory();
    MakeHeir(Text(5000), 100, expected);
    ExpectZerosBehind("heir");
    EXPECT_EQ(Bytes("heir"), Text(100));
  }
}

TEST_F(Heir, HasZerosBehindWhatItWroteItself) {
  for (const std::uint64_t expected : {0U, 300000U}) {
    DropKeptLargeMemory();
    MakeHeir(Text(5000), 100, expected);
    Append("heir", "other");
    ExpectZerosBehind("heir");
    EXPECT_EQ(Bytes("heir"), Text(100) + "other");
  }
}

TEST_F(Heir, LeavesNothingToTheNextFileInItsMemory) {
  DropKeptLargeMemory();
  MakeHeir(Text(5000), 100, 300000);
  Append("heir", "other");
  Remove("heir");
  Make("next", "abc", 300000);
  ExpectZerosBehind("next");
}

// What it finds behind its end again is its own from then on.
TEST_F(Heir, KeepsWhatItFoundAgainWhenAnotherFileGoesOnBeforeIt) {
  for (const std::uint64_t expected : {0U, 300000U}) {
    const std::string text = Text(9000);
    MakeHeir(text, 3000, expected);
    Append("heir", "other");
    Append("heir", text.substr(3005, 5000));
    const std::string whole = text.substr(0, 3000) + "other" + text.substr(3005, 5000);
    ASSERT_TRUE(Bytes("heir") == whole);
    Share("part", "heir", 0, 3005);
    Append("part", "XXXXXXXXXX");
    EXPECT_TRUE(Bytes("heir") == whole);
    EXPECT_TRUE(Bytes("part") == whole.substr(0, 3005) + "XXXXXXXXXX");
    Remove("heir");
    Remove("part");
  }
}

// --- What a host is shown.

TEST_F(SharedContents, ZerosStandBehindTheContentsInMemoryThatWasUsedBefore) {
  for (const std::size_t size : kSizes) {
    Make("before", std::string(600000, 'x'), 600000);
    Remove("before");
    Make("next", Text(size), 600000);
    ExpectZerosBehind("next");
    EXPECT_TRUE(Bytes("next") == Text(size));
    Append("next", "more");
    ExpectZerosBehind("next");
    EXPECT_TRUE(Bytes("next") == Text(size) + "more");
    Remove("next");
  }
}

TEST_F(SharedContents, ExtendingBySeekingGivesZerosInMemoryThatWasUsedBefore) {
  Make("before", std::string(600000, 'x'), 600000);
  Remove("before");
  Make("next", "abc", 600000);
  OpenFile file(Path("next"), "r+b");
  ASSERT_TRUE(file.Seek(0, SEEK_END));
  ASSERT_TRUE(file.Seek(500000));
  file.Close();
  EXPECT_TRUE(Bytes("next") == "abc" + std::string(499997, '\0'));
}

TEST_F(SharedContents, ThePointerStaysWhileTheFileIsNotWritten) {
  ForTwins([this](const std::string& text) {
    char* const data = Buffer("two");
    EXPECT_TRUE(Bytes("two") == text);
    EXPECT_EQ(Buffer("two"), data);
    OpenFile in(Path("two"), "rb");
    EXPECT_EQ(Buffer("two"), data);
    data[0] = 'X';
    char first = '?';
    EXPECT_EQ(in.Read(&first, 1), 1U);
    EXPECT_EQ(first, 'X');
  });
}

// However much more memory it is than the contents need.
TEST_F(SharedContents, ThePointerStaysWhenTheFileIsRenamedOrClosed) {
  Make("file", "0123456789", 300000);
  char* const data = Buffer("file");
  ASSERT_NE(data, nullptr);
  OpenFile(Path("file"), "r+b").Close();
  EXPECT_EQ(Buffer("file"), data);
  ASSERT_EQ(FileRename(Path("file").c_str(), Path("renamed").c_str()), 0);
  EXPECT_EQ(Buffer("renamed"), data);
  data[0] = 'X';
  EXPECT_EQ(Bytes("renamed"), "X123456789");
}

// A write of nothing at a position that the budget had no room for before.
TEST_F(SharedContents, ACapacityThatGrewWithoutContentsIsShownWhole) {
  void* const handle = Open(Path("file"), "w+b");
  ASSERT_EQ(Write(handle, "0123456789"), 10U);
  LeaveInBudget(8192);
  ASSERT_NE(Buffer("file"), nullptr);
  ASSERT_EQ(FileSeek(handle, 20000, SEEK_SET), 0);  // the zeros do not fit
  ASSERT_EQ(Record(handle).capacity, 4096U);
  Remove("filler");
  ASSERT_EQ(FileWrite("", 1, 0, handle), 0U);
  ASSERT_EQ(Record(handle).capacity, 20480U);  // 16384 + 4096
  const char* const data = Buffer("file");
  ASSERT_NE(data, nullptr);
  EXPECT_TRUE(std::string(data, 20480) == "0123456789" + std::string(20470, '\0'));
  FileClose(handle);
}

TEST_F(SharedContents, ACapacityWithoutAByteIsShownAsZeros) {
  void* const handle = Open(Path("file"), "w+b");
  EXPECT_EQ(FileWrite("", 1, 0, handle), 0U);
  ASSERT_EQ(Record(handle).capacity, 4096U);
  const char* const data = Buffer("file");
  ASSERT_NE(data, nullptr);
  EXPECT_TRUE(std::string(data, 4096) == std::string(4096, '\0'));
  FileClose(handle);
  char* taken = nullptr;
  EXPECT_EQ(FileTakeContents(Path("file").c_str(), &taken), 0);
  ASSERT_NE(taken, nullptr);
  EXPECT_EQ(*taken, '\0');
  std::free(taken);
}

// --- To disk.

class SharedSpill : public SharedContents {
 protected:
  // The next write of the file goes to disk.
  void Spill(const std::string& name, std::string_view bytes) {
    LeaveInBudget(0);
    OpenFile out(Path(name), "a+b");
    ASSERT_TRUE(out.Write(bytes));
    out.Close();
    Remove("filler");
    ASSERT_TRUE(OnDisk(Path(name)));
  }
};

TEST_F(SharedSpill, EitherGoesToDiskWholeAndLeavesTheOther) {
  for (const std::string name : {"one", "two"}) {
    const std::string other = name == "one" ? "two" : "one";
    ForTwins(
        [&](const std::string& text) {
          Spill(name, Text(400000, 'A'));
          EXPECT_TRUE(DiskBytes(Path(name)) == text + Text(400000, 'A'));
          EXPECT_TRUE(Bytes(other) == text);
        },
        {100, 16385, 262145});
  }
}

// What is taken from a file is written to disk when the budget does not hold it a second time.
TEST_F(SharedSpill, SharingBeyondTheBudgetGoesToDisk) {
  for (const std::size_t before : {0U, 10U, 5000U}) {
    Make("one", Text(100000));
    Make("two", Text(before, 'A'));
    LeaveInBudget(4096);
    Share("two", "one", 0, 100000);
    Remove("filler");
    EXPECT_TRUE(DiskBytes(Path("two")) == Text(before, 'A') + Text(100000)) << before;
    EXPECT_TRUE(Bytes("one") == Text(100000));
    Remove("one");
    Remove("two");
    EXPECT_EQ(MemoryInUse(), 0U);
  }
}

TEST_F(SharedSpill, HeldBytesBeyondTheBudgetGoToDisk) {
  Make("one", Text(100000));
  OpenFile in(Path("one"), "rb");
  const HeldText held = FileHold(in.Handle());
  in.Close();
  LeaveInBudget(4096);
  OpenFile out(Path("two"), "w+b");
  ASSERT_TRUE(FileWriteHeld(out.Handle(), held, 10, 50000));
  ASSERT_TRUE(FileWriteHeld(out.Handle(), held, 0, 10));
  out.Close();
  EXPECT_TRUE(DiskBytes(Path("two")) == Text(100000).substr(10, 50000) + Text(10));
}

TEST_F(SharedContents, AFileOfManyPiecesIsCommittedWhole) {
  // Pieces of one source, each apart from the one before, so that none are put together.
  constexpr std::size_t kPiece = 2048;
  const std::string source = Text(400000);
  Make("one", source);
  for (const std::size_t pieces : {1023U, 1024U, 1025U, 2048U, 3000U}) {
    std::string expected;
    void* const out = Open(Path("many"), "w+b");
    void* const in = Open(Path("one"), "rb");
    for (std::size_t i = 0; i < pieces; ++i) {
      const std::size_t at = i * 4099 % 390000;
      std::string spare;
      FileSeek(in, static_cast<std::int64_t>(at), SEEK_SET);
      const std::string_view taken = FileReadView(in, kPiece, spare);
      ASSERT_TRUE(FileWriteTaken(out, in, taken));
      expected += source.substr(at, kPiece);
    }
    std::size_t counted = 0;
    Record(out).contents.ForEachPiece([&](std::string_view) { return ++counted != 0; });
    EXPECT_EQ(counted, pieces);
    FileClose(in);
    FileClose(out);
    ASSERT_TRUE(Bytes("many") == expected);
    ASSERT_EQ(FileCommit(Path("many").c_str()), 0);
    EXPECT_TRUE(DiskBytes(Path("many")) == expected) << pieces;
    Remove("many");
  }
}

TEST_F(SharedContents, AFileOfManyPiecesReadsTheSameFromAnywhere) {
  const std::string source = Text(100000);
  Make("one", source);
  std::string expected;
  for (std::size_t i = 0; i < 60; ++i) {
    const std::size_t at = i * 7001 % 90000;
    Share("many", "one", at, 2048 + i);
    Append("many", Text(i));
    expected += source.substr(at, 2048 + i) + Text(i);
  }
  OpenFile in(Path("many"), "rb");
  for (std::size_t i = 0; i < 2000; ++i) {
    const std::size_t at = i * 7919 % expected.size();
    const std::size_t count = std::min(i * 31 % 9000 + 1, expected.size() - at);
    std::string bytes(count, '?');
    ASSERT_TRUE(in.Seek(static_cast<std::int64_t>(at)));
    ASSERT_EQ(in.Read(bytes.data(), count), count);
    ASSERT_TRUE(bytes == expected.substr(at, count)) << at << ' ' << count;
  }
}

// A host looks into a file, and a thread that reads it notices nothing.
TEST(FileContentsThreads, ReadingGoesOnWhileAHostIsShownTheFile) {
  for (int round = 0; round < 50; ++round) {
    ASSERT_EQ(InstallMemoryFiles(), 0);
    const std::string text(30000, 'x');
    void* const source = FileOpen("source", "w+b");
    FileWrite(text.data(), text.size(), 1, source);
    void* const out = FileOpen("file", "w+b");
    for (int i = 0; i < 4; ++i) {
      ASSERT_TRUE(FileWriteFrom(
          out, source, static_cast<std::uint64_t>(i) * 5000 + 1,
          FileWholeView(source).substr(static_cast<std::size_t>(i) * 5000 + 1, 5000)));
    }
    FileClose(out);
    void* const in = FileOpen("file", "rb");
    std::thread host([&] {
      for (int i = 0; i < 10; ++i) {
        const auto* const data = static_cast<const char*>(FileGetBuffer("file"));
        EXPECT_EQ(std::count(data, data + 20000, 'x'), 20000);
      }
    });
    std::string all;
    std::string spare;
    for (std::string_view taken = FileReadView(in, 700, spare); !taken.empty();
         taken = FileReadView(in, 700, spare)) {
      all += taken;
    }
    host.join();
    EXPECT_TRUE(all == std::string(20000, 'x'));
    FileClose(in);
    RemoveMemoryFiles();
  }
}

// Files of several threads lie in one block, and each goes on behind the same place.
TEST(FileContentsThreads, FilesThatShareABlockGoOnInTheirOwnThreads) {
  constexpr int kThreads = 4;
  ASSERT_EQ(InstallMemoryFiles(), 0);
  const std::string text(5000, 'x');
  void* const source = FileOpen("source", "w+b");
  FileWrite(text.data(), text.size(), 1, source);
  FileSeek(source, 0, SEEK_SET);
  const HeldText held = FileHold(source);
  ASSERT_EQ(held.length, 5000U);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      const std::string name = "file" + std::to_string(thread);
      const std::string own(20000, static_cast<char>('a' + thread));
      for (int round = 0; round < 50; ++round) {
        void* const out = FileOpen(name.c_str(), "w+b");
        FileExpectBytes(out, held);
        EXPECT_TRUE(FileWriteHeld(out, held, 0, 4000));
        FileWrite(text.data(), 1000, 1, out);
        for (std::size_t at = 0; at < own.size(); at += 1000) {
          FileWrite(own.data() + at, 1000, 1, out);
        }
        std::string all(25001, '?');
        FileSeek(out, 0, SEEK_SET);
        all.resize(FileRead(all.data(), 1, all.size(), out));
        EXPECT_TRUE(all == text + own);
        FileClose(out);
        FileRemove(name.c_str());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  FileClose(source);
  RemoveMemoryFiles();
}

}  // namespace
}  // namespace zevka::test
