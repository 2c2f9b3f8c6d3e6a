// Header fields of a part: iteration, buffer sizes, padding, the line-end query, setting fields.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

constexpr char kPlain[] = "Subject: one\r\nX-A: 1\r\n\r\nbody\r\n";

struct Sizes {
  std::uint64_t name = 0;  // a wider cell than the two 32-bit results, zero before the call
  std::uint64_t value = 0;
};

Sizes SizesOf(PartObject* part) {
  Sizes sizes;
  EXPECT_EQ(part->GetHeaderSizes(reinterpret_cast<std::uint32_t*>(&sizes.name),
                                 reinterpret_cast<std::uint32_t*>(&sizes.value)),
            1);
  sizes.name &= 0xFFFFFFFFU;
  sizes.value &= 0xFFFFFFFFU;
  return sizes;
}

void ExpectSizes(PartObject* part, std::uint64_t name, std::uint64_t value) {
  const Sizes sizes = SizesOf(part);
  EXPECT_EQ(sizes.name, name);
  EXPECT_EQ(sizes.value, value);
}

// A buffer of '#' and what a call left in it: text, then NULs up to `padded`, then '#'.
class Poisoned {
 public:
  explicit Poisoned(std::size_t size) : cells_(size, '#') {}
  char* data() { return cells_.data(); }
  void Expect(const std::string& text, std::size_t padded) const {
    ASSERT_LT(padded, cells_.size());
    EXPECT_EQ(cells_.substr(0, text.size()), text);
    EXPECT_EQ(cells_.substr(text.size(), padded - text.size()),
              std::string(padded - text.size(), '\0'));
    EXPECT_EQ(cells_.substr(padded), std::string(cells_.size() - padded, '#'));
  }

 private:
  std::string cells_;
};

TEST(PartHeaders, ComeInTheOrderOfTheMessageWithTheirLeadingBlanks) {
  const Host host;
  const Message message(
      host, "B: 2\r\nA:1\r\nB:\t3 \r\nEmpty:\r\nFolded: x\r\n y\r\n\tz\r\n\r\nbody\r\n");
  const Fields expected = {
      {"B", " 2"}, {"A", "1"}, {"B", "\t3 "}, {"Empty", ""}, {"Folded", " x y\tz"}};
  EXPECT_EQ(Host::Headers(message.get()), expected);
  EXPECT_EQ(Host::Headers(message.get()), expected) << "again from the start";
}

TEST(PartHeaders, EndWithZero) {
  const Host host;
  const Message message(host, kPlain);
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  EXPECT_EQ(message->RewindHeaders(), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 0);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 0);
  EXPECT_STREQ(name.data(), "X-A") << "nothing is stored at the end";
  EXPECT_EQ(message->RewindHeaders(), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_STREQ(name.data(), "Subject");
}

TEST(PartHeaders, NeedARewind) {
  const Host host;
  const Message message(host, kPlain);
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 0);
  EXPECT_EQ(message->DoNextHeader(name.data(), value.data()), 0);
}

TEST(PartHeaders, OfAMessageWithoutFieldsAreNone) {
  const Host host;
  const Message message(host, "just a text\r\nof two lines\r\n");
  EXPECT_EQ(message->RewindHeaders(), 1);
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 0);
}

// KEEP(padded-exactly)
TEST(PartHeaders, FillNameAndValueToExactlyTheReportedSizes) {
  const Host host;
  const Message message(host, kPlain);
  message->RewindHeaders();
  Poisoned name(300);
  Poisoned value(1100);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  name.Expect("Subject", 256);
  value.Expect(" one", 1024);
  Poisoned secondName(300);
  Poisoned secondValue(1100);
  EXPECT_EQ(message->DoNextHeader(secondName.data(), secondValue.data()), 1);
  secondName.Expect("X-A", 256);
  secondValue.Expect(" 1", 1024);
}

// KEEP(padded-exactly)
TEST(PartHeaders, FillEveryFieldToTheLargestSizeOfTheMessage) {
  const Host host;
  const Message message(host, kPlain);
  EXPECT_EQ(message->SetHeader("X-Long", std::string(5000, 'v').c_str(), 0), 1);
  message->RewindHeaders();
  ExpectSizes(message.get(), 256, 5001);
  Poisoned name(300);
  Poisoned value(6000);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  name.Expect("Subject", 256);
  value.Expect(" one", 5001);
}

