#include "codec/charset_names.h"

#include <gtest/gtest.h>

#include <cctype>
#include <sstream>
#include <string>

namespace zevka {
namespace {

// The table once more, a row a line: name, alias or "-", code page.
constexpr const char* kRows = R"(
big5 cp950 950
cp1250 windows-1250 1250
cp1251 windows-1251 1251
cp1252 windows-1252 1252
cp1253 windows-1253 1253
cp1254 windows-1254 1254
cp1255 windows-1255 1255
cp1256 windows-1256 1256
cp1257 windows-1257 1257
cp1258 windows-1258 1258
cp862 - 862
cp866 - 866
cp874 windows-874 874
cp936 gbk 936
cp949 - 949
euc-cn - 51936
euc-jp - 51932
euc-kr - 51949
gb18030 - 54936
gb2312 - 20936
hz hz-gb-2312 52936
iso-2022-jp - 50220
iso-8859-1 - 28591
iso-8859-15 - 28605
iso-8859-2 - 28592
iso-8859-3 - 28593
iso-8859-4 - 28594
iso-8859-5 - 28595
iso-8859-6 - 28596
iso-8859-7 - 28597
iso-8859-8 - 28598
iso-8859-9 - 28599
johab - 1361
koi8-r - 20866
koi8-u - 21866
ks_c_5601-1987 - 949
MacArabic - 10004
MacCentralEurope - 10029
MacCroatian - 10082
MacCyrillic - 10007
MacGreek - 10006
MacHebrew - 10005
MacIceland - 10079
macintosh - 10000
MacRomania - 10010
MacThai - 10021
MacTurkish - 10081
MacUkraine - 10017
shift_jis cp932 932
us-ascii ascii 20127
utf-16 - 1200
utf-32 - 12000
utf-32be - 12001
utf-7 - 65000
utf-8 - 65001
)";

std::string Upper(std::string text) {
  for (char& c : text) {
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return text;
}

TEST(CharsetNames, HasEachRowInOrder) {
  std::istringstream rows(kRows);
  std::string name;
  std::string alias;
  std::uint32_t codePage = 0;
  std::size_t at = 0;
  for (; rows >> name >> alias >> codePage; ++at) {
    ASSERT_LT(at, kCharsetRows.size());
    const CharsetRow& row = kCharsetRows[at];
    EXPECT_EQ(row.name, name);
    EXPECT_EQ(row.alias, alias == "-" ? "" : alias);
    EXPECT_EQ(row.codePage, codePage);
    EXPECT_NE(row.codePage, kNoCodePage);
    EXPECT_EQ(FindCharset(name), &row);
    EXPECT_EQ(FindCharset(Upper(name)), &row);
    if (alias != "-") {
      EXPECT_EQ(FindCharset(alias), &row);
      EXPECT_EQ(FindCharset(Upper(alias)), &row);
    }
  }
  EXPECT_EQ(at, 55U);
}

// KEEP(charset-table)
TEST(CharsetNames, RefusesEveryOtherName) {
  for (const std::string_view name :
       {"", " ", "-", "latin1", "iso-8859-10", "iso-8859-11", "iso-8859-12", "iso-8859-13",
        "iso-8859-14", "iso-8859-16", "utf-16be", "utf-16le", "utf-32le", "utf8", "utf-8 ", "utf-",
        "windows-1259", "cp1259", "iso-8859-1\n"}) {
    EXPECT_EQ(FindCharset(name), nullptr) << name;
  }
}

}  // namespace
}  // namespace zevka
