// The display name of a part, narrow and wide, and the charsets that names may be in.
#include <gtest/gtest.h>
#include <iconv.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "tests/abi/host.h"
#include "tests/abi/message.h"

namespace zevka::test {
namespace {

std::string NameOf(PartObject* part) {
  std::string buffer(5000, '#');
  EXPECT_EQ(part->GetName(buffer.data()), 1);
  return buffer.c_str();
}

struct WideName {
  int result;
  std::wstring text;
};

WideName WideNameOf(PartObject* part) {
  std::wstring buffer(600, L'#');
  WideName name{part->GetNameW(buffer.data()), {}};
  name.text = buffer.c_str();
  if (name.text.size() > 512) {
    name.text.resize(512);
  }
  return name;
}

struct NameCase {
  const char* fields;
  const char* name;
};

TEST(PartNames, ComeFromTheNameParameter) {
  const Host host;
  const std::vector<NameCase> cases = {
      {"Content-Type: text/plain\r\n", "body"},
      {"Subject: x\r\n", "body"},
      {"Content-Type: text/plain; name=\"report.pdf\"\r\n", "report.pdf"},
      {"Content-Type: text/plain; name=report.pdf\r\n", "report.pdf"},
      {"content-TYPE: text/plain; NAME = 'a b;c.txt'; x=y\r\n", "a b;c.txt"},
      {"Content-Type: text/plain; name=a b.txt ; x=y\r\n", "a b.txt "},
      {"Content-Type: text/plain; name=;\r\n", ""},
      {"Content-Type: text/plain; name=\"\"\r\n", ""},
      {"Content-Type: text/plain; name=\r\n", "body"},
      {"Content-Type: text/plain; name=\"\r\n", "body"},
      {"Content-Type: text/plain; name\r\n", "body"},
      {"Content-Type: text/plain; name=\"open end\r\n", "open end"},
      {"Content-Type: text/plain; name a.txt\r\n", "a.txt"},
      {"Content-Type: text/plain; name===a.txt\r\n", "a.txt"},
      {"Content-Type: text/plain;\r\n\tname=\r\n folded.txt\r\n", "folded.txt"},
      {"Content-Type: text/plain; filename=inside.txt\r\n", "inside.txt"},
      {"Content-Type: text/plain; username=first; name=second\r\n", "first"},
      {"Content-Type: multipart/mixed; boundary=surname; name=x\r\n", ""},
      {"Content-Type: text/plain; x=surname-y; name=z\r\n", "-y"},
  };
  for (const NameCase& one : cases) {
    const Message message(host, std::string(one.fields) + "\r\nbody\r\n");
    EXPECT_EQ(NameOf(message.get()), one.name) << one.fields;
  }
}

// KEEP(name-survives-disposition)
TEST(PartNames, FromAFileNameWinInEitherOrder) {
  const Host host;
  const std::string type = "Content-Type: text/plain; name=type.txt\r\n";
  const std::string named = "Content-Disposition: attachment; filename=disposition.txt\r\n";
  const std::string bare = "Content-Disposition: attachment\r\n";
  const std::string empty = "Content-Disposition: attachment; filename=\"\"\r\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {type + named, "disposition.txt"},
      {named + type, "disposition.txt"},
      {named, "disposition.txt"},
      {type + bare, "type.txt"},
      {bare + type, "type.txt"},
      {bare, "body"},
      {empty + type, ""},
      {type + empty, ""},
      {named + bare, "disposition.txt"},
      {type + "Content-Type: text/html\r\n", "type.txt"},
      {"Content-Disposition: attachment; name=not-asked.txt\r\n", "body"},
  };
  for (const auto& [fields, name] : cases) {
    const Message message(host, fields + "\r\nbody\r\n");
    EXPECT_EQ(NameOf(message.get()), name) << fields;
  }
}

struct WordCase {
  const char* word;
  const char* narrow;
  int wideResult;
  const wchar_t* wide;
};

TEST(PartNames, InEncodedWordsKeepTheBytesOfTheirCharset) {
  const Host host;
  const std::vector<WordCase> cases = {
      {"plain.txt", "plain.txt", 1, L"plain.txt"},
      {"=?iso-8859-1?Q?=E9?=", "\xE9", 1, L"\u00E9"},
      {"=?ISO-8859-1?q?caf=E9.txt?=", "caf\xE9.txt", 1, L"caf\u00E9.txt"},
      {"=?utf-8?B?w6k=?=", "\xC3\xA9", 1, L"\u00E9"},
      {"=?Utf-8?b?4oKs?=", "\xE2\x82\xAC", 1, L"\u20AC"},
      {"=?iso-8859-15?Q?=A4?=", "\xA4", 1, L"\u20AC"},
      {"=?koi8-r?Q?=C1?=", "\xC1", 1, L"\u0430"},
      {"=?utf-8?Q?a_b?=", "a_b", 1, L"a_b"},
      {"=?utf-8?Q?abc?=.txt", "abc.txt", 1, L"abc.txt"},
      {"=?utf-8?Q?abc?= d.txt", "abcd.txt", 1, L"abcd.txt"},
      {"x=?utf-8?Q?abc?=", "x=?utf-8?Q?abc?=", 1, L"x=?utf-8?Q?abc?="},
      {"=?utf-8?X?abc?=", "=?utf-8?X?abc?=", 1, L"=?utf-8?X?abc?="},
      {"=?utf-8?Q?\?=", "=?utf-8?Q?\?=", 1, L"=?utf-8?Q?\?="},
      // the charset of the last word stands for the whole name
      {"=?utf-8?Q?=C3=A9?= =?iso-8859-1?Q?=E9?=", "\xC3\xA9\xE9", 1, L"\u00C3\u00A9\u00E9"},
      // a faulty later word leaves the name, but not the charset, as it was
      {"=?iso-8859-1?Q?a?= =?utf-8?X?b?=", "=?iso-8859-1?Q?a?= =?utf-8?X?b?=", 1,
       L"=?iso-8859-1?Q?a?= =?utf-8?X?b?="},
      {"=?latin1?Q?a?= =?utf-8?X?b?=", "=?latin1?Q?a?= =?utf-8?X?b?=", 0, L""},
      // bytes that are no text of their charset
      {"=?utf-8?Q?=C3?=", "\xC3", 0, L""},
      {"=?utf-8?Q?=E9t?=", "\xE9t", 0, L""},
      {"=?us-ascii?Q?=E9?=", "\xE9", 0, L""},
      {"=?big5?Q?=A4?=", "\xA4", 0, L""},
  };
  for (const WordCase& one : cases) {
    const Message message(host, std::string("Content-Disposition: attachment; filename=\"") +
                                    one.word + "\"\r\n\r\nbody\r\n");
    EXPECT_EQ(NameOf(message.get()), one.narrow) << one.word;
    std::wstring buffer(600, L'#');
    EXPECT_EQ(message->GetNameW(buffer.data()), one.wideResult) << one.word;
    if (one.wideResult == 1) {
      EXPECT_EQ(std::wstring(buffer.c_str()), one.wide) << one.word;
    } else {
      EXPECT_EQ(buffer, std::wstring(600, L'#')) << one.word;
    }
  }
}

TEST(PartNames, OfANameParameterInEncodedWordsAreDecodedToo) {
  const Host host;
  const Message message(host,
                        "Content-Type: text/plain; name=\"=?iso-8859-1?Q?=E9?=\"\r\n\r\nbody\r\n");
  EXPECT_EQ(NameOf(message.get()), "\xE9");
  EXPECT_EQ(WideNameOf(message.get()).text, L"\u00E9");
}

TEST(PartNames, OfALaterFieldForgetTheCharsetOfTheEarlierOne) {
  const Host host;
  const Message message(host,
                        "Content-Type: text/plain; name=\"=?iso-8859-1?Q?=E9?=\"\r\n"
                        "Content-Disposition: attachment; filename=\"\xC3\xA9\"\r\n\r\nbody\r\n");
  EXPECT_EQ(NameOf(message.get()), "\xC3\xA9");
  EXPECT_EQ(WideNameOf(message.get()).text, L"\u00E9") << "as UTF-8, not as iso-8859-1";
}

TEST(PartNames, InNoCharsetAreWidenedOrSayThatTheyCannotBe) {
  const Host host;
  const Message good(host, "Content-Type: text/plain; name=\"\xC3\xA9\"\r\n\r\nbody\r\n");
  EXPECT_EQ(WideNameOf(good.get()).result, 1);
  EXPECT_EQ(WideNameOf(good.get()).text, L"\u00E9");
  const Message bad(host, "Content-Type: text/plain; name=\"\xC3(\"\r\n\r\nbody\r\n");
  EXPECT_EQ(NameOf(bad.get()), "\xC3(");
  EXPECT_EQ(WideNameOf(bad.get()).result, 1);
  EXPECT_EQ(WideNameOf(bad.get()).text, L"(conversion-error)");
}

TEST(PartNames, AreOnlyCopiedNarrow) {
  const Host host;
  const std::string name(700, 'n');
  const Message message(host, "Content-Type: text/plain; name=" + name + "\r\n\r\nbody\r\n");
  std::string buffer(800, '#');
  EXPECT_EQ(message->GetName(buffer.data()), 1);
  EXPECT_EQ(buffer, name + std::string(1, '\0') + std::string(99, '#'));
}

TEST(PartNames, FillFiveHundredAndTwelveWideCells) {
  const Host host;
  const Message short1(host, "Content-Type: text/plain; name=ab\r\n\r\nbody\r\n");
  const Message short2(host, "Content-Type: text/plain; name=\"=?utf-8?Q?ab?=\"\r\n\r\nbody\r\n");
  for (const Message* message : {&short1, &short2}) {
    std::wstring buffer(600, L'#');
    EXPECT_EQ((*message)->GetNameW(buffer.data()), 1);
    EXPECT_EQ(buffer, L"ab" + std::wstring(510, L'\0') + std::wstring(88, L'#'));
  }
  const Message longer(
      host, "Content-Type: text/plain; name=" + std::string(700, 'n') + "\r\n\r\nbody\r\n");
  std::wstring buffer(600, L'#');
  EXPECT_EQ(longer->GetNameW(buffer.data()), 1);
  EXPECT_EQ(buffer, std::wstring(512, L'n') + std::wstring(88, L'#')) << "without a terminator";
}

std::string Repeated(const std::string& text, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

struct RoomCase {
  std::size_t ascii;
  std::size_t accented;  // two bytes each in UTF-8
  int result;
  bool conversionError;
};

// KEEP(charset-byte-room)
TEST(PartNames, MustFitInFiveHundredAndTwelveBytesOfUtf8) {
  const Host host;
  for (const RoomCase& one : std::vector<RoomCase>{{0, 255, 1, false},
                                                   {1, 255, 1, false},  // 511 bytes
                                                   {0, 256, 1, true},   // 512: the last is dropped
                                                   {1, 256, 0, false},
                                                   {0, 300, 0, false}}) {
    const Message message(host, "Content-Type: text/plain; name=\"=?iso-8859-1?Q?" +
                                    std::string(one.ascii, 'a') + Repeated("=E9", one.accented) +
                                    "?=\"\r\n\r\nbody\r\n");
    EXPECT_EQ(NameOf(message.get()),
              std::string(one.ascii, 'a') + std::string(one.accented, '\xE9'));
    std::wstring buffer(600, L'#');
    EXPECT_EQ(message->GetNameW(buffer.data()), one.result) << one.ascii << "+" << one.accented;
    if (one.result == 0) {
      EXPECT_EQ(buffer, std::wstring(600, L'#'));
    } else if (one.conversionError) {
      EXPECT_EQ(std::wstring(buffer.c_str()), L"(conversion-error)");
    } else {
      EXPECT_EQ(std::wstring(buffer.c_str()),
                std::wstring(one.ascii, L'a') + std::wstring(one.accented, L'\u00E9'));
    }
  }
}

// ---- Charsets

std::string MessageInCharset(const std::string& charset) {
  // 61 62 63 64 in any charset; what it says there differs for the wide ones
  return "Content-Type: text/plain; name=\"=?" + charset + "?B?YWJjZA==?=\"\r\n\r\nbody\r\n";
}

// What the system's converter makes of "abcd" in this charset, as UTF-8; empty when it refuses.
std::string SystemUtf8(const std::string& charset) {
  const ::iconv_t converter = ::iconv_open("utf-8", charset.c_str());
  std::array<char, 64> output{};
  std::array<char, 5> input = {'a', 'b', 'c', 'd', '\0'};
  if (std::memcmp(&converter, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", sizeof converter) == 0) {
    return "";
  }
  char* from = input.data();
  char* to = output.data();
  std::size_t fromLeft = 4;
  std::size_t toLeft = output.size() - 1;
  const std::size_t result = ::iconv(converter, &from, &fromLeft, &to, &toLeft);
  ::iconv_close(converter);
  return result == ~std::size_t{0} ? "" : output.data();
}

std::wstring Widened(const std::string& utf8) {
  std::array<wchar_t, 64> output{};
  const ::iconv_t converter = ::iconv_open("utf-32le", "utf-8");
  std::string input = utf8;
  char* from = input.data();
  char* to = reinterpret_cast<char*>(output.data());
  std::size_t fromLeft = input.size();
  std::size_t toLeft = sizeof output - sizeof(wchar_t);
  ::iconv(converter, &from, &fromLeft, &to, &toLeft);
  ::iconv_close(converter);
  return output.data();
}

constexpr const char* kKnown[] = {"big5",           "cp950",        "cp1250",
                                  "windows-1250",   "cp1251",       "windows-1251",
                                  "cp1252",         "windows-1252", "cp1253",
                                  "windows-1253",   "cp1254",       "windows-1254",
                                  "cp1255",         "windows-1255", "cp1256",
                                  "windows-1256",   "cp1257",       "windows-1257",
                                  "cp1258",         "windows-1258", "cp862",
                                  "cp866",          "cp874",        "windows-874",
                                  "cp936",          "gbk",          "cp949",
                                  "euc-cn",         "euc-jp",       "euc-kr",
                                  "gb18030",        "gb2312",       "hz",
                                  "hz-gb-2312",     "iso-2022-jp",  "iso-8859-1",
                                  "iso-8859-15",    "iso-8859-2",   "iso-8859-3",
                                  "iso-8859-4",     "iso-8859-5",   "iso-8859-6",
                                  "iso-8859-7",     "iso-8859-8",   "iso-8859-9",
                                  "johab",          "koi8-r",       "koi8-u",
                                  "ks_c_5601-1987", "MacArabic",    "MacCentralEurope",
                                  "MacCroatian",    "MacCyrillic",  "MacGreek",
                                  "MacHebrew",      "MacIceland",   "macintosh",
                                  "MacRomania",     "MacThai",      "MacTurkish",
                                  "MacUkraine",     "shift_jis",    "cp932",
                                  "us-ascii",       "ascii",        "utf-16",
                                  "utf-32",         "utf-32be",     "utf-7",
                                  "utf-8",          "Windows-1252", "CP1252"};

// A known charset gives what the system's converter gives; one that the system does not have is
// refused.
TEST(PartNameCharsets, OfTheTableAreTheSystemsOwn) {
  const Host host;
  int taken = 0;
  for (const std::string charset : kKnown) {
    const Message message(host, MessageInCharset(charset));
    const std::string utf8 = SystemUtf8(charset);
    std::wstring buffer(600, L'#');
    EXPECT_EQ(message->GetNameW(buffer.data()), utf8.empty() ? 0 : 1) << charset;
    if (!utf8.empty()) {
      ++taken;
      EXPECT_EQ(std::wstring(buffer.c_str()), Widened(utf8)) << charset;
    } else {
      EXPECT_EQ(buffer, std::wstring(600, L'#')) << charset;
    }
  }
  EXPECT_GE(taken, 20) << "the system's converter has hardly any charset";
}

// KEEP(charset-table)
TEST(PartNameCharsets, OutsideTheTableAreRefused) {
  const Host host;
  for (const std::string charset :
       {"iso-8859-10", "iso-8859-11", "iso-8859-13", "iso-8859-14", "iso-8859-16", "latin1", "l1",
        "utf-16be", "utf-16le", "utf-32le", "ucs-2", "ucs-4", "cp437", "cp850", "ibm866", "tis-620",
        "utf8", "iso8859-1", "x-unknown"}) {
    const Message message(host, MessageInCharset(charset));
    EXPECT_EQ(NameOf(message.get()), "abcd") << charset;
    std::wstring buffer(600, L'#');
    EXPECT_EQ(message->GetNameW(buffer.data()), 0) << charset;
    EXPECT_EQ(buffer, std::wstring(600, L'#')) << charset;
  }
}

TEST(PartNameCharsets, AreMatchedWithoutRegardToCase) {
  const Host host;
  for (const std::string charset : {"UTF-8", "uTf-8", "ISO-8859-2", "KOI8-R", "SHIFT_JIS", "GBK"}) {
    const Message message(host, MessageInCharset(charset));
    EXPECT_EQ(WideNameOf(message.get()).result, 1) << charset;
    EXPECT_EQ(WideNameOf(message.get()).text, L"abcd") << charset;
  }
}

}  // namespace
}  // namespace zevka::test
