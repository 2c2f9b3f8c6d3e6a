#include "mime/text_search.h"

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace zevka {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::size_t kLane = sizeof(__m128i);
constexpr std::size_t kStep = 4 * kLane;
// Bytes that may be compared in vain, for a block of a few thousand.
constexpr std::size_t kPatience = 16384;

__m128i Load(const char* bytes) {
  __m128i lane;
  std::memcpy(&lane, bytes, kLane);
  return lane;
}

// Looks at two bytes of the text at many places at once: places where both fit are compared.
class Search {
 public:
  Search(std::string_view block, std::string_view text)
      : block_(block),
        text_(text),
        first_(_mm_set1_epi8(text.front())),
        last_(_mm_set1_epi8(text.back())) {}

  std::size_t From(std::size_t at) {
    const std::size_t end = block_.size() - text_.size() + 1;  // behind the last place
    for (; end - at >= kStep; at += kStep) {
      if (const std::size_t found = InStep(at); found != kNone) {
        return found;
      }
      if (patience_ < text_.size()) {
        return InTheEnd(at + kStep);
      }
    }
    return InTheEnd(at);
  }

 private:
  unsigned Fitting(std::size_t at) const {
    const char* const place = block_.data() + at;
    const __m128i first = _mm_cmpeq_epi8(Load(place), first_);
    const __m128i last = _mm_cmpeq_epi8(Load(place + text_.size() - 1), last_);
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(first, last)));
  }

  std::size_t InStep(std::size_t at) {
    std::uint64_t fitting = Fitting(at) | std::uint64_t{Fitting(at + kLane)} << kLane |
                            std::uint64_t{Fitting(at + 2 * kLane)} << (2 * kLane) |
                            std::uint64_t{Fitting(at + 3 * kLane)} << (3 * kLane);
    for (; fitting != 0; fitting &= fitting - 1) {
      const std::size_t place = at + static_cast<std::size_t>(__builtin_ctzll(fitting));
      if (std::memcmp(block_.data() + place, text_.data(), text_.size()) == 0) {
        return place;
      }
      patience_ -= patience_ < text_.size() ? patience_ : text_.size();
    }
    return kNone;
  }

  // The C library's way: slower, and never much slower than that.
  std::size_t InTheEnd(std::size_t at) const {
    const char* const begin = block_.data() + at;
    const void* const found = ::memmem(begin, block_.size() - at, text_.data(), text_.size());
    return found == nullptr
               ? kNone
               : at + static_cast<std::size_t>(static_cast<const char*>(found) - begin);
  }

  std::string_view block_;
  std::string_view text_;
  __m128i first_;
  __m128i last_;
  std::size_t patience_ = kPatience;
};

}  // namespace

std::size_t FindText(std::string_view block, std::string_view text, std::size_t from) {
  if (from > block.size() || block.size() - from < text.size()) {
    return kNone;
  }
  return Search(block, text).From(from);
}

}  // namespace zevka
