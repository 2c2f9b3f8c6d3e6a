// Calls that go through an object's table, so that a host which copies the table and replaces a
// slot is heard.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/abi/raw_slots.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\n\r\nbody\r\n";

// What a replaced slot was given.
struct Heard {
  int calls = 0;
  void* self = nullptr;
  std::string first;
  std::string second;
  std::string third;
  int number = -1;
};
Heard heard;

std::string TextOf(const char* text) {
  return text == nullptr ? "(null)" : text;
}

PartObject* const kMarkedPart = reinterpret_cast<PartObject*>(0x1230);

PartObject* HearPath(void* self, const char* path) {
  ++heard.calls;
  heard.self = self;
  heard.first = TextOf(path);
  return kMarkedPart;
}

int HearCommit(void* self, PartObject* /*message*/, const char* first, const char* second,
               const char* third) {
  ++heard.calls;
  heard.self = self;
  heard.first = TextOf(first);
  heard.second = TextOf(second);
  heard.third = TextOf(third);
  return 77;
}

PartObject* HearOpenPart(void* self, const char* path, bool writeThrough) {
  ++heard.calls;
  heard.self = self;
  heard.first = TextOf(path);
  heard.number = writeThrough ? 1 : 0;
  return kMarkedPart;
}

TEST(Overrides, OpenMessageWUsesSlotOne) {
  const Host host;
  heard = {};
  PatchedPacker patched(&host.Packer());
  patched.Replace(1, HearPath);
  EXPECT_EQ(host->OpenMessageW(L"caf\u00E9"), kMarkedPart);
  EXPECT_EQ(heard.calls, 1);
  EXPECT_EQ(heard.self, &host.Packer());
  EXPECT_EQ(heard.first, "caf\xC3\xA9");
}

TEST(Overrides, OpenMessageUsesSlotElevenWithWritingThrough) {
  const Host host;
  heard = {};
  PatchedPacker patched(&host.Packer());
  patched.Replace(11, HearOpenPart);
  EXPECT_EQ(host->OpenMessage("a path"), kMarkedPart);
  EXPECT_EQ(heard.first, "a path");
  EXPECT_EQ(heard.number, 1);
  EXPECT_EQ(host->OpenMessageW(L"wide"), kMarkedPart);
  EXPECT_EQ(heard.first, "wide");
  EXPECT_EQ(heard.calls, 2);
}

TEST(Overrides, CommitMessageWUsesSlotTwo) {
  const Host host;
  heard = {};
  PatchedPacker patched(&host.Packer());
  patched.Replace(2, HearCommit);
  EXPECT_EQ(host->CommitMessageW(kMarkedPart, L"\u00E9", nullptr, L"c"), 77);
  EXPECT_EQ(heard.calls, 1);
  EXPECT_EQ(heard.self, &host.Packer());
  EXPECT_EQ(heard.first, "\xC3\xA9");
  EXPECT_EQ(heard.second, "(null)");
  EXPECT_EQ(heard.third, "c");
  EXPECT_EQ(host->CommitMessageW(kMarkedPart, nullptr, L"b", nullptr), 77);
  EXPECT_EQ(heard.first, "(null)");
  EXPECT_EQ(heard.second, "b");
  EXPECT_EQ(heard.third, "(null)");
}

TEST(Overrides, CloseMessageUsesSlotTwoAndIgnoresItsResult) {
  const Host host;
  Message message(host, kPlain);
  heard = {};
  char* buffer = nullptr;
  {
    PatchedPacker patched(&host.Packer());
    patched.Replace(2, HearCommit);
    EXPECT_EQ(host->CloseMessage(message.get(), nullptr, true), 0);
    EXPECT_EQ(heard.calls, 1);
    EXPECT_EQ(heard.first, "(null)");
    EXPECT_EQ(heard.second, "(null)");
    EXPECT_EQ(heard.third, "(null)");
    EXPECT_EQ(host->CloseMessage(message.get(), &buffer, true),
              static_cast<std::int64_t>(sizeof kPlain - 1));
    EXPECT_EQ(heard.calls, 2);
  }
  EXPECT_STREQ(buffer, kPlain);
  host->ReleaseControl(kReleaseBuffer, buffer);
}

void HearDestroy(void* self) {
  ++heard.calls;
  heard.self = self;
}

TEST(Overrides, DiscardingUsesSlotFortySixOfThePart) {
  const Host host;
  const Message message(host, kPlain);
  heard = {};
  PatchedPart patched(message.get());
  patched.Replace(46, HearDestroy);
  EXPECT_EQ(host->ReleaseControl(4, message.get()), 1);
  EXPECT_EQ(heard.calls, 1);
  EXPECT_EQ(heard.self, message.get());
  EXPECT_EQ(host->CloseMessage(message.get(), nullptr, false), 0);
  EXPECT_EQ(heard.calls, 2);
}

