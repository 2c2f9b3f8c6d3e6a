// The charsets that the library accepts by name. A charset that is not in the table is refused,
// also where the system could convert it; one that is in the table may still be unknown to the
// system.
//
// Names are those of RFC 2047 words and of Content-Type; their case does not matter.
// Threads: any; the table never changes.
#ifndef ZEVKA_CODEC_CHARSET_NAMES_H
#define ZEVKA_CODEC_CHARSET_NAMES_H

#include <array>
#include <cstdint>
#include <string_view>

namespace zevka {

// A row with this number is refused; none has it at present.
inline constexpr std::uint32_t kNoCodePage = 0xFFFFFFFF;

struct CharsetRow {
  std::string_view name;
  std::string_view alias;  // empty: none
  std::uint32_t codePage;  // the code page of that charset on Windows
};

// KEEP(charset-table): just these; latin1, iso-8859-10 to 14 and 16, utf-16be and utf-16le are not.
inline constexpr std::array<CharsetRow, 55> kCharsetRows{{
    {"big5", "cp950", 950},
    {"cp1250", "windows-1250", 1250},
    {"cp1251", "windows-1251", 1251},
    {"cp1252", "windows-1252", 1252},
    {"cp1253", "windows-1253", 1253},
    {"cp1254", "windows-1254", 1254},
    {"cp1255", "windows-1255", 1255},
    {"cp1256", "windows-1256", 1256},
    {"cp1257", "windows-1257", 1257},
    {"cp1258", "windows-1258", 1258},
    {"cp862", "", 862},
    {"cp866", "", 866},
    {"cp874", "windows-874", 874},
    {"cp936", "gbk", 936},
    {"cp949", "", 949},
    {"euc-cn", "", 51936},
    {"euc-jp", "", 51932},
    {"euc-kr", "", 51949},
    {"gb18030", "", 54936},
    {"gb2312", "", 20936},
    {"hz", "hz-gb-2312", 52936},
    {"iso-2022-jp", "", 50220},
    {"iso-8859-1", "", 28591},
    {"iso-8859-15", "", 28605},
    {"iso-8859-2", "", 28592},
    {"iso-8859-3", "", 28593},
    {"iso-8859-4", "", 28594},
    {"iso-8859-5", "", 28595},
    {"iso-8859-6", "", 28596},
    {"iso-8859-7", "", 28597},
    {"iso-8859-8", "", 28598},
    {"iso-8859-9", "", 28599},
    {"johab", "", 1361},
    {"koi8-r", "", 20866},
    {"koi8-u", "", 21866},
    {"ks_c_5601-1987", "", 949},
    {"MacArabic", "", 10004},
    {"MacCentralEurope", "", 10029},
    {"MacCroatian", "", 10082},
    {"MacCyrillic", "", 10007},
    {"MacGreek", "", 10006},
    {"MacHebrew", "", 10005},
    {"MacIceland", "", 10079},
    {"macintosh", "", 10000},
    {"MacRomania", "", 10010},
    {"MacThai", "", 10021},
    {"MacTurkish", "", 10081},
    {"MacUkraine", "", 10017},
    {"shift_jis", "cp932", 932},
    {"us-ascii", "ascii", 20127},
    {"utf-16", "", 1200},
    {"utf-32", "", 12000},
    {"utf-32be", "", 12001},
    {"utf-7", "", 65000},
    {"utf-8", "", 65001},
}};

// The first row with that name or alias, or null.
const CharsetRow* FindCharset(std::string_view name);

}  // namespace zevka

#endif  // ZEVKA_CODEC_CHARSET_NAMES_H
