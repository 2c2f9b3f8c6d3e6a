// Loading, opening and ending through the host kit: every way out ends a message once and leaves
// nothing behind.

#include <gtest/gtest.h>
#include <zevka/host.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tests/abi/raw_slots.h"
#include "tests/host/kit_host.h"

namespace zevka::host {
namespace {

using test::OwnName;

static_assert(!std::is_copy_constructible_v<Packer> && std::is_move_constructible_v<Packer>);
static_assert(!std::is_copy_constructible_v<Message> && std::is_move_constructible_v<Message>);
static_assert(!std::is_copy_constructible_v<Part> && std::is_move_constructible_v<Part>);
static_assert(std::is_nothrow_destructible_v<Message>);

constexpr const char* kKitMessage = "Subject: Hi\n\nHello.\n";
constexpr const char* kKitTwoParts =
    "Content-Type: multipart/mixed; boundary=b\n\n"
    "--b\nX-P: 1\n\none\n--b\nX-P: 2\n\ntwo\n--b--\n";

// How often the packer was asked to end a message, by which slot, and to free a buffer.
struct Endings {
  int commits = 0;
  int closes = 0;
  int discards = 0;
  int buffers = 0;
};
Endings endings;
test::PatchedPacker* heardPacker = nullptr;

constexpr std::size_t kCommitSlot = 2;
constexpr std::size_t kCloseSlot = 6;
constexpr std::size_t kReleaseSlot = 8;

template <typename Function>
Function* OriginalOf(std::size_t slot) {
  Function* function = nullptr;
  std::memcpy(&function, heardPacker->Original() + slot, sizeof function);
  return function;
}

int HearCommitting(void* self, PartObject* part, const char* suffix, const char* passThrough,
                   const char* attachmentName) {
  ++endings.commits;
  EXPECT_EQ(attachmentName, nullptr);
  return OriginalOf<int(void*, PartObject*, const char*, const char*, const char*)>(kCommitSlot)(
      self, part, suffix, passThrough, attachmentName);
}

std::int64_t HearClosing(void* self, PartObject* part, char** buffer, bool commit) {
  ++endings.closes;
  return OriginalOf<std::int64_t(void*, PartObject*, char**, bool)>(kCloseSlot)(self, part, buffer,
                                                                                commit);
}

// The kit hands one pointer to each code it uses.
int HearReleasing(void* self, int code, void* argument) {
  endings.discards += code == kDiscardMessage ? 1 : 0;
  endings.buffers += code == kReleaseBuffer ? 1 : 0;
  return OriginalOf<int(void*, int, ...)>(kReleaseSlot)(self, code, argument);
}

class KitLife : public test::KitTest {
 protected:
  KitLife() {
    endings = {};
    heardPacker = &patched_;
    patched_.Replace(kCommitSlot, HearCommitting);
    patched_.Replace(kCloseSlot, HearClosing);
    patched_.Replace(kReleaseSlot, HearReleasing);
  }

  // Each ending once, in the stated way, and no name left.
  void ExpectEnded(const std::string& name, const Endings& expected) const {
    EXPECT_FALSE(packer_.Files().Exists(name));
    EXPECT_EQ(endings.discards, expected.discards);
    EXPECT_EQ(endings.closes, expected.closes);
    // Closing commits through slot 2 as well.
    EXPECT_EQ(endings.commits, expected.commits + expected.closes);
    EXPECT_EQ(endings.buffers, expected.buffers);
  }