TEST(PartHeaders, SkipANullPlace) {
  const Host host;
  const Message message(host, kPlain);
  message->RewindHeaders();
  Poisoned name(300);
  EXPECT_EQ(message->NextHeader(name.data(), nullptr), 1);
  name.Expect("Subject", 256);
  EXPECT_EQ(message->NextHeader(nullptr, nullptr), 1);
  EXPECT_EQ(message->NextHeader(nullptr, nullptr), 0);
}

// ---- Sizes

TEST(PartHeaderSizes, AreTheDefaultsForShortFields) {
  const Host host;
  const Message message(host, kPlain);
  ExpectSizes(message.get(), 256, 1024);
  message->RewindHeaders();
  ExpectSizes(message.get(), 256, 1024);
  std::uint32_t name = 0;
  std::uint32_t value = 0;
  EXPECT_EQ(message->DoGetHeaderSizes(&name, &value), 1);
  EXPECT_EQ(name, 256U);
  EXPECT_EQ(value, 1024U);
}

TEST(PartHeaderSizes, AreStoredInThirtyTwoBitsEach) {
  const Host host;
  const Message message(host, kPlain);
  std::array<std::uint32_t, 4> cells = {7, 7, 7, 7};
  EXPECT_EQ(message->GetHeaderSizes(&cells[0], &cells[2]), 1);
  EXPECT_EQ(cells, (std::array<std::uint32_t, 4>{256, 7, 1024, 7}));
}

struct SizeCase {
  std::size_t nameLength;
  std::size_t valueLength;
  std::uint64_t nameSize;
  std::uint64_t valueSize;
};

TEST(PartHeaderSizes, GrowWithTheFieldsOfTheMessage) {
  const Host host;
  for (const SizeCase& one : std::vector<SizeCase>{{255, 1023, 256, 1024},
                                                   {256, 1024, 257, 1025},
                                                   {300, 10, 301, 1024},
                                                   {10, 2000, 256, 2001}}) {
    const Message message(host, "A: 1\r\n" + std::string(one.nameLength, 'n') + ":" +
                                    std::string(one.valueLength, 'v') + "\r\n\r\nx\r\n");
    message->RewindHeaders();
    ExpectSizes(message.get(), one.nameSize, one.valueSize);
    const Fields fields = Host::Headers(message.get());
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_EQ(fields[1].first, std::string(one.nameLength, 'n'));
    EXPECT_EQ(fields[1].second, std::string(one.valueLength, 'v'));
    ExpectSizes(message.get(), one.nameSize, one.valueSize);
  }
}

TEST(PartHeaderSizes, CountAFoldedValueWhole) {
  const Host host;
  const std::string line(900, 'v');
  const Message message(host, "A:" + line + "\r\n " + line + "\r\n\r\nx\r\n");
  ExpectSizes(message.get(), 256, 1802);
  EXPECT_EQ(Host::Headers(message.get())[0].second, line + " " + line);
}

TEST(PartHeaderSizes, GrowWithTheFieldsThatTheHostSets) {
  const Host host;
  const Message message(host, kPlain);
  message->RewindHeaders();
  EXPECT_EQ(message->SetHeader("X-B", std::string(2000, 'v').c_str(), 0), 1);
  ExpectSizes(message.get(), 256, 2001);
  EXPECT_EQ(message->SetHeader(std::string(299, 'n').c_str(), "v", 0), 1);
  ExpectSizes(message.get(), 300, 2001);
  EXPECT_EQ(message->SetHeader("X-B", "short", 1), 1);
  ExpectSizes(message.get(), 300, 2001);
}

TEST(PartHeaderSizes, GrowAlsoForAProtectedField) {
  const Host host;
  const Message message(host, "DKIM-Signature: v\r\nSubject: one\r\n\r\nx\r\n");
  EXPECT_EQ(message->SetHeader("Subject", std::string(2000, 'v').c_str(), 1), 1);
  ExpectSizes(message.get(), 256, 2001);
  EXPECT_EQ(Host::Headers(message.get())[1].second, " one");
}

TEST(PartHeaderSizes, DoNotGrowForARefusedField) {
  const Host host;
  const Message message(host, kPlain);
  EXPECT_EQ(message->SetHeader("X B", std::string(2000, 'v').c_str(), 0), 0);
  ExpectSizes(message.get(), 256, 1024);
}

