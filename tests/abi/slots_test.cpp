// The fixed order of the operations: every slot by the address of its member, and by a call through
// the raw table.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/abi/raw_slots.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\nX-A: 1\r\n\r\nbody\r\n";
constexpr char kMultipart[] =
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\nT: 1\r\n\r\none\r\n--b\r\nT: 2\r\n\r\ntwo\r\n--b--\r\n";

TEST(PackerSlots, StandInOrder) {
  EXPECT_EQ(SlotOf(&StandardPacker::SupportsVersion), 0U);
  EXPECT_EQ(SlotOf(&StandardPacker::OpenMessage), 1U);
  EXPECT_EQ(SlotOf(&StandardPacker::CommitMessage), 2U);
  EXPECT_EQ(SlotOf(&StandardPackerW::OpenMessageW), 3U);
  EXPECT_EQ(SlotOf(&StandardPackerW::CommitMessageW), 4U);
  EXPECT_EQ(SlotOf(&CStandardPacker::OpenMessageFromMemory), 5U);
  EXPECT_EQ(SlotOf(&CStandardPacker::CloseMessage), 6U);
  EXPECT_EQ(SlotOf(&CStandardPacker::QueryControl), 7U);
  EXPECT_EQ(SlotOf(&CStandardPacker::ReleaseControl), 8U);
}

TEST(PartSlots, StandInOrder) {
  const std::vector<std::size_t> slots = {SlotOf(&SPackObj::Initialize),
                                          SlotOf(&SPackObj::SaveAndClose),
                                          SlotOf(&SPackObj::Reserved),
                                          SlotOf(&MIMEPackObj::LoadFromFile),
                                          SlotOf(&MIMEPackObj::WriteMessage),
                                          SlotOf(&MIMEPackObj::RemovePart),
                                          SlotOf(&MIMEPackObj::RewindHeaders),
                                          SlotOf(&MIMEPackObj::NextHeader),
                                          SlotOf(&MIMEPackObj::GetHeaderSizes),
                                          SlotOf(&MIMEPackObj::SetHeader),
                                          SlotOf(&MIMEPackObj::RewindChildren),
                                          SlotOf(&MIMEPackObj::NextChild),
                                          SlotOf(&MIMEPackObj::GetBodySize),
                                          SlotOf(&MIMEPackObj::GetName),
                                          SlotOf(&MIMEPackObj::GetDecodedBodyFile),
                                          SlotOf(&MIMEPackObj::GetEncodedBodyFile),
                                          SlotOf(&MIMEPackObj::SetFooterText),
                                          SlotOf(&MIMEPackObj::SetModified),
                                          SlotOf(&MIMEPackObjW::SaveAndCloseW),
                                          SlotOf(&MIMEPackObjW::LoadFromFileW),
                                          SlotOf(&MIMEPackObjW::WriteMessageW),
                                          SlotOf(&MIMEPackObjW::NextHeaderW),
                                          SlotOf(&MIMEPackObjW::SetHeaderW),
                                          SlotOf(&MIMEPackObjW::GetNameW),
                                          SlotOf(&MIMEPackObjW::GetDecodedBodyFileW),
                                          SlotOf(&MIMEPackObjW::GetEncodedBodyFileW),
                                          SlotOf(&MIMEPackObjW::SetFooterTextW),
                                          SlotOf(&CMIMEPacker::ReadDecodedBody),
                                          SlotOf(&CMIMEPacker::WriteDecodedBody),
                                          SlotOf(&CMIMEPacker::ReadEncodedBody),
                                          SlotOf(&CMIMEPacker::WriteEncodedBody),
                                          SlotOf(&PartObject::DoRewindHeaders),
                                          SlotOf(&PartObject::DoNextHeader),
                                          SlotOf(&PartObject::ReservedA),
                                          SlotOf(&PartObject::ReservedB),
                                          SlotOf(&PartObject::DoGetHeaderSizes),
                                          SlotOf(&PartObject::DoSetHeader),
                                          SlotOf(&PartObject::DoRewindChildren),
                                          SlotOf(&PartObject::DoNextChild),
                                          SlotOf(&PartObject::DoGetDecodedBodyFile),
                                          SlotOf(&PartObject::GetSourceFile),
                                          SlotOf(&PartObject::GetDecodedBodyBuffer),
                                          SlotOf(&PartObject::DoGetEncodedBodyFile),
                                          SlotOf(&PartObject::GetEncodedBodyBuffer),
                                          SlotOf(&PartObject::GetFileName)};
  ASSERT_EQ(slots.size(), 45U);
  for (std::size_t i = 0; i < slots.size(); ++i) {
    EXPECT_EQ(slots[i], i);
  }
}

