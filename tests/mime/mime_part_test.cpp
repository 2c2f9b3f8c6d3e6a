// The slots of a part, as far as another module's test does not cover what stands behind them.
#include "mime/mime_part.h"

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/mime/part_fixture.h"

namespace zevka::test {
namespace {

using MIMEPartTest = PartFixture;
using MIMEPartThreads = PartFixture;

constexpr std::string_view kMultipart =
    "Content-Type: multipart/mixed; boundary=abc\r\n\r\npre\r\n--abc\r\nA: 1\r\n\r\none\r\n"
    "--abc\r\nB: 2\r\n\r\ntwo\r\n--abc--\r\n";

// The first text of a buffer, and what a call left behind it.
struct Padded {
  explicit Padded(std::size_t size) : bytes(size, '#') {}
  std::string Text() const { return bytes.substr(0, bytes.find('\0')); }
  // How many bytes were written, when all behind the text are NULs.
  std::size_t Filled() const {
    const std::size_t untouched = bytes.find('#');
    EXPECT_EQ(bytes.find_first_not_of('\0', Text().size()), untouched);
    return untouched;
  }
  std::string bytes;
};

TEST_F(MIMEPartTest, AnswersItsReservedSlots) {
  const PartPtr part = NewPart();
  EXPECT_EQ(part->Initialize(), 1);
  EXPECT_EQ(part->Reserved(), 0);
  EXPECT_EQ(part->ReservedA(), 0);
  EXPECT_EQ(part->ReservedB(), 0);
}

TEST_F(MIMEPartTest, EndsWithoutHavingBeenLoaded) {
  const PartPtr part = NewPart();
  std::array<char, 16> buf{};
  EXPECT_EQ(part->RewindHeaders(), 0);
  EXPECT_EQ(part->NextHeader(buf.data(), buf.data()), 0);
  EXPECT_EQ(part->GetName(buf.data()), 1);
  EXPECT_STREQ(buf.data(), "");
  EXPECT_EQ(part->GetFileName(buf.data(), buf.size()), 0);
  EXPECT_STREQ(buf.data(), "");
  EXPECT_EQ(part->ReadDecodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(part->GetDecodedBodyBuffer(), nullptr);
  EXPECT_EQ(part->SaveAndClose(nullptr, nullptr, nullptr), 0);
}

TEST_F(MIMEPartTest, LoadingFromNoPathTakesTheCursorsOnly) {
  const PartPtr part = Load("A: 1\r\nB: 2\r\n\r\nbody\r\n");
  std::array<char, 2048> name{};
  std::array<char, 2048> value{};
  EXPECT_EQ(part->RewindHeaders(), 1);
  EXPECT_EQ(part->NextHeader(name.data(), value.data()), 1);
  EXPECT_EQ(part->LoadFromFile(nullptr), 0);
  EXPECT_EQ(part->NextHeader(name.data(), value.data()), 0);
  EXPECT_EQ(part->RewindHeaders(), 1);
  EXPECT_EQ(part->NextHeader(name.data(), value.data()), 1);
  EXPECT_STREQ(name.data(), "A");
  EXPECT_EQ(Decoded(*part), "body\r\n");
}

// KEEP(padded-exactly): each buffer is filled to the size reported, with NULs.
TEST_F(MIMEPartTest, PadsFieldsToTheSizesItReports) {
  const PartPtr part = Load("A: b\r\n\r\n");
  EXPECT_EQ(part->RewindHeaders(), 1);
  Padded name(300);
  Padded value(1100);
  EXPECT_EQ(part->NextHeader(name.bytes.data(), value.bytes.data()), 1);
  EXPECT_EQ(name.Text(), "A");
  EXPECT_EQ(name.Filled(), 256U);
  EXPECT_EQ(value.Text(), " b");
  EXPECT_EQ(value.Filled(), 1024U);
}

TEST_F(MIMEPartTest, ReportsTheSizesOfTheLongestField) {
  const PartPtr part = Load("A: b\r\n\r\n");
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  EXPECT_EQ(part->GetHeaderSizes(&nameSize, &valueSize), 1) << "without a place in the fields";
  EXPECT_EQ(nameSize, 256U);
  EXPECT_EQ(valueSize, 1024U);
  part->SetHeader("X", Repeat("v", 2000).c_str(), 0);
  part->RewindHeaders();
  EXPECT_EQ(part->GetHeaderSizes(&nameSize, &valueSize), 1);
  EXPECT_EQ(nameSize, 256U);
  EXPECT_EQ(valueSize, 2001U);
  Padded value(2100);
  EXPECT_EQ(part->NextHeader(nullptr, nullptr), 1) << "a field is passed over";
  EXPECT_EQ(part->NextHeader(Padded(300).bytes.data(), value.bytes.data()), 1);
  EXPECT_EQ(value.Text(), Repeat("v", 2000));
  EXPECT_EQ(value.Filled(), 2001U);
}

TEST_F(MIMEPartTest, TellsTheLineEndInsteadOfAField) {
  const std::vector<std::pair<std::string, std::string>> cases = {{"A: b\r\n\r\n", "\r\n"},
                                                                  {"A: b\n\n", "\n"},
                                                                  {"A: b\r\r", "\r"},
                                                                  {"", "\n"},
                                                                  {"A: b\r\nB: c\n\n", "\r\n"}};
  for (const auto& [text, lineEnd] : cases) {
    const PartPtr part = Load(text);
    std::string buf = "####";
    EXPECT_EQ(part->NextHeader(nullptr, buf.data()), 0);
    EXPECT_EQ(buf, lineEnd + std::string(4 - lineEnd.size(), '#'));
    part->RemovePart();
    buf = "####";
    EXPECT_EQ(part->NextHeader(nullptr, buf.data()), 0);
    EXPECT_EQ(buf, lineEnd + std::string(4 - lineEnd.size(), '#')) << "also of a removed part";
  }
}

// KEEP(children-outlive): marked first, the part gives no children that could be removed.
TEST_F(MIMEPartTest, IsRemovedWithItsFilesButWithoutItsChildren) {
  const PartPtr part = Load(kMultipart);
  part->ReadDecodedBody(nullptr, 0, 0);
  part->RewindHeaders();
  part->RewindChildren();
  EXPECT_EQ(part->RemovePart(), 1);
  for (const std::string name : {"m", "m_e", "m_d"}) {
    EXPECT_FALSE(Exists(Path(name))) << name;
  }
  EXPECT_TRUE(Exists(Path("m_0_e")));
  EXPECT_TRUE(Exists(Path("m_1_e")));
  EXPECT_FALSE(Child(*part, 0).State().removed);
  PartObject* child = nullptr;
  EXPECT_EQ(part->NextChild(&child), 0);
  Padded name(300);
  Padded value(1100);
  EXPECT_EQ(part->NextHeader(name.bytes.data(), value.bytes.data()), 0);
  std::uint64_t size = 99;
  EXPECT_EQ(part->GetBodySize(&size), 0);
  std::array<char, 600> path{};
  EXPECT_EQ(part->GetDecodedBodyFile(path.data()), 0);
  EXPECT_EQ(part->GetEncodedBodyFile(path.data()), 0);
  EXPECT_EQ(part->ReadDecodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(part->ReadEncodedBody(nullptr, 0, 0), 0U);
  EXPECT_EQ(part->WriteDecodedBody("x", 1), 0U);
  EXPECT_EQ(part->RewindHeaders(), 1);
  EXPECT_EQ(part->RewindChildren(), 1);
  std::uint32_t nameSize = 0;
  std::uint32_t valueSize = 0;
  EXPECT_EQ(part->GetHeaderSizes(&nameSize, &valueSize), 1);
  EXPECT_EQ(nameSize, 256U);
  EXPECT_FALSE(part->State().modified);
}

TEST_F(MIMEPartTest, WalksItsChildren) {
  const PartPtr part = Load(kMultipart);
  PartObject* child = nullptr;
  EXPECT_EQ(part->NextChild(&child), 0) << "before the first rewind";
  EXPECT_EQ(part->RewindChildren(), 1);
  EXPECT_EQ(part->NextChild(&child), 1);
  EXPECT_EQ(child, &Child(*part, 0));
  EXPECT_EQ(part->NextChild(&child), 1);
  EXPECT_EQ(child, &Child(*part, 1));
  EXPECT_EQ(part->NextChild(&child), 0);
}

TEST_F(MIMEPartTest, GivesNoChildrenUnlessItIsAMultipart) {
  PartObject* child = nullptr;
  const PartPtr embedded = Load("Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\n");
  ASSERT_EQ(embedded->State().children.size(), 1U);
  EXPECT_EQ(embedded->RewindChildren(), 0);
  EXPECT_EQ(embedded->NextChild(&child), 0);
  const PartPtr undivided = Load("Content-Type: x/y; boundary=abc\r\n\r\ntext\r\n");
  EXPECT_EQ(undivided->RewindChildren(), 1);
  EXPECT_EQ(undivided->NextChild(&child), 0);
}

TEST_F(MIMEPartTest, GivesThePathsOfItsBodiesAndPutsThemOnDisk) {
  const PartPtr part = Load("A: b\r\n\r\nbody");
  Padded path(600);
  EXPECT_EQ(part->GetDecodedBodyFile(path.bytes.data()), 1);
  EXPECT_EQ(path.Text(), Path("m_d"));
  EXPECT_EQ(path.Filled(), 512U);
  EXPECT_TRUE(OnDisk(Path("m_d")));
  EXPECT_EQ(part->GetDecodedBodyBuffer(), nullptr) << "it is not in memory any more";
  EXPECT_NE(part->GetEncodedBodyBuffer(), nullptr);
  std::string encoded(600, '#');
  EXPECT_EQ(part->GetEncodedBodyFile(encoded.data()), 1);
  EXPECT_STREQ(encoded.c_str(), Path("m_e").c_str());
  EXPECT_TRUE(OnDisk(Path("m_e")));
  EXPECT_EQ(part->GetEncodedBodyBuffer(), nullptr);
}

// KEEP(encoded-name-unbounded): not padded, and there even when the file is not.
TEST_F(MIMEPartTest, CopiesThePathOfTheEncodedBodyBeforeItLooksForIt) {
  const PartPtr part = Load("A: b\r\n\r\nbody");
  FileRemove(Path("m_e").c_str());
  std::string path(600, '#');
  EXPECT_EQ(part->GetEncodedBodyFile(path.data()), 0);
  EXPECT_STREQ(path.c_str(), Path("m_e").c_str());
  EXPECT_EQ(path[Path("m_e").size() + 1], '#');
}

TEST_F(MIMEPartTest, LeavesBodiesInMemoryWithoutACommit) {
  const PartPtr part = Load("A: b\r\n\r\nbody");
  std::array<char, 600> path{};
  EXPECT_EQ(part->DoGetDecodedBodyFile(path.data(), 0), 1);
  EXPECT_EQ(part->DoGetEncodedBodyFile(path.data(), 0), 1);
  EXPECT_FALSE(OnDisk(Path("m_d")));
  EXPECT_FALSE(OnDisk(Path("m_e")));
}

TEST_F(MIMEPartTest, DecodesForItsBuffer) {
  const PartPtr part = Load("Content-Transfer-Encoding: base64\r\n\r\nYWJj\r\n");
  const void* const decoded = part->GetDecodedBodyBuffer();
  ASSERT_NE(decoded, nullptr);
  EXPECT_EQ(std::string(static_cast<const char*>(decoded), 3), "abc");
  EXPECT_EQ(std::string(static_cast<const char*>(part->GetEncodedBodyBuffer()), 6), "YWJj\r\n");
}

TEST_F(MIMEPartTest, GivesTheSizeOfAChildOnceItsBodyWasDecoded) {
  const PartPtr part = Load(kMultipart);
  std::uint64_t size = 0;
  EXPECT_EQ(part->GetBodySize(&size), 1);
  EXPECT_EQ(size, kMultipart.size());
  MIMEPart& child = Child(*part, 0);
  EXPECT_EQ(child.GetBodySize(&size), 0);
  EXPECT_EQ(child.ReadDecodedBody(nullptr, 0, 0), 5U);
  EXPECT_EQ(child.GetBodySize(&size), 1);
  EXPECT_EQ(size, 5U);
}

TEST_F(MIMEPartTest, GivesTheSourceOfAnEmbeddedMessageOnly) {
  const PartPtr plain = Load("A: b\r\n\r\n");
  Padded path(600);
  EXPECT_EQ(plain->GetSourceFile(path.bytes.data()), 0);
  EXPECT_EQ(path.bytes, std::string(600, '#'));
  const PartPtr embedded = Load("Content-Type: message/rfc822\r\n\r\nA: b\r\n\r\n", "n");
  EXPECT_EQ(embedded->GetSourceFile(path.bytes.data()), 1);
  EXPECT_EQ(path.Text(), Path("n_e.rfc822"));
  EXPECT_EQ(path.Filled(), 512U);
  EXPECT_TRUE(OnDisk(Path("n_e.rfc822")));
}

TEST_F(MIMEPartTest, NamesItselfInItsOwnCharset) {
  const PartPtr part =
      Load("Content-Disposition: x; filename=\"=?iso-8859-1?Q?=E9.txt?=\"\r\n\r\n");
  std::array<char, 600> name{};
  EXPECT_EQ(part->GetName(name.data()), 1);
  EXPECT_STREQ(name.data(), "\xE9.txt");
  std::vector<wchar_t> wide(600, L'#');
  EXPECT_EQ(part->GetNameW(wide.data()), 1);
  EXPECT_STREQ(wide.data(), L"\u00E9.txt");
  const PartPtr unknown = Load("Content-Disposition: x; filename=\"=?x-none?Q?a?=\"\r\n\r\n");
  wide.assign(600, L'#');
  EXPECT_EQ(unknown->GetNameW(wide.data()), 0);
  EXPECT_EQ(wide, std::vector<wchar_t>(600, L'#'));
  const PartPtr none = Load("A: b\r\n\r\n");
  EXPECT_EQ(none->GetNameW(wide.data()), 1);
  EXPECT_STREQ(wide.data(), L"body");
}

TEST_F(MIMEPartTest, ForwardsItsWideTwins) {
  Put(Path("w"), "A: b\r\n\r\nbody");
  PartPtr part = NewPart();
  const std::string name = Path("w");
  const std::wstring wideName(name.begin(), name.end());
  EXPECT_EQ(part->LoadFromFileW(wideName.c_str()), 1);
  EXPECT_EQ(NewPart()->LoadFromFileW(nullptr), 0);
  EXPECT_EQ(part->SetHeaderW(L"X-Long", std::wstring(1500, L'v').c_str(), 0), 1);
  EXPECT_EQ(part->SetHeaderW(nullptr, L"v", 0), 0);
  EXPECT_EQ(part->SetHeaderW(L"X", nullptr, 0), 0);
  EXPECT_EQ(part->RewindHeaders(), 1);
  std::vector<wchar_t> field(300, L'#');
  std::vector<wchar_t> value(2000, L'#');
  EXPECT_EQ(part->NextHeaderW(field.data(), value.data()), 1);
  EXPECT_STREQ(field.data(), L"A");
  EXPECT_STREQ(value.data(), L" b");
  EXPECT_EQ(value[3], L'#') << "not padded";
  EXPECT_EQ(part->NextHeaderW(field.data(), value.data()), 1);
  EXPECT_STREQ(value.data(), std::wstring(1500, L'v').c_str());
  EXPECT_EQ(part->NextHeaderW(nullptr, nullptr), 0);
  EXPECT_EQ(part->GetDecodedBodyFileW(value.data()), 1);
  EXPECT_EQ(std::wstring(value.data()), wideName + L"_d");
  EXPECT_EQ(part->GetEncodedBodyFileW(value.data()), 1);
  EXPECT_EQ(std::wstring(value.data()), wideName + L"_e");
  EXPECT_EQ(part->SetFooterTextW(L"caf\u00E9"), 1);
  EXPECT_EQ(part->State().footerText, "caf\xC3\xA9");
  EXPECT_EQ(part->SetFooterTextW(nullptr), 1);
  EXPECT_EQ(part->State().footerText, std::nullopt);
  EXPECT_EQ(part.release()->SaveAndCloseW(nullptr, nullptr, nullptr), 1);
}

TEST_F(MIMEPartTest, TakesItsFilesAlongWhenItEnds) {
  PartPtr part = Load(kMultipart);
  part->ReadDecodedBody(nullptr, 0, 0);
  Child(*part, 1).ReadDecodedBody(nullptr, 0, 0);
  part.reset();
  for (const std::string name : {"m_e", "m_d", "m_0_e", "m_1_e", "m_1_d"}) {
    EXPECT_FALSE(Exists(Path(name))) << name;
  }
  EXPECT_EQ(Get(Path("m")), kMultipart) << "the message stays";
}

// KEEP(footer-file-by-name), KEEP(footer-text-removed)
TEST_F(MIMEPartTest, TakesAlongAFootersFileAndAFileNamedByTheFooter) {
  Load("A: b\r\n\r\n", "x_footer").reset();
  EXPECT_FALSE(Exists(Path("x_footer")));
  Put(Path("victim"), "x");
  PartPtr part = Load("A: b\r\n\r\n");
  part->SetFooterText(Path("victim").c_str());
  part.reset();
  EXPECT_FALSE(Exists(Path("victim")));
}

TEST_F(MIMEPartThreads, WalkTheFieldsAndChildrenOfOnePartEachAtItsOwnPlace) {
  const PartPtr part = Load(kMultipart);
  for (int i = 0; i < 20; ++i) {
    part->SetHeader("X-Field", std::to_string(i).c_str(), 0);
  }
  constexpr std::size_t kThreads = 6;
  std::array<int, kThreads> fields{};
  std::array<int, kThreads> children{};
  std::array<std::uint64_t, kThreads> sizes{};
  std::barrier<> alive(kThreads);
  {
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        alive.arrive_and_wait();
        for (int round = 0; round < 20; ++round) {
          std::array<char, 256> name{};
          std::array<char, 1024> value{};
          PartObject* child = nullptr;
          part->RewindHeaders();
          part->RewindChildren();
          while (part->NextHeader(name.data(), value.data()) == 1) {
            ++fields[i];
          }
          while (part->NextChild(&child) == 1) {
            ++children[i];
            sizes[i] += child->ReadDecodedBody(nullptr, 0, 0);
          }
        }
        alive.arrive_and_wait();
      });
    }
  }
  for (std::size_t i = 0; i < kThreads; ++i) {
    EXPECT_EQ(fields[i], 20 * 21);
    EXPECT_EQ(children[i], 20 * 2);
    EXPECT_EQ(sizes[i], 20U * 10U);
  }
}

TEST_F(MIMEPartThreads, SetFieldsWhileOthersWalk) {
  const PartPtr part = Load("A: b\r\n\r\n");
  std::barrier<> alive(2);
  int seen = 0;
  {
    std::jthread setter([&] {
      alive.arrive_and_wait();
      for (int i = 0; i < 200; ++i) {
        part->SetHeader("X", std::to_string(i).c_str(), i % 2);
      }
      alive.arrive_and_wait();
    });
    std::jthread walker([&] {
      alive.arrive_and_wait();
      for (int i = 0; i < 200; ++i) {
        std::array<char, 256> name{};
        std::array<char, 1024> value{};
        part->RewindHeaders();
        while (part->NextHeader(name.data(), value.data()) == 1) {
          ++seen;
        }
      }
      alive.arrive_and_wait();
    });
  }
  EXPECT_GE(seen, 200);
  EXPECT_EQ(FieldsOf(*part).size(), 101U) << "every second call replaced one";
}

}  // namespace
}  // namespace zevka::test
