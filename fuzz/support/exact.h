// Texts and rooms on the heap, each of exactly its size and without a terminator behind it, so that
// a sanitizer sees the first byte that is read or written outside.
#ifndef ZEVKA_FUZZ_SUPPORT_EXACT_H
#define ZEVKA_FUZZ_SUPPORT_EXACT_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace zevka::fuzz {

class ExactText {
 public:
  explicit ExactText(std::string_view text) : size_(text.size()), bytes_(new char[text.size()]) {
    text.copy(bytes_.get(), size_);
  }

  std::string_view Text() const { return {bytes_.get(), size_}; }
  std::span<const unsigned char> Bytes() const {
    return {reinterpret_cast<const unsigned char*>(bytes_.get()), size_};
  }

 private:
  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
};

// Room for a result, filled with a mark at first.
class ExactRoom {
 public:
  static constexpr char kMark = '\xA5';

  explicit ExactRoom(std::size_t size) : size_(size), bytes_(new char[size]) {
    std::fill_n(bytes_.get(), size_, kMark);
  }

  std::span<char> Chars() { return {bytes_.get(), size_}; }
  std::span<unsigned char> Bytes() {
    return {reinterpret_cast<unsigned char*>(bytes_.get()), size_};
  }
  // The first bytes of it, or all.
  std::string First(std::size_t length) const { return {bytes_.get(), std::min(length, size_)}; }
  std::string All() const { return First(size_); }
  // Up to the first NUL, or all.
  std::string UpToNul() const { return All().substr(0, All().find('\0')); }

  // Whether nothing was written, or something that looks like that.
  bool IsUntouched() const {
    return std::all_of(bytes_.get(), bytes_.get() + size_, [](char c) { return c == kMark; });
  }

 private:
  std::size_t size_;
  std::unique_ptr<char[]> bytes_;
};

}  // namespace zevka::fuzz

#endif  // ZEVKA_FUZZ_SUPPORT_EXACT_H