// ---- The packer's table

class RawPacker : public ::testing::Test {
 protected:
  template <typename Result, typename... Arguments>
  Result Call(std::size_t slot, Arguments... arguments) {
    return CallSlot<Result, Arguments...>(&host.Packer(), slot, arguments...);
  }
  Host host;
  TempDir folder;
};

TEST_F(RawPacker, SlotZeroTellsTheVersion) {
  EXPECT_EQ(Call<int>(0, 1), 1);
  EXPECT_EQ(Call<int>(0, 2), 0);
}

TEST_F(RawPacker, SlotsOneAndThreeOpenFiles) {
  const std::string path = folder.Path("m");
  WriteDisk(path, kPlain);
  const std::wstring wide(path.begin(), path.end());
  const Message narrow(host, Call<PartObject*>(1, path.c_str()));
  EXPECT_EQ(narrow.Name(), path);
  EXPECT_EQ(Host::Encoded(narrow.get()), "body\r\n");
  host->ReleaseControl(4, Call<PartObject*>(3, wide.c_str()));
  EXPECT_EQ(Call<PartObject*>(1, folder.Path("missing").c_str()), nullptr);
}

TEST_F(RawPacker, SlotsTwoAndFourCommit) {
  Message narrow(host, kPlain);
  EXPECT_EQ((Call<int, PartObject*, const char*, const char*, const char*>(2, narrow.Release(), "!",
                                                                           nullptr, nullptr)),
            0);
  EXPECT_EQ(ReadFile(host, narrow.Name()), "Subject: one!\r\nX-A: 1\r\n\r\nbody\r\n");
  Message wide(host, kPlain);
  EXPECT_EQ((Call<int, PartObject*, const wchar_t*, const wchar_t*, const wchar_t*>(
                4, wide.Release(), L"?", nullptr, nullptr)),
            0);
  EXPECT_EQ(ReadFile(host, wide.Name()), "Subject: one?\r\nX-A: 1\r\n\r\nbody\r\n");
}

TEST_F(RawPacker, SlotsFiveAndSixOpenAndCloseMessagesInMemory) {
  std::string bytes = kPlain;
  const auto length = static_cast<std::int64_t>(bytes.size());
  auto* const message = Call<PartObject*, void*, std::int64_t, bool>(5, bytes.data(), length, true);
  ASSERT_NE(message, nullptr);
  char* buffer = nullptr;
  EXPECT_EQ((Call<std::int64_t, PartObject*, char**, bool>(6, message, &buffer, false)), length);
  EXPECT_STREQ(buffer, kPlain);
  host->ReleaseControl(3, buffer);
}

TEST_F(RawPacker, SlotsSevenAndEightAreControls) {
  using Control = int(void*, int, ...);
  Control* query = nullptr;
  Control* release = nullptr;
  std::memcpy(&query, TableOf(&host.Packer()) + 7, sizeof query);
  std::memcpy(&release, TableOf(&host.Packer()) + 8, sizeof release);
  const Message message(host, "DKIM-Signature: v\r\n\r\nx\r\n");
  EXPECT_EQ(query(&host.Packer(), 2), 1);
  EXPECT_EQ(query(&host.Packer(), 6, message.get()), 1);
  EXPECT_EQ(query(&host.Packer(), 3), 0);
  EXPECT_EQ(release(&host.Packer(), 2), 1);
  EXPECT_EQ(release(&host.Packer(), 1), 0);
  EXPECT_EQ(release(&host.Packer(), 3, std::malloc(3)), 1);
}