// ---- The line-end query

struct LineEndCase {
  const char* bytes;
  const char* expected;
};

// KEEP(next-header-tells-the-line-end)
TEST(PartLineEnd, IsToldWithoutATerminatorAndWithZero) {
  const Host host;
  for (const LineEndCase& one : std::vector<LineEndCase>{{"A: b\r\n\r\nx\r\n", "\r\n"},
                                                         {"A: b\r\rx\r", "\r"},
                                                         {"A: b\n\nx\n", "\n"},
                                                         {"A: b\r\nC: d\n\nx\n", "\r\n"},
                                                         {"no line end", "\n"}}) {
    const Message message(host, one.bytes);
    Poisoned buffer(40);
    EXPECT_EQ(message->NextHeader(nullptr, buffer.data()), 0);
    buffer.Expect(one.expected, std::strlen(one.expected));
    Poisoned again(40);
    EXPECT_EQ(message->DoNextHeader(nullptr, again.data()), 0);
    again.Expect(one.expected, std::strlen(one.expected));
  }
}

TEST(PartLineEnd, DoesNotMoveTheIteration) {
  const Host host;
  const Message message(host, kPlain);
  message->RewindHeaders();
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  EXPECT_EQ(message->NextHeader(nullptr, value.data()), 0);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_STREQ(name.data(), "Subject");
}

TEST(PartLineEnd, OfAnEmptyMessageIsALineFeed) {
  const Host host;
  const TempDir folder;
  WriteDisk(folder.Path("empty"), "");
  const Message message(host, host->OpenMessage(folder.Path("empty").c_str()));
  Poisoned buffer(40);
  EXPECT_EQ(message->NextHeader(nullptr, buffer.data()), 0);
  buffer.Expect("\n", 1);
}

TEST(PartLineEnd, IsToldForARemovedPart) {
  const Host host;
  const Message message(host, kPlain);
  message->RemovePart();
  Poisoned buffer(40);
  EXPECT_EQ(message->NextHeader(nullptr, buffer.data()), 0);
  buffer.Expect("\r\n", 2);
}

TEST(PartLineEnd, OfAMessageWithoutOneIsWrittenAsCarriageReturnLineFeed) {
  const Host host;
  Message message(host, "no line end");
  EXPECT_EQ(message.Committed(), "no line end\r\n");
}

// ---- Setting fields

struct SetCase {
  const char* what;
  const char* head;
  const char* name;
  const char* value;
  int mode;
  Fields expected;
};

