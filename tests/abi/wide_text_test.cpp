// Conversion between wide and narrow texts, as the wide operations show it. The process is in the
// "C" locale unless a test says otherwise.
#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/in_child.h"
#include "tests/abi/message.h"
#include "tests/support/temp_dir.h"

namespace zevka::test {
namespace {

constexpr char kPlain[] = "Subject: one\r\n\r\nbody\r\n";

// The narrow form of a wide text: set as a field, read back.
std::string Narrowed(const Host& host, const std::wstring& wide) {
  const Message message(host, kPlain);
  EXPECT_EQ(message->SetHeaderW(L"X-T", wide.c_str(), 0), 1);
  return Host::Headers(message.get()).back().second;
}

// The wide form of a narrow text.
std::wstring Widened(const Host& host, const std::string& narrow) {
  const Message message(host, "X-T:" + narrow + "\r\n\r\nbody\r\n");
  message->RewindHeaders();
  std::wstring name(300, L'#');
  std::wstring value(5000, L'#');
  EXPECT_EQ(message->NextHeaderW(name.data(), value.data()), 1);
  EXPECT_EQ(std::wstring(name.c_str()), L"X-T");
  return value.c_str();
}

std::wstring One(unsigned long value) {
  return std::wstring(1, static_cast<wchar_t>(value));
}

struct PointCase {
  unsigned long point;
  const char* bytes;
};

TEST(WideText, BecomesUtf8) {
  const Host host;
  for (const PointCase& one : std::vector<PointCase>{{0x01, "\x01"},
                                                     {0x41, "A"},
                                                     {0x7F, "\x7F"},
                                                     {0x80, "\xC2\x80"},
                                                     {0xE9, "\xC3\xA9"},
                                                     {0x7FF, "\xDF\xBF"},
                                                     {0x800, "\xE0\xA0\x80"},
                                                     {0x20AC, "\xE2\x82\xAC"},
                                                     {0xD7FF, "\xED\x9F\xBF"},
                                                     {0xE000, "\xEE\x80\x80"},
                                                     {0xFFFD, "\xEF\xBF\xBD"},
                                                     {0xFFFF, "\xEF\xBF\xBF"},
                                                     {0x10000, "\xF0\x90\x80\x80"},
                                                     {0x1F600, "\xF0\x9F\x98\x80"},
                                                     {0x10FFFF, "\xF4\x8F\xBF\xBF"}}) {
    EXPECT_EQ(Narrowed(host, One(one.point)), one.bytes) << std::hex << one.point;
    EXPECT_EQ(Narrowed(host, L"\u00E9" + One(one.point)), std::string("\xC3\xA9") + one.bytes);
    EXPECT_EQ(Widened(host, one.bytes), One(one.point)) << std::hex << one.point;
    EXPECT_EQ(Widened(host, std::string("\xC3\xA9") + one.bytes), L"\u00E9" + One(one.point));
  }
}

// Room for the terminator must be there when every character takes the most it can.
TEST(WideText, OfFourByteCharactersFills) {
  const Host host;
  for (const std::size_t length : {1U, 2U, 3U, 4U, 6U, 8U, 64U, 1000U}) {
    std::wstring wide;
    std::string narrow;
    for (std::size_t i = 0; i < length; ++i) {
      wide += One(0x1F600);
      narrow += "\xF0\x9F\x98\x80";
    }
    EXPECT_EQ(Narrowed(host, wide), narrow);
    if (narrow.size() < 4000) {
      EXPECT_EQ(Widened(host, narrow), wide);
    }
  }
}

TEST(WideText, MixesPlainAndOtherCharacters) {
  const Host host;
  EXPECT_EQ(Narrowed(host, L"na\u00EFve \u20AC \U0001F600 end"),
            "na\xC3\xAFve \xE2\x82\xAC \xF0\x9F\x98\x80 end");
  EXPECT_EQ(Widened(host, "na\xC3\xAFve \xE2\x82\xAC \xF0\x9F\x98\x80 end"),
            L"na\u00EFve \u20AC \U0001F600 end");
}

// KEEP(conversion-error-text)
TEST(WideText, BeyondUnicodeIsAConversionError) {
  const Host host;
  for (const unsigned long value :
       {0x110000UL, 0x1FFFFFUL, 0x7FFFFFFFUL, 0x80000000UL, 0xFFFFFFFFUL}) {
    EXPECT_EQ(Narrowed(host, One(value)), "(conversion-error)") << std::hex << value;
    EXPECT_EQ(Narrowed(host, L"before " + One(value) + L" after"), "(conversion-error)");
  }
}

// KEEP(utf-lenient-surrogates)
TEST(WideText, KeepsSurrogatesOneWayOnly) {
  const Host host;
  const std::vector<PointCase> surrogates = {{0xD800, "\xED\xA0\x80"},
                                             {0xDBFF, "\xED\xAF\xBF"},
                                             {0xDC00, "\xED\xB0\x80"},
                                             {0xDFFF, "\xED\xBF\xBF"}};
  for (const PointCase& one : surrogates) {
    EXPECT_EQ(Narrowed(host, One(one.point)), one.bytes) << std::hex << one.point;
    EXPECT_EQ(Widened(host, one.bytes), L"(conversion-error)") << std::hex << one.point;
  }
}

// KEEP(conversion-error-text)
TEST(NarrowText, ThatIsNoUtf8IsAConversionError) {
  const Host host;
  const std::vector<std::string> faults = {"\xC3(",
                                           "a\xC3",
                                           "\xE2\x82",
                                           "\xF0\x9F\x98",
                                           "\xC3",  // cut off or broken
                                           "\x80",
                                           "\xBF",
                                           "\xA9 x",  // no lead byte
                                           "\xC0\x80",
                                           "\xC1\xBF",
                                           "\xE0\x80\x80",
                                           "\xE0\x9F\xBF",
                                           "\xF0\x80\x80\x80",
                                           "\xF0\x8F\xBF\xBF",  // longer than needed
                                           "\xF4\x90\x80\x80",
                                           "\xF5\x80\x80\x80",
                                           "\xF7\xBF\xBF\xBF",  // beyond Unicode
                                           "\xF8\x88\x80\x80\x80",
                                           "\xFC\x84\x80\x80\x80\x80",
                                           "\xFE",
                                           "\xFF",
                                           "\xE2(\x82",
                                           "\xE2\x82(",
                                           "\xF0(\x98\x80",
                                           "\xF0\x9F\x98(",
                                           "good \xC3\xA9 then \xFF"};
  for (const std::string& fault : faults) {
    EXPECT_EQ(Widened(host, fault), L"(conversion-error)") << ::testing::PrintToString(fault);
  }
}

TEST(NarrowText, OfPlainCharactersStaysTheSame) {
  const Host host;
  const std::string text = " !\"#$%&'()*+,-./0129:;<=>?@AZ[\\]^_`az{|}~";
  EXPECT_EQ(Widened(host, text), std::wstring(text.begin(), text.end()));
  EXPECT_EQ(Narrowed(host, std::wstring(text.begin(), text.end())), text);
  EXPECT_EQ(Widened(host, ""), L"");
  EXPECT_EQ(Widened(host, std::string(3000, 'x')), std::wstring(3000, L'x'));
}

// KEEP(conversion-error-text)
TEST(WideText, AsAFieldNameThatCannotBeConvertedIsRefused) {
  const Host host;
  const Message message(host, kPlain);
  EXPECT_EQ(message->SetHeaderW(One(0x110000).c_str(), L"v", 0), 0);
  EXPECT_EQ(message->SetHeaderW(L"X-\u00E9", L"v", 0), 0);
}

TEST(WideText, AsAPathIsUtf8) {
  const Host host;
  const TempDir folder;
  const std::string path = folder.Path("caf\xC3\xA9");
  WriteDisk(path, kPlain);
  const std::wstring wide = std::wstring(path.begin(), path.end() - 2) + L"\u00E9";
  const Message message(host, host->OpenMessageW(wide.c_str()));
  EXPECT_EQ(message.Name(), path);
  std::wstring body(600, L'#');
  EXPECT_EQ(message->GetDecodedBodyFileW(body.data()), 1);
  EXPECT_EQ(std::wstring(body.c_str()), wide + L"_d");
}

// KEEP(conversion-error-text)
TEST(WideText, AsAPathThatCannotBeConvertedIsTheErrorText) {
  const TempDir folder;
  InChildAt(folder.Path(), [] {
    const Host host;
    const std::wstring path = L"x" + One(0x110000);
    EXPECT_EQ(host->OpenMessageW(path.c_str()), nullptr);
    WriteDisk("(conversion-error)", kPlain);
    PartObject* const message = host->OpenMessageW(path.c_str());
    EXPECT_NE(message, nullptr);
    if (message != nullptr) {
      EXPECT_EQ(Host::FileName(message), "(conversion-error)");
      host->ReleaseControl(kDiscardMessage, message);
    }
  });
}

TEST(WideText, InAUtf8LocaleIsTheLocalesOwn) {
  if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
    GTEST_SKIP() << "the locale C.UTF-8 is not here";
  }
  std::setlocale(LC_ALL, "C");
  InChild([] {
    std::setlocale(LC_ALL, "C.UTF-8");
    const Host host;
    EXPECT_EQ(Narrowed(host, L"na\u00EFve \U0001F600"), "na\xC3\xAFve \xF0\x9F\x98\x80");
    EXPECT_EQ(Widened(host, "na\xC3\xAFve \xF0\x9F\x98\x80"), L"na\u00EFve \U0001F600");
    EXPECT_EQ(Widened(host, "\xC3("), L"(conversion-error)");
    EXPECT_EQ(Widened(host, "plain"), L"plain");
    // A locale that takes more than Unicode has is asked first.
    if (std::wcstombs(nullptr, One(0x110000).c_str(), 0) == 4) {
      EXPECT_EQ(Narrowed(host, One(0x110000)), "\xF4\x90\x80\x80");
    }
  });
}

}  // namespace
}  // namespace zevka::test