TEST_F(RawPacker, SlotsNineAndTenEndThePacker) {
  auto* const request = host.Export<int(int, StandardPacker**)>("RequestInterface");
  StandardPacker* first = nullptr;
  StandardPacker* second = nullptr;
  ASSERT_EQ(request(1, &first), 1);
  ASSERT_EQ(request(1, &second), 1);
  CallSlot<void>(first, 9);
  ::operator delete(static_cast<void*>(first));  // slot 9 leaves the memory to be freed
  CallSlot<void>(second, 10);
}

TEST_F(RawPacker, SlotElevenOpensAPart) {
  const std::string path = folder.Path("m");
  WriteDisk(path, kPlain);
  const Message message(host, Call<PartObject*, const char*, bool>(11, path.c_str(), true));
  EXPECT_EQ(message.Name(), path);
  EXPECT_EQ((Call<PartObject*, const char*, bool>(11, folder.Path("missing").c_str(), true)),
            nullptr);
}

// ---- A part's table

class RawPart : public ::testing::Test {
 protected:
  template <typename Result, typename... Arguments>
  static Result Call(PartObject* part, std::size_t slot, Arguments... arguments) {
    return CallSlot<Result, Arguments...>(part, slot, arguments...);
  }
  std::string Path(const char* name, const char* bytes) const {
    std::string path = folder.Path(name);
    WriteDisk(path, bytes);
    return path;
  }
  Host host;
  TempDir folder;
};

TEST_F(RawPart, SlotsZeroTwoThirtyThreeAndThirtyFourDoNothing) {
  const Message message(host, kPlain);
  EXPECT_EQ(Call<int>(message.get(), 0), 1);
  EXPECT_EQ(Call<int>(message.get(), 2), 0);
  EXPECT_EQ(Call<int>(message.get(), 33), 0);
  EXPECT_EQ(Call<int>(message.get(), 34), 0);
  EXPECT_EQ(message.get()->Initialize(), 1);
  EXPECT_EQ(message.get()->Reserved(), 0);
  EXPECT_EQ(message.get()->ReservedA(), 0);
  EXPECT_EQ(message.get()->ReservedB(), 0);
}

TEST_F(RawPart, SlotsOneAndEighteenSaveAndEnd) {
  Message narrow(host, kPlain);
  EXPECT_EQ((Call<int, const char*, const char*, const char*>(narrow.Release(), 1, "!", nullptr,
                                                              nullptr)),
            1);
  EXPECT_EQ(ReadFile(host, narrow.Name()), "Subject: one!\r\nX-A: 1\r\n\r\nbody\r\n");
  Message wide(host, kPlain);
  EXPECT_EQ((Call<int, const wchar_t*, const wchar_t*, const wchar_t*>(wide.Release(), 18, L"?",
                                                                       nullptr, nullptr)),
            1);
  EXPECT_EQ(ReadFile(host, wide.Name()), "Subject: one?\r\nX-A: 1\r\n\r\nbody\r\n");
}

int loads = 0;
std::string loadedPath;
int CountLoad(void* /*self*/, const char* path) {
  ++loads;
  loadedPath = path;
  return 1;
}

// A part is loaded once, by the packer, so the slots are met on a patched table.
TEST_F(RawPart, SlotsThreeAndNineteenLoad) {
  const Message message(host, kPlain);
  loads = 0;
  PatchedPart patched(message.get());
  patched.Replace(3, CountLoad);
  EXPECT_EQ(message->LoadFromFile("narrow"), 1);
  EXPECT_EQ(loadedPath, "narrow");
  EXPECT_EQ((Call<int, const wchar_t*>(message.get(), 19, L"wide")), 1);
  EXPECT_EQ(loadedPath, "wide");
  EXPECT_EQ(loads, 2);
}