  test::PatchedPacker patched_{&packer_.Raw()};
};

TEST(KitLoading, MissingLibraryIsAFailureWithTheLoadersReason) {
  try {
    Library::Load("/nowhere/libzevka.so");
    FAIL() << "a library that is not there was loaded";
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find("/nowhere/libzevka.so"), std::string::npos);
  }
}

TEST(KitLoading, LibraryWithoutTheExportsIsAFailure) {
  EXPECT_THROW(Library::Load("libm.so.6"), Failure);
}

TEST(KitLoading, ExportThatIsNotThereIsAFailure) {
  const Library library = Library::Load(ZEVKA_LIBRARY);
  EXPECT_NE(library.Export("xRegister"), nullptr);
  EXPECT_THROW(library.Export("printf_not"), Failure);
}

// An empty handle means every library of the process to the dynamic loader.
TEST(KitLoading, MovedLibraryHasNoExports) {
  Library library = Library::Load(ZEVKA_LIBRARY);
  const Library other = std::move(library);
  EXPECT_THROW(library.Export("malloc"),
               Failure);  // NOLINT(bugprone-use-after-move): asked on purpose
}

TEST(KitLoading, MovedPackerRefusesAllWork) {
  Packer packer(Library::Load(ZEVKA_LIBRARY));
  const Packer other = std::move(packer);
  EXPECT_THROW(packer.OpenBytes(kKitMessage),
               Failure);  // NOLINT(bugprone-use-after-move): as above
  EXPECT_THROW(packer.Files(), Failure);
  EXPECT_NO_THROW(other.OpenBytes(kKitMessage));
}

TEST(KitLoading, MessageOutlivesPackerAndLibrary) {
  std::optional<Message> message;
  {
    const Packer packer(Library::Load(ZEVKA_LIBRARY));
    message.emplace(packer.OpenBytes(kKitMessage));
  }
  EXPECT_EQ(message->Finish(), kKitMessage);
}

TEST(KitLoading, FilesOutlivePackerAndLibrary) {
  std::optional<Files> files;
  {
    const Packer packer(Library::Load(ZEVKA_LIBRARY));
    files.emplace(packer.Files());
  }
  files->Write("kit-outlives", "x");
  EXPECT_EQ(files->Read("kit-outlives"), "x");
  EXPECT_TRUE(files->Remove("kit-outlives"));
}

TEST_F(KitLife, MessageThatGoesOutOfScopeIsDiscardedOnce) {
  std::string name;
  {
    const Message message = Open(kKitMessage);
    name = OwnName(message);
    EXPECT_TRUE(packer_.Files().Exists(name));
  }
  ExpectEnded(name, {.discards = 1});
}

TEST_F(KitLife, ExceptionDiscardsTheMessageOnce) {
  std::string name;
  try {
    const Message message = Open(kKitTwoParts);
    name = OwnName(message);
    const Part first = std::move(message.Root().Children().front());
    first.ReadBody([](std::string_view) { throw std::domain_error("enough"); });
    FAIL() << "the reader's exception was lost";
  } catch (const std::domain_error&) {
  }
  ExpectEnded(name, {.discards = 1});
}

TEST_F(KitLife, MovedMessageEndsOnce) {
  std::string name;
  {
    Message first = Open(kKitMessage);
    name = OwnName(first);
    const Message second = std::move(first);
    EXPECT_EQ(OwnName(second), name);
    EXPECT_THROW(first.Root(), Failure);  // NOLINT(bugprone-use-after-move): asked on purpose
    EXPECT_THROW(first.Finish(), Failure);
    first.Discard();
  }
  ExpectEnded(name, {.discards = 1});
}

TEST_F(KitLife, DiscardedTwiceEndsOnce) {
  std::string name;
  {
    Message message = Open(kKitMessage);
    name = OwnName(message);
    message.Discard();
    message.Discard();
  }
  ExpectEnded(name, {.discards = 1});
}

TEST_F(KitLife, FinishedMessageGivesItsBytesAndItsBufferBack) {
  std::string name;
  {
    Message message = Open(kKitMessage);
    name = OwnName(message);
    message.Root().SetField("X-A", "1");
    EXPECT_EQ(message.Finish(), "Subject: Hi\nX-A: 1\n\nHello.\n");
  }
  ExpectEnded(name, {.closes = 1, .buffers = 1});
}

TEST_F(KitLife, FinishedWithASuffixEndsOnce) {
  std::string name;
  {
    Message message = Open(kKitMessage);
    name = OwnName(message);
    EXPECT_EQ(message.Finish(" [seen]"), "Subject: Hi [seen]\n\nHello.\n");
  }
  ExpectEnded(name, {.commits = 1});
}

TEST_F(KitLife, NothingCanBeDoneWithAMessageThatHasEnded) {
  Message message = Open(kKitMessage);
  const std::string name = OwnName(message);
  message.Discard();
  EXPECT_THROW(message.Finish(), Failure);
  EXPECT_THROW(message.Finish(" [seen]"), Failure);
  EXPECT_THROW(message.Commit(), Failure);
  EXPECT_THROW(message.Root(), Failure);
  EXPECT_THROW(message.IsSigned(), Failure);
  EXPECT_THROW(message.LineEnd(), Failure);
  EXPECT_THROW(message.SetFooter("Checked."), Failure);
  ExpectEnded(name, {.discards = 1});
}

TEST_F(KitLife, PartOfAnEndedMessageRefusesAllUse) {
  std::optional<Part> part;
  {
    const Message message = Open(kKitTwoParts);
    part.emplace(std::move(message.Root().Children().front()));
    EXPECT_EQ(part->Body(), "one\n");
  }
  EXPECT_THROW(part->Fields(), Failure);
  EXPECT_THROW(part->Field("Subject"), Failure);
  EXPECT_THROW(part->SetField("X-A", "1"), Failure);
  EXPECT_THROW(part->Name(), Failure);
  EXPECT_THROW(part->Children(), Failure);
  EXPECT_THROW(part->EmbeddedText(), Failure);
  EXPECT_THROW(part->Body(), Failure);
  EXPECT_THROW(part->BodySizeBytes(), Failure);
  EXPECT_THROW(part->SetBody("x"), Failure);
  EXPECT_THROW(part->Remove(), Failure);
  EXPECT_THROW(part->Raw(), Failure);
}

TEST_F(KitLife, RefusedSuffixLeavesTheMessageOpen) {
  Message message = Open(kKitMessage);
  for (const char* suffix : {" a\nX-B: 1", "caf\xC3\xA9", "\x7F"}) {
    EXPECT_THROW(message.Finish(suffix), Failure);
  }
  EXPECT_EQ(message.Finish(), kKitMessage);
}

TEST_F(KitLife, MessageThatDoesNotOpenIsAFailure) {
  EXPECT_THROW(packer_.Open("/nowhere/m.eml"), Failure);
  EXPECT_THROW(packer_.Open("."), Failure);
  EXPECT_THROW(packer_.Open("/dev/null"), Failure);
  EXPECT_THROW(packer_.OpenBytes(""), Failure);
}

TEST_F(KitLife, BytesHandedInStayAsTheyAre) {
  const std::string bytes = kKitTwoParts;
  std::string copy = bytes;
  {
    const Message message = Open(copy);
    message.Root().Children().front().SetBody("changed\n");
  }
  EXPECT_EQ(copy, bytes);
}

TEST_F(KitLife, MoreThanAThousandPartsAreRefusedRatherThanMixedUp) {
  const auto withParts = [](int count) {
    std::string text = "Content-Type: multipart/mixed; boundary=b\n\n";
    for (int index = 0; index < count; ++index) {
      text += "--b\nX-P: 1\n\n" + std::to_string(index) + "\n";
    }
    return text += "--b--\n";
  };
  const Message most = Open(withParts(1000));
  EXPECT_EQ(most.Root().Children().back().Body(), "999\n");
  Message more = Open(withParts(1001));
  EXPECT_THROW(more.Root().Children(), Failure);
  EXPECT_THROW(more.Finish(), Failure);
}

}  // namespace
}  // namespace zevka::host