TEST(PartSetHeader, PutsFieldsInTheirPlaces) {
  const Host host;
  const std::vector<SetCase> cases = {
      {"add at the end", "A: 1\r\nB: 2\r\n", "C", "3", 0, {{"A", " 1"}, {"B", " 2"}, {"C", "3"}}},
      {"add a second of the name",
       "A: 1\r\nB: 2\r\n",
       "A",
       "3",
       0,
       {{"A", " 1"}, {"B", " 2"}, {"A", "3"}}},
      {"replace", "A: 1\r\nB: 2\r\n", "A", "3", 1, {{"A", "3"}, {"B", " 2"}}},
      {"replace without regard to case",
       "A-x: 1\r\nB: 2\r\n",
       "a-X",
       "3",
       1,
       {{"A-x", "3"}, {"B", " 2"}}},
      {"replace the first only", "A: 1\r\nA: 2\r\n", "A", "3", 1, {{"A", "3"}, {"A", " 2"}}},
      {"replace what is missing adds", "A: 1\r\n", "C", "3", 1, {{"A", " 1"}, {"C", "3"}}},
      {"another value of the mode replaces", "A: 1\r\n", "A", "3", -1, {{"A", "3"}}},
      {"the mode has 32 bits", "A: 1\r\n", "A", "3", 256, {{"A", "3"}}},
      {"add above a signature",
       "A: 1\r\nDKIM-Signature: s\r\nB: 2\r\n",
       "C",
       "3",
       0,
       {{"A", " 1"}, {"C", "3"}, {"DKIM-Signature", " s"}, {"B", " 2"}}},
      {"add above the first signature",
       "DomainKey-Signature: d\r\nA: 1\r\nDKIM-Signature: s\r\n",
       "C",
       "3",
       0,
       {{"C", "3"}, {"DomainKey-Signature", " d"}, {"A", " 1"}, {"DKIM-Signature", " s"}}},
      {"replace what is missing adds above a signature",
       "A: 1\r\ndkim-signature: s\r\nDomainKey-Signature: d\r\n",
       "C",
       "3",
       1,
       {{"A", " 1"}, {"C", "3"}, {"dkim-signature", " s"}, {"DomainKey-Signature", " d"}}},
      {"replace above a signature",
       "A: 1\r\nDKIM-Signature: s\r\n",
       "A",
       "3",
       1,
       {{"A", "3"}, {"DKIM-Signature", " s"}}},
      {"below a signature nothing changes",
       "DKIM-Signature: s\r\nA: 1\r\n",
       "A",
       "3",
       1,
       {{"DKIM-Signature", " s"}, {"A", " 1"}}},
      {"of two, the one above the signature",
       "A: 1\r\nDKIM-Signature: s\r\nA: 2\r\n",
       "A",
       "3",
       1,
       {{"A", "3"}, {"DKIM-Signature", " s"}, {"A", " 2"}}},
      {"the value is kept as given",
       "A: 1\r\n",
       "C",
       " \t3  4 ",
       0,
       {{"A", " 1"}, {"C", " \t3  4 "}}},
  };
  for (const SetCase& one : cases) {
    const Message message(host, std::string(one.head) + "\r\nbody\r\n");
    EXPECT_EQ(message->SetHeader(one.name, one.value, one.mode), 1) << one.what;
    EXPECT_EQ(Host::Headers(message.get()), one.expected) << one.what;
  }
}

TEST(PartSetHeader, AddsToAMessageWithoutFields) {
  const Host host;
  Message message(host, "just a text\r\n");
  EXPECT_EQ(message->SetHeader("A", "1", 0), 1);
  EXPECT_EQ(message.Committed(), "A: 1\r\n\r\njust a text\r\n");
}

TEST(PartSetHeader, RefusesBadNamesAndEmptyTexts) {
  const Host host;
  const Message message(host, kPlain);
  const Fields before = Host::Headers(message.get());
  for (const int mode : {0, 1}) {
    for (const char* name : {static_cast<const char*>(nullptr), "", "X_A", "X A", "X:A",
                             "X-\xC3\xA9", "(x)", "A\r\nB", "X.A"}) {
      EXPECT_EQ(message->SetHeader(name, "v", mode), 0) << (name == nullptr ? "(null)" : name);
      EXPECT_EQ(message->DoSetHeader(name, "v", mode), 0);
    }
    EXPECT_EQ(message->SetHeader("X-B", nullptr, mode), 0);
    EXPECT_EQ(message->SetHeader("X-B", "", mode), 0);
    EXPECT_EQ(message->SetHeader("X-A", "", mode), 0) << "there is no removal";
    EXPECT_EQ(message->SetHeaderW(nullptr, L"v", mode), 0);
    EXPECT_EQ(message->SetHeaderW(L"X-B", nullptr, mode), 0);
    EXPECT_EQ(message->SetHeaderW(L"", L"v", mode), 0);
    EXPECT_EQ(message->SetHeaderW(L"X-B", L"", mode), 0);
  }
  EXPECT_EQ(Host::Headers(message.get()), before);
}

TEST(PartSetHeader, KeepsItsOwnCopies) {
  const Host host;
  const Message message(host, "A: 1\r\n\r\nx\r\n");
  std::string name = "X-B";
  std::string value = "given";
  EXPECT_EQ(message->SetHeader(name.c_str(), value.c_str(), 0), 1);
  name.assign(name.size(), '!');
  value.assign(value.size(), '!');
  EXPECT_EQ(Host::Headers(message.get()).back(),
            (std::pair<std::string, std::string>{"X-B", "given"}));
}

// KEEP(set-header-does-not-modify)
TEST(PartSetHeader, LeavesTheBodyAsItStands) {
  const Host host;
  // 76 columns, while an encoder of this library would make 72.
  const std::string body = std::string(76, 'Q') + "\r\n" + std::string(20, 'Q') + "\r\n";
  Message message(host, "Content-Transfer-Encoding: base64\r\n\r\n" + body);
  EXPECT_EQ(message->SetHeader("X-B", "2", 0), 1);
  EXPECT_EQ(message.Committed(), "Content-Transfer-Encoding: base64\r\nX-B: 2\r\n\r\n" + body);
}