TEST_F(RawPart, SlotsFourAndTwentyWrite) {
  const Message narrow(host, kPlain);
  EXPECT_EQ((Call<int, int, const char*, const char*, const char*>(narrow.get(), 4, 0, "!", nullptr,
                                                                   nullptr)),
            1);
  EXPECT_EQ(ReadFile(host, narrow.Name()), "Subject: one!\r\nX-A: 1\r\n\r\nbody\r\n");
  EXPECT_FALSE(Exists(host, narrow.Name("_e"))) << "writing uses the body up";
  const Message wide(host, kPlain);
  EXPECT_EQ((Call<int, int, const wchar_t*, const wchar_t*, const wchar_t*>(wide.get(), 20, 0, L"?",
                                                                            nullptr, nullptr)),
            1);
  EXPECT_EQ(ReadFile(host, wide.Name()), "Subject: one?\r\nX-A: 1\r\n\r\nbody\r\n");
}

TEST_F(RawPart, SlotFiveRemoves) {
  const Message message(host, kPlain);
  EXPECT_EQ(Call<int>(message.get(), 5), 1);
  EXPECT_FALSE(Exists(host, message.Name()));
}

TEST_F(RawPart, SlotsSixSevenAndEightIterateHeaders) {
  const Message message(host, kPlain);
  for (const std::size_t offset : {std::size_t{0}, std::size_t{25}}) {
    // 6, 7 and 31, 32
    EXPECT_EQ(Call<int>(message.get(), 6 + offset), 1);
    std::array<char, 256> name{};
    std::array<char, 1024> value{};
    EXPECT_EQ((Call<int, char*, char*>(message.get(), 7 + offset, name.data(), value.data())), 1);
    EXPECT_STREQ(name.data(), "Subject");
    EXPECT_STREQ(value.data(), " one");
  }
  for (const std::size_t slot : {std::size_t{8}, std::size_t{35}}) {
    std::uint64_t nameSize = 0;  // the low halves hold the sizes
    std::uint64_t valueSize = 0;
    EXPECT_EQ(
        (Call<int, std::uint64_t*, std::uint64_t*>(message.get(), slot, &nameSize, &valueSize)), 1);
    EXPECT_EQ(nameSize & 0xFFFFFFFFU, 256U) << slot;
    EXPECT_EQ(valueSize & 0xFFFFFFFFU, 1024U) << slot;
  }
}

TEST_F(RawPart, SlotsNineTwentyTwoAndThirtySixSetHeaders) {
  Message message(host, kPlain);
  EXPECT_EQ((Call<int, const char*, const char*, int>(message.get(), 9, "X-B", "9", 0)), 1);
  EXPECT_EQ((Call<int, const wchar_t*, const wchar_t*, int>(message.get(), 22, L"X-C", L"22", 0)),
            1);
  EXPECT_EQ((Call<int, const char*, const char*, int>(message.get(), 36, "X-A", "36", 1)), 1);
  EXPECT_EQ((Call<int, const char*, const char*, int>(message.get(), 9, "X B", "9", 0)), 0);
  EXPECT_EQ(message.Committed(), "Subject: one\r\nX-A: 36\r\nX-B: 9\r\nX-C: 22\r\n\r\nbody\r\n");
}

TEST_F(RawPart, SlotsTenAndElevenIterateChildren) {
  const Message message(host, kMultipart);
  for (const std::size_t first : {std::size_t{10}, std::size_t{37}}) {
    EXPECT_EQ(Call<int>(message.get(), first), 1);
    PartObject* child = nullptr;
    PartObject* other = nullptr;
    EXPECT_EQ((Call<int, PartObject**>(message.get(), first + 1, &child)), 1);
    EXPECT_EQ((Call<int, PartObject**>(message.get(), first + 1, &other)), 1);
    ASSERT_NE(child, nullptr);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(Host::Encoded(child), "one\r\n");
    EXPECT_EQ(Host::Encoded(other), "two\r\n");
    EXPECT_EQ((Call<int, PartObject**>(message.get(), first + 1, &other)), 0);
    EXPECT_EQ(Call<int>(child, first), 0);
  }
}

