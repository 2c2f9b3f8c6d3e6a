#include "codec/bounded_copy.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace zevka {
namespace {

// What a copy leaves in a buffer of eight bytes of 'x'.
std::string Padded(std::size_t room, std::string_view text) {
  std::string buffer(8, 'x');
  CopyPadded(buffer.data(), room, text);
  return buffer;
}

TEST(BoundedCopy, ShortTextIsPaddedUpToTheRoom) {
  EXPECT_EQ(Padded(5, "ab"), std::string("ab\0\0\0xxx", 8));
}

TEST(BoundedCopy, TextThatFillsTheRoomHasNoTerminator) {
  EXPECT_EQ(Padded(3, "abc"), "abcxxxxx");
  EXPECT_EQ(Padded(3, "abcdef"), "abcxxxxx");
}

TEST(BoundedCopy, TextEndsAtItsFirstNul) {
  EXPECT_EQ(Padded(6, std::string_view("a\0b", 3)), std::string("a\0\0\0\0\0xx", 8));
  EXPECT_EQ(CutAtNul(std::string_view("ab\0c\0", 5)), "ab");
  EXPECT_EQ(CutAtNul("ab"), "ab");
}

TEST(BoundedCopy, NoRoomMeansNothingIsWritten) {
  EXPECT_EQ(Padded(0, "abc"), "xxxxxxxx");
  CopyPadded(nullptr, 0, "abc");
  CopyPaddedWide(nullptr, 0, L"abc");
  CopyTerminated(nullptr, 0, "abc");
  CopyTerminatedWide(nullptr, 0, L"abc");
}

TEST(BoundedCopy, WideCopyPadsAndCutsInWideCharacters) {
  std::array<wchar_t, 4> buffer{L'x', L'x', L'x', L'x'};
  CopyPaddedWide(buffer.data(), 3, L"\u00e9");
  EXPECT_EQ(buffer, (std::array<wchar_t, 4>{L'\u00e9', 0, 0, L'x'}));
  CopyPaddedWide(buffer.data(), 3, std::wstring_view(L"abc\0", 4));
  EXPECT_EQ(buffer, (std::array<wchar_t, 4>{L'a', L'b', L'c', L'x'}));
  CopyPaddedWide(buffer.data(), 3, std::wstring_view(L"a\0c", 3));
  EXPECT_EQ(buffer, (std::array<wchar_t, 4>{L'a', 0, 0, L'x'}));
}

TEST(BoundedCopy, TerminatedCopyGivesUpItsLastCharacterForTheTerminator) {
  std::array<char, 4> narrow{};
  CopyTerminated(narrow.data(), narrow.size(), "abcd");
  EXPECT_EQ(narrow, (std::array<char, 4>{'a', 'b', 'c', 0}));
  std::array<wchar_t, 4> wide{};
  CopyTerminatedWide(wide.data(), wide.size(), L"abcd");
  EXPECT_EQ(wide, (std::array<wchar_t, 4>{L'a', L'b', L'c', 0}));
}

}  // namespace
}  // namespace zevka
