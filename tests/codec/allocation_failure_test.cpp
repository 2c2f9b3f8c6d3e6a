// What the coders that allocate say when there is no memory. The allocation function of this
// program that does not throw is replaced by one that can be told to fail.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <new>
#include <string>

#include "codec/charset_convert.h"
#include "codec/encoded_words.h"
#include "codec/text_holders.h"

namespace {

std::atomic<int> allocationsUntilFailure = 0;  // 0: none fails

}  // namespace

void* operator new[](std::size_t bytes, const std::nothrow_t& /*tag*/) noexcept {
  if (allocationsUntilFailure > 0 && --allocationsUntilFailure == 0) {
    return nullptr;
  }
  try {
    return ::operator new[](bytes);
  } catch (...) {
    return nullptr;
  }
}

namespace zevka {
namespace {

// Fails the n-th allocation of the library from now on, once.
class FailAllocation {
 public:
  explicit FailAllocation(int n) { allocationsUntilFailure = n; }
  ~FailAllocation() {
    EXPECT_EQ(allocationsUntilFailure, 0) << "nothing failed";
    allocationsUntilFailure = 0;
  }
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;
};

TEST(AllocationFailure, HolderReadsAsAConversionErrorAndKeepsTheLengthOfTheLocale) {
  {
    const FailAllocation failing(1);
    const NarrowString text(L"plain");
    EXPECT_STREQ(text.Text(), "(conversion-error)");
    EXPECT_EQ(text.Length(), 5);
  }
  const FailAllocation failing(1);
  const WideString text("plain");
  EXPECT_STREQ(text.Text(), L"(conversion-error)");
  EXPECT_EQ(text.Length(), 5);
}

TEST(AllocationFailure, HolderOfTextTheLocaleRefusesReadsAsAConversionError) {
  {
    const FailAllocation failing(1);
    EXPECT_STREQ(NarrowString(L"\u00e9").Text(), "(conversion-error)");
  }
  const FailAllocation failing(1);
  EXPECT_STREQ(WideString("\xC3\xA9").Text(), L"(conversion-error)");
}

TEST(AllocationFailure, WideConversionFailsWithoutItsScratch) {
  std::array<wchar_t, 32> out{L'x'};
  const FailAllocation failing(1);
  EXPECT_EQ(ConvertToWide("utf-8", "abc", out.data(), out.size()), -1);
  EXPECT_EQ(out[0], L'x');
}

TEST(AllocationFailure, WideConversionWithoutAHolderIsAConversionError) {
  std::array<wchar_t, 32> out{L'x'};
  const FailAllocation failing(2);
  EXPECT_EQ(ConvertToWide("utf-8", "abc", out.data(), out.size()), 0);
  EXPECT_STREQ(out.data(), L"(conversion-error)");
}

TEST(AllocationFailure, NarrowConversionFailsWithoutEitherScratch) {
  for (const int n : {1, 2}) {
    std::array<char, 32> out{'x'};
    const FailAllocation failing(n);
    EXPECT_EQ(ConvertToNarrow("utf-8", "abc", out.data(), out.size()), -1);
    EXPECT_EQ(out[0], 'x');
  }
}

TEST(AllocationFailure, NarrowConversionWithoutEitherHolderIsAConversionError) {
  for (const int n : {3, 4}) {
    std::array<char, 32> out{'x'};
    const FailAllocation failing(n);
    EXPECT_EQ(ConvertToNarrow("utf-8", "abc", out.data(), out.size()), 18);
    EXPECT_STREQ(out.data(), "(conversion-error)");
  }
}

TEST(AllocationFailure, HeaderTextIsLeftAsItIs) {
  DecodeState state;
  std::string out(64, 'x');
  const FailAllocation failing(1);
  EXPECT_EQ(EncodeHeaderText(state, "caf\xC3\xA9", out, LineEndStyle::kLf), 0);
  EXPECT_EQ(out, std::string(64, 'x'));
}

TEST(AllocationFailure, WordThatCannotBeConvertedIsMalformed) {
  DecodeState state;
  std::string out(64, 'x');
  const FailAllocation failing(1);
  EXPECT_EQ(DecodeHeaderText(state, "=?utf-8?Q?a?=", out, LineEndStyle::kLf), -1);
}

}  // namespace
}  // namespace zevka