TEST_F(RawPart, SlotTwelveTellsTheSize) {
  const Message message(host, kPlain);
  std::uint64_t size = ~std::uint64_t{0};
  EXPECT_EQ((Call<int, std::uint64_t*>(message.get(), 12, &size)), 1);
  EXPECT_EQ(size, sizeof kPlain - 1) << "all 64 bits are stored";
}

TEST_F(RawPart, SlotsThirteenAndTwentyThreeGiveTheName) {
  const Message message(host, "Content-Type: text/plain; name=a.txt\r\n\r\nx\r\n");
  std::array<char, 513> narrow{};
  std::array<wchar_t, 513> wide{};
  EXPECT_EQ((Call<int, char*>(message.get(), 13, narrow.data())), 1);
  EXPECT_STREQ(narrow.data(), "a.txt");
  EXPECT_EQ((Call<int, wchar_t*>(message.get(), 23, wide.data())), 1);
  EXPECT_EQ(std::wstring(wide.data()), L"a.txt");
}

TEST_F(RawPart, SlotsOfTheBodyFilesGiveTheirNames) {
  const std::string path = Path("m", kPlain);
  const Message message(host, host->OpenMessage(path.c_str()));
  for (const int commit : {0, 1}) {
    std::array<char, 512> decoded{};
    std::array<char, 512> encoded{};
    EXPECT_EQ((Call<int, char*, int>(message.get(), 39, decoded.data(), commit)), 1);
    EXPECT_EQ((Call<int, char*, int>(message.get(), 42, encoded.data(), commit)), 1);
    EXPECT_EQ(std::string(decoded.data()), path + "_d");
    EXPECT_EQ(std::string(encoded.data()), path + "_e");
    EXPECT_EQ(OnDisk(path + "_d"), commit == 1);
    EXPECT_EQ(OnDisk(path + "_e"), commit == 1);
  }
  for (const std::size_t slot : {std::size_t{14}, std::size_t{15}}) {
    std::array<char, 512> narrow{};
    std::array<wchar_t, 512> wide{};
    const std::string expected = path + (slot == 14 ? "_d" : "_e");
    EXPECT_EQ((Call<int, char*>(message.get(), slot, narrow.data())), 1);
    EXPECT_EQ(std::string(narrow.data()), expected);
    EXPECT_EQ((Call<int, wchar_t*>(message.get(), slot + 10, wide.data())), 1);
    EXPECT_EQ(std::wstring(wide.data()), std::wstring(expected.begin(), expected.end()));
  }
}

TEST_F(RawPart, SlotsSixteenAndTwentySixKeepAFooter) {
  Message narrow(host, kPlain);
  EXPECT_EQ((Call<int, const char*>(narrow.get(), 16, "S")), 1);
  EXPECT_EQ(narrow.Committed(), "Subject: one\r\nX-A: 1\r\n\r\nbody\r\n\r\nS\r\n\r\n");
  Message wide(host, kPlain);
  EXPECT_EQ((Call<int, const wchar_t*>(wide.get(), 26, L"W")), 1);
  EXPECT_EQ(wide.Committed(), "Subject: one\r\nX-A: 1\r\n\r\nbody\r\n\r\nW\r\n\r\n");
}

TEST_F(RawPart, SlotSeventeenMarksThePartModified) {
  // "QUJD" without padding stays as it is, unless the body is encoded anew.
  const char* const folded = "Content-Transfer-Encoding: base64\r\n\r\nQU\r\nJD\r\n";
  EXPECT_EQ(host.Rewritten(folded), folded);
  Message message(host, folded);
  Call<void>(message.get(), 17);
  EXPECT_EQ(message.Committed(), "Content-Transfer-Encoding: base64\r\n\r\nQUJD\r\n");
}