int HearFileName(void* self, char* buffer, std::uint64_t size) {
  ++heard.calls;
  heard.self = self;
  heard.number = static_cast<int>(size & 0xFFFFFFFFU);
  std::strcpy(buffer, heard.first.c_str());
  return 0;
}

TEST(Overrides, CloseMessageAsksSlotFortyFourForTheName) {
  const Host host;
  const TempDir folder;
  const Message message(host, kPlain);
  heard = {};
  heard.first = folder.Path("another");
  WriteFile(host, heard.first, "other bytes");
  PatchedPart patched(message.get());
  patched.Replace(44, HearFileName);
  patched.Replace(46, HearDestroy);
  char* buffer = nullptr;
  EXPECT_EQ(host->CloseMessage(message.get(), &buffer, false), 11);
  EXPECT_STREQ(buffer, "other bytes");
  EXPECT_EQ(heard.number, 4095);
  EXPECT_EQ(heard.calls, 2);
  host->ReleaseControl(kReleaseBuffer, buffer);
}

int HearBuffer(void* self, char* buffer) {
  ++heard.calls;
  heard.self = self;
  std::strcpy(buffer, "heard");
  return 55;
}

TEST(Overrides, QueryFiveUsesSlotFortyOfThePart) {
  const Host host;
  const Message message(host, kPlain);
  heard = {};
  PatchedPart patched(message.get());
  patched.Replace(40, HearBuffer);
  std::array<char, 512> buffer{};
  EXPECT_EQ(host->QueryControl(5, message.get(), buffer.data()), 55) << "its result unchanged";
  EXPECT_STREQ(buffer.data(), "heard");
  EXPECT_EQ(heard.calls, 1);
}

// ---- The wide operations of a part call the narrow slot.

int HearThree(void* self, const char* first, const char* second, const char* third) {
  return HearCommit(self, nullptr, first, second, third);
}
int HearNumberAndThree(void* self, int number, const char* first, const char* second,
                       const char* third) {
  heard.number = number;
  return HearCommit(self, nullptr, first, second, third);
}
int HearOne(void* self, const char* first) {
  return HearCommit(self, nullptr, first, nullptr, nullptr);
}
int HearTwoAndNumber(void* self, const char* first, const char* second, int number) {
  heard.number = number;
  return HearCommit(self, nullptr, first, second, nullptr);
}

TEST(Overrides, WideOperationsOfAPartUseTheNarrowSlots) {
  const Host host;
  const Message message(host, kPlain);
  heard = {};
  PatchedPart patched(message.get());
  patched.Replace(1, HearThree);
  patched.Replace(3, HearOne);
  patched.Replace(4, HearNumberAndThree);
  patched.Replace(9, HearTwoAndNumber);
  patched.Replace(16, HearOne);
  EXPECT_EQ(message->SaveAndCloseW(L"a", nullptr, L"\u20AC"), 77);
  EXPECT_EQ(heard.first + heard.second + heard.third, "a(null)\xE2\x82\xAC");
  EXPECT_EQ(message->LoadFromFileW(L"p"), 77);
  EXPECT_EQ(heard.first, "p");
  EXPECT_EQ(message->LoadFromFileW(nullptr), 77);
  EXPECT_EQ(heard.first, "(null)");
  EXPECT_EQ(message->WriteMessageW(-5, nullptr, L"b", L"c"), 77);
  EXPECT_EQ(heard.number, -5);
  EXPECT_EQ(heard.first + heard.second + heard.third, "(null)bc");
  EXPECT_EQ(message->SetHeaderW(L"n", L"v", 9), 77);
  EXPECT_EQ(heard.number, 9);
  EXPECT_EQ(heard.first + heard.second, "nv");
  EXPECT_EQ(message->SetHeaderW(nullptr, nullptr, 0), 77);
  EXPECT_EQ(heard.first + heard.second, "(null)(null)");
  EXPECT_EQ(message->SetFooterTextW(L"f"), 77);
  EXPECT_EQ(heard.first, "f");
  EXPECT_EQ(message->SetFooterTextW(nullptr), 77);
  EXPECT_EQ(heard.first, "(null)");
}

TEST(Overrides, WideBodyFileNamesUseTheNarrowSlots) {
  const Host host;
  const Message message(host, kPlain);
  PatchedPart patched(message.get());
  patched.Replace(14, HearBuffer);
  patched.Replace(15, HearBuffer);
  for (const bool decoded : {true, false}) {
    heard = {};
    std::array<wchar_t, 16> buffer{};
    buffer.fill(L'#');
    EXPECT_EQ(decoded ? message->GetDecodedBodyFileW(buffer.data())
                      : message->GetEncodedBodyFileW(buffer.data()),
              55);
    EXPECT_EQ(heard.calls, 1);
    EXPECT_EQ(std::wstring(buffer.data()), L"heard");
    EXPECT_EQ(buffer[6], L'#') << "no padding";
  }
}

}  // namespace
}  // namespace zevka::test