TEST(PartSetHeader, IsSeenByAnIterationThatIsUnderWay) {
  const Host host;
  const Message message(host, "A: 1\r\n\r\nx\r\n");
  message->RewindHeaders();
  EXPECT_EQ(message->SetHeader("B", "2", 0), 1);
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_STREQ(name.data(), "B");
  EXPECT_STREQ(value.data(), "2");
}

// ---- Wide fields

TEST(PartWideHeaders, AreGivenWithoutPadding) {
  const Host host;
  const Message message(host, kPlain);
  message->RewindHeaders();
  std::wstring name(300, L'#');
  std::wstring value(1100, L'#');
  EXPECT_EQ(message->NextHeaderW(name.data(), value.data()), 1);
  EXPECT_EQ(name, L"Subject" + std::wstring(1, L'\0') + std::wstring(292, L'#'));
  EXPECT_EQ(value, L" one" + std::wstring(1, L'\0') + std::wstring(1095, L'#'));
}

TEST(PartWideHeaders, GiveALongFieldWhole) {
  const Host host;
  for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 3000U}) {
    const Message message(host, "A:" + std::string(length, 'v') + "\r\n\r\nx\r\n");
    message->RewindHeaders();
    std::wstring name(300, L'#');
    std::wstring value(length + 1000, L'#');
    EXPECT_EQ(message->NextHeaderW(name.data(), value.data()), 1);
    EXPECT_EQ(std::wstring(name.c_str()), L"A");
    EXPECT_EQ(std::wstring(value.c_str()), std::wstring(length, L'v'));
  }
}

TEST(PartWideHeaders, EndWithZero) {
  const Host host;
  const Message message(host, kPlain);
  std::wstring name(300, L'#');
  std::wstring value(1100, L'#');
  EXPECT_EQ(message->NextHeaderW(name.data(), value.data()), 0) << "without a rewind";
  message->RewindHeaders();
  EXPECT_EQ(message->NextHeaderW(name.data(), value.data()), 1);
  EXPECT_EQ(message->NextHeaderW(name.data(), value.data()), 1);
  EXPECT_EQ(std::wstring(name.c_str()), L"X-A");
  EXPECT_EQ(message->NextHeaderW(name.data(), value.data()), 0);
}

TEST(PartWideHeaders, AreNoQuestionForTheLineEnd) {
  const Host host;
  const Message message(host, kPlain);
  message->RewindHeaders();
  std::wstring value(1100, L'#');
  EXPECT_EQ(message->NextHeaderW(nullptr, value.data()), 1);
  EXPECT_EQ(std::wstring(value.c_str()), L" one");
  std::wstring name(300, L'#');
  EXPECT_EQ(message->NextHeaderW(name.data(), nullptr), 1);
  EXPECT_EQ(std::wstring(name.c_str()), L"X-A");
}

TEST(PartWideHeaders, ShareTheIterationOfTheNarrowOnes) {
  const Host host;
  const Message message(host, kPlain);
  message->RewindHeaders();
  std::array<char, 256> name{};
  std::array<char, 1024> value{};
  std::wstring wideName(300, L'#');
  std::wstring wideValue(1100, L'#');
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 1);
  EXPECT_EQ(message->NextHeaderW(wideName.data(), wideValue.data()), 1);
  EXPECT_EQ(std::wstring(wideName.c_str()), L"X-A");
  EXPECT_EQ(message->NextHeader(name.data(), value.data()), 0);
}

TEST(PartWideHeaders, AreSetByTheWideTwin) {
  const Host host;
  const Message message(host, "A: 1\r\nDKIM-Signature: s\r\n\r\nx\r\n");
  EXPECT_EQ(message->SetHeaderW(L"B", L"2", 0), 1);
  EXPECT_EQ(message->SetHeaderW(L"a", L"3", 1), 1);
  const Fields expected = {{"A", "3"}, {"B", "2"}, {"DKIM-Signature", " s"}};
  EXPECT_EQ(Host::Headers(message.get()), expected);
}

}  // namespace
}  // namespace zevka::test