TEST_F(RawPart, SlotTwentyOneGivesWideHeaders) {
  const Message message(host, kPlain);
  message->RewindHeaders();
  std::array<wchar_t, 257> name{};
  std::array<wchar_t, 1025> value{};
  EXPECT_EQ((Call<int, wchar_t*, wchar_t*>(message.get(), 21, name.data(), value.data())), 1);
  EXPECT_EQ(std::wstring(name.data()), L"Subject");
  EXPECT_EQ(std::wstring(value.data()), L" one");
}

TEST_F(RawPart, SlotsTwentySevenToThirtyReadAndWriteBodies) {
  const Message message(host, "Content-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n");
  std::array<char, 20> buffer{};
  using Size = std::uint64_t;
  using Offset = std::int64_t;
  EXPECT_EQ((Call<Size, void*, Size, Offset>(message.get(), 27, buffer.data(), 3, 1)), 3U);
  EXPECT_STREQ(buffer.data(), "ell");
  EXPECT_EQ((Call<Size, void*, Size, Offset>(message.get(), 29, buffer.data(), 4, 4)), 4U);
  EXPECT_STREQ(buffer.data(), "bG8=");
  EXPECT_EQ((Call<Size, const void*, Size>(message.get(), 28, "abc", 3)), 3U);
  EXPECT_EQ(Host::Decoded(message.get()), "abc");
  EXPECT_EQ((Call<Size, const void*, Size>(message.get(), 30, "defg", 4)), 4U);
  EXPECT_EQ(Host::Encoded(message.get()), "defg");
}

TEST_F(RawPart, SlotFortyGivesTheSourceFile) {
  const std::string path = Path("m", "Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\nhi\r\n");
  const Message embedded(host, host->OpenMessage(path.c_str()));
  std::array<char, 512> buffer{};
  EXPECT_EQ((Call<int, char*>(embedded.get(), 40, buffer.data())), 1);
  EXPECT_EQ(std::string(buffer.data()), path + "_e.rfc822");
  const Message plain(host, kPlain);
  EXPECT_EQ((Call<int, char*>(plain.get(), 40, buffer.data())), 0);
}

TEST_F(RawPart, SlotsFortyOneAndFortyThreeGiveTheBodiesInMemory) {
  const Message message(host, "Content-Transfer-Encoding: base64\r\n\r\naGVsbG8=\r\n");
  const void* const decoded = Call<void*>(message.get(), 41);
  const void* const encoded = Call<void*>(message.get(), 43);
  ASSERT_NE(decoded, nullptr);
  ASSERT_NE(encoded, nullptr);
  EXPECT_EQ(std::memcmp(decoded, "hello", 5), 0);
  EXPECT_EQ(std::memcmp(encoded, "aGVsbG8=\r\n", 10), 0);
}

TEST_F(RawPart, SlotFortyFourGivesTheFileName) {
  const Message message(host, kPlain);
  std::array<char, 64> buffer{};
  EXPECT_EQ((Call<int, char*, std::uint64_t>(message.get(), 44, buffer.data(), 63)), 0);
  EXPECT_EQ(std::string(buffer.data()), message.Name());
}

TEST_F(RawPart, SlotFortyFiveEndsThePartAndLeavesItsMemory) {
  Message message(host, kPlain);
  EXPECT_TRUE(Exists(host, message.Name("_e")));
  PartObject* const part = message.Release();
  Call<void>(part, 45);
  EXPECT_FALSE(Exists(host, message.Name("_e")));
  ::operator delete(static_cast<void*>(part));
}

TEST_F(RawPart, SlotFortySixEndsThePart) {
  Message message(host, kPlain);
  Call<void>(message.Release(), 46);
  EXPECT_FALSE(Exists(host, message.Name("_e")));
  EXPECT_TRUE(Exists(host, message.Name()));
}

}  // namespace
}  // namespace zevka::test
