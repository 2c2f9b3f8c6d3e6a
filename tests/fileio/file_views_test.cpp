// Each of these does what a read or a write through the table would have done.
#include "fileio/file_views.h"

#include <cstring>

#include "fileio/open_file.h"
#include "tests/fileio/layer_fixture.h"
#include "tests/support/fault_table.h"

namespace zevka::test {
namespace {

class FileViews : public LayerFixture {
 protected:
  // A memory file of two pieces: 3000 bytes that lie in "source" too, and one of its own.
  void MakePieces() {
    MakeFile(Path("source"), std::string(5000, 's'));
    OpenFile source(Path("source"), "rb");
    OpenFile out(Path("pieces"), "w+b");
    ASSERT_TRUE(out.WriteTaken(source, source.Take(3000, spare_)));
    ASSERT_TRUE(out.Write("x"));
  }

  static const char* DataOf(const void* handle) { return Record(handle).contents.Run(0).data(); }

  std::string spare_;
};

struct ReadState {
  std::string bytes;
  std::int64_t position;
  bool endOfFile;
  bool error;

  bool operator==(const ReadState&) const = default;
};

ReadState StateOf(std::string_view bytes, void* handle) {
  return {std::string(bytes), FileTell(handle), FileEof(handle) != 0, FileError(handle) != 0};
}

TEST_F(FileViews, AViewLeavesTheHandleAsAReadDoes) {
  MakePieces();
  MakeFile(Path("empty"), "");
  WriteDisk(Path("disk"), std::string(5000, 'd'));
  for (const char* name : {"source", "pieces", "empty", "disk"}) {
    for (const char* mode : {"rb", "r+b"}) {
      for (const std::int64_t at : {0, 1, 2999, 3000, 3001, 4999, 5000}) {
        for (const std::size_t count : {1U, 2U, 3000U, 3001U, 5000U, 5001U}) {
          OpenFile read(Path(name), mode);
          if (at > SizeOf(Path(name))) {
            continue;
          }
          read.Seek(at);
          std::string buffer(count, '?');
          buffer.resize(FileRead(buffer.data(), 1, count, read.Handle()));
          const ReadState expected = StateOf(buffer, read.Handle());
          read.Close();
          OpenFile view(Path(name), mode);
          view.Seek(at);
          const std::string_view bytes = FileReadView(view.Handle(), count, spare_);
          EXPECT_EQ(StateOf(bytes, view.Handle()), expected) << name << at << ' ' << count;
        }
      }
    }
  }
}

TEST_F(FileViews, WithoutTheRightToReadThereIsNothing) {
  void* const handle = Open(Path("f"), "w");
  Write(handle, "abc");
  FileSeek(handle, 0, SEEK_SET);
  errno = 0;
  EXPECT_EQ(FileReadView(handle, 3, spare_), "");
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(FileError(handle), 1);
  EXPECT_EQ(FileWholeView(handle).data(), nullptr);
  FileClose(handle);
}

TEST_F(FileViews, BytesThatLieTogetherAreNotCopied) {
  MakePieces();
  OpenFile pieces(Path("pieces"), "rb");
  EXPECT_EQ(FileReadView(pieces.Handle(), 100, spare_).data(), DataOf(pieces.Handle()));
  pieces.Seek(2999);
  EXPECT_EQ(FileReadView(pieces.Handle(), 2, spare_).data(), spare_.data());
}

TEST_F(FileViews, TheWholeIsSeenWhereItLiesTogether) {
  MakePieces();
  OpenFile source(Path("source"), "rb");
  EXPECT_TRUE(FileWholeView(source.Handle()) == std::string(5000, 's'));
  source.Seek(100);
  EXPECT_EQ(FileWholeView(source.Handle()).size(), 5000U);  // wherever the position is
  EXPECT_EQ(source.Tell(), 100);
  OpenFile pieces(Path("pieces"), "rb");
  EXPECT_EQ(FileWholeView(pieces.Handle()).data(), nullptr);
  WriteDisk(Path("disk"), "abc");
  OpenFile disk(Path("disk"), "rb");
  EXPECT_EQ(FileWholeView(disk.Handle()).data(), nullptr);
}

TEST_F(FileViews, OnlyAMemoryFileHasASizeHere) {
  MakePieces();
  OpenFile pieces(Path("pieces"), "rb");
  EXPECT_EQ(FileMemorySize(pieces.Handle()), 3001U);
  WriteDisk(Path("disk"), "abc");
  OpenFile disk(Path("disk"), "rb");
  EXPECT_EQ(FileMemorySize(disk.Handle()), 0U);
}

// What is taken over goes where a write would put it.
TEST_F(FileViews, BytesOfAnotherFileGoToThePosition) {
  const std::string text(5000, 's');
  MakeFile(Path("source"), text);
  for (const std::int64_t at : {0, 5, 10}) {
    MakeFile(Path("to"), "0123456789");
    OpenFile source(Path("source"), "rb");
    OpenFile to(Path("to"), "r+b");
    ASSERT_TRUE(to.Seek(at));
    ASSERT_TRUE(FileWriteFrom(to.Handle(), source.Handle(), 0, FileWholeView(source.Handle())));
    EXPECT_EQ(to.Tell(), at + 5000);
    to.Close();
    EXPECT_TRUE(Contents(Path("to")) ==
                std::string("0123456789").substr(0, static_cast<std::size_t>(at)) + text)
        << at;
  }
}

TEST_F(FileViews, BytesOfAnotherFileGoToTheEndOfAnAppendingHandle) {
  const std::string text(5000, 's');
  MakeFile(Path("source"), text);
  MakeFile(Path("to"), "0123456789");
  OpenFile source(Path("source"), "rb");
  OpenFile to(Path("to"), "a+b");
  ASSERT_TRUE(to.Seek(2));
  ASSERT_TRUE(to.WriteTaken(source, source.Take(5000, spare_)));
  EXPECT_EQ(to.Tell(), 5010);
  to.Close();
  EXPECT_TRUE(Contents(Path("to")) == "0123456789" + text);
}

TEST_F(FileViews, AFileTakesOverItsOwnBytes) {
  MakeFile(Path("f"), "0123456789");
  OpenFile file(Path("f"), "r+b");
  const std::string_view taken = file.Take(4, spare_);
  ASSERT_EQ(taken, "0123");
  ASSERT_TRUE(file.WriteTaken(file, taken));
  file.Close();
  EXPECT_EQ(Contents(Path("f")), "0123012389");
}

TEST_F(FileViews, WithoutTheRightToWriteNothingIsTakenOver) {
  MakeFile(Path("source"), std::string(5000, 's'));
  MakeFile(Path("to"), "");
  OpenFile source(Path("source"), "rb");
  OpenFile to(Path("to"), "rb");
  errno = 0;
  EXPECT_FALSE(to.WriteTaken(source, source.Take(5000, spare_)));
  EXPECT_EQ(errno, EBADF);
  EXPECT_TRUE(to.Failed());
  const HeldText held = FileHold(source.Handle());
  FileClearError(to.Handle());
  EXPECT_FALSE(FileWriteHeld(to.Handle(), held, 0, held.length));
  EXPECT_TRUE(to.Failed());
}

TEST_F(FileViews, DiskFilesGetAndGiveTheSame) {
  const std::string text(5000, 's');
  MakeFile(Path("memory"), text);
  WriteDisk(Path("disk"), text);
  for (const char* from : {"memory", "disk"}) {
    for (const bool toDisk : {false, true}) {
      FileRemove(Path("to").c_str());
      if (toDisk) {
        WriteDisk(Path("to"), "");
      }
      OpenFile in(Path(from), "rb");
      OpenFile out(Path("to"), "wb");
      ASSERT_TRUE(out.WriteTaken(in, in.Take(4000, spare_)));
      ASSERT_TRUE(out.WriteTaken(in, in.Take(4000, spare_)));
      ASSERT_TRUE(out.CloseWritten());
      EXPECT_TRUE(Contents(Path("to")) == text) << from << toDisk;
    }
  }
}

// --- Holding.

TEST_F(FileViews, AHoldBeginsAtThePosition) {
  MakePieces();
  OpenFile pieces(Path("pieces"), "rb");
  EXPECT_TRUE(FileHold(pieces.Handle()).Text() == std::string(3000, 's'));
  pieces.Seek(2990);
  EXPECT_TRUE(FileHold(pieces.Handle()).Text() == std::string(10, 's'));
  pieces.Seek(3001);
  EXPECT_EQ(FileHold(pieces.Handle()).Text(), "");
}

TEST_F(FileViews, NothingIsHeldOfADiskFileOrAnEmptyOne) {
  WriteDisk(Path("disk"), "abc");
  OpenFile disk(Path("disk"), "rb");
  EXPECT_EQ(FileHold(disk.Handle()).Text(), "");
  void* const empty = Open(Path("empty"), "w+b");
  EXPECT_EQ(FileHold(empty).Text(), "");
  FileClose(empty);
}

TEST_F(FileViews, HeldBytesGoToADiskFileToo) {
  MakeFile(Path("source"), "0123456789");
  OpenFile source(Path("source"), "rb");
  const HeldText held = FileHold(source.Handle());
  WriteDisk(Path("to"), "");
  OpenFile out(Path("to"), "wb");
  ASSERT_TRUE(FileWriteHeld(out.Handle(), held, 2, 5));
  ASSERT_TRUE(out.CloseWritten());
  EXPECT_EQ(DiskBytes(Path("to")), "23456");
}

// --- What all this is for: the same memory.

TEST_F(FileViews, WhatIsTakenOverIsNotCopied) {
  MakeFile(Path("source"), std::string(5000, 's'));
  OpenFile source(Path("source"), "rb");
  const HeldText held = FileHold(source.Handle());
  EXPECT_EQ(held.Text().data(), DataOf(source.Handle()));
  for (const bool heldOnes : {false, true}) {
    OpenFile out(Path("to"), "w+b");
    source.Seek(0);
    for (int i = 0; i < 5; ++i) {
      ASSERT_TRUE(
          heldOnes ? FileWriteHeld(out.Handle(), held, static_cast<std::uint64_t>(i) * 1000, 1000)
                   : out.WriteTaken(source, source.Take(1000, spare_)));
    }
    EXPECT_EQ(DataOf(out.Handle()), held.Text().data());
    EXPECT_EQ(Record(out.Handle()).contents.Run(0).size(), 5000U);
  }
}

TEST_F(FileViews, WhatWasExpectedIsNotCopiedAsFarAsItIsTheSame) {
  MakeFile(Path("source"), std::string(5000, 's'));
  OpenFile source(Path("source"), "rb");
  const HeldText held = FileHold(source.Handle());
  OpenFile out(Path("to"), "w+b");
  FileExpectBytes(out.Handle(), held);
  ASSERT_TRUE(out.Write(std::string(100, 's')));
  ASSERT_TRUE(out.Write(std::string(2900, 's') + "other"));
  EXPECT_EQ(DataOf(out.Handle()), held.Text().data());
  EXPECT_EQ(Record(out.Handle()).contents.Run(0).size(), 3000U);
  EXPECT_EQ(Record(out.Handle()).contents.Run(3000), "other");
}

TEST_F(FileViews, SmallPiecesAmongOthersAreCopied) {
  MakeFile(Path("source"), std::string(5000, 's'));
  OpenFile source(Path("source"), "rb");
  OpenFile out(Path("to"), "w+b");
  ASSERT_TRUE(out.Write("first"));
  for (int i = 0; i < 200; ++i) {
    source.Seek(i);
    ASSERT_TRUE(out.WriteTaken(source, source.Take(20, spare_)));
  }
  EXPECT_EQ(Record(out.Handle()).contents.Run(0).size(), 4005U);
}

// Hints change no result, right or wrong.
TEST_F(FileViews, HintsChangeNeitherBytesNorCapacity) {
  MakeFile(Path("source"), std::string(5000, 's'));
  OpenFile source(Path("source"), "rb");
  const HeldText held = FileHold(source.Handle());
  for (const std::uint64_t hint : {0U, 1U, 4095U, 4096U, 100000U, 262144U, 30000000U}) {
    for (const std::string& text : {std::string(5000, 's'), std::string(4095, 's') + "x",
                                    std::string("x"), std::string(20000, 's')}) {
      for (const bool expectBytes : {false, true}) {
        const std::uint64_t before = MemoryInUse();
        void* const out = Open(Path("to"), "w+b");
        if (expectBytes) {
          FileExpectBytes(out, held);
        }
        FileExpectSize(out, hint);
        EXPECT_EQ(MemoryInUse(), before);
        EXPECT_EQ(FileMemorySize(out), 0U);
        ASSERT_EQ(Write(out, text), text.size());
        EXPECT_EQ(Record(out).capacity, text.size() / 4096 * 4096 + 4096);
        FileClose(out);
        EXPECT_TRUE(Contents(Path("to")) == text) << hint;
        FileRemove(Path("to").c_str());
      }
    }
  }
}

TEST_F(FileViews, AFileOfWhichMuchWasExpectedIsEmptyUntilItIsWritten) {
  MakeFile(Path("source"), std::string(5000, 's'));
  OpenFile source(Path("source"), "rb");
  void* const out = Open(Path("to"), "w+b");
  FileExpectBytes(out, FileHold(source.Handle()));
  EXPECT_EQ(SizeOf(Path("to")), 0);
  EXPECT_EQ(FileGetBuffer(Path("to").c_str()), nullptr);
  EXPECT_EQ(ReadRest(out), "");
  FileClose(out);
  ASSERT_EQ(FileCommit(Path("to").c_str()), 0);
  EXPECT_EQ(DiskBytes(Path("to")), "");
}

// --- Where somebody stands between the library and the files, every byte goes through them.

TEST_F(FileViews, AWrappedTableSeesEveryReadAndWrite) {
  MakeFile(Path("source"), std::string(5000, 's'));
  OpenFile source(Path("source"), "rb");
  const HeldText held = FileHold(source.Handle());
  OpenFile out(Path("to"), "w+b");
  FaultTable faults;
  faults.FailNothing();
  const std::string_view taken = source.Take(5000, spare_);
  EXPECT_EQ(taken.data(), spare_.data());
  EXPECT_EQ(faults.Calls(FileEntry::kRead), 1);
  EXPECT_TRUE(out.WriteTaken(source, taken));
  EXPECT_TRUE(FileWriteFrom(out.Handle(), source.Handle(), 0, taken));
  EXPECT_TRUE(FileWriteHeld(out.Handle(), held, 0, 100));
  EXPECT_EQ(faults.Calls(FileEntry::kWrite), 3);
  EXPECT_EQ(FileWholeView(source.Handle()).data(), nullptr);
  EXPECT_EQ(FileHold(source.Handle()).Text(), "");
  EXPECT_EQ(FileMemorySize(out.Handle()), 0U);
  faults.FailOnce(FileEntry::kWrite, 1);
  EXPECT_FALSE(FileWriteHeld(out.Handle(), held, 0, 100));
}

}  // namespace
}  // namespace zevka::test
