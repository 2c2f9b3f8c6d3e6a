// Wide characters on the heap, in a block of exactly their size: the wide form of exact.h.
#ifndef ZEVKA_FUZZ_SUPPORT_EXACT_WIDE_H
#define ZEVKA_FUZZ_SUPPORT_EXACT_WIDE_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

namespace zevka::fuzz {

class WideRoom {
 public:
  static constexpr wchar_t kMark = 0x5A5A5A5A;

  explicit WideRoom(std::size_t size) : size_(size), cells_(new wchar_t[size]) {
    std::fill_n(cells_.get(), size_, kMark);
  }
  explicit WideRoom(const std::wstring& text) : WideRoom(text.size()) {
    text.copy(cells_.get(), size_);
  }
  wchar_t* Begin() { return cells_.get(); }
  wchar_t* End() { return cells_.get() + size_; }
  std::wstring All() const { return {cells_.get(), size_}; }
  std::wstring UpToNul() const { return All().substr(0, All().find(L'\0')); }
  bool IsUntouched() const {
    return std::all_of(cells_.get(), cells_.get() + size_, [](wchar_t c) { return c == kMark; });
  }

 private:
  std::size_t size_;
  std::unique_ptr<wchar_t[]> cells_;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_EXACT_WIDE_H
