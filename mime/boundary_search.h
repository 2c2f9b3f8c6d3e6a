// Finds which of many texts another one begins with, in a time that grows with the length of the
// match and hardly with their number: thousands of boundaries may be named, and be alike for long.
#ifndef ZEVKA_MIME_BOUNDARY_SEARCH_H
#define ZEVKA_MIME_BOUNDARY_SEARCH_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zevka {

class BoundarySearch {
 public:
  static constexpr std::size_t kNone = std::string_view::npos;

  // `texts` must not change as long as it is searched, and is handed in again for each search.
  // Texts longer than `longest` are left out.
  void Prepare(const std::vector<std::string>& texts, std::size_t longest);
  bool IsPrepared() const { return prepared_; }

  // The smallest place in `texts` of one that `text` begins with; kNone when there is none.
  std::size_t FirstPrefixOf(const std::vector<std::string>& texts, std::string_view text) const;

 private:
  using Index = std::uint32_t;
  using Length = std::uint16_t;

  // One text, in the order of the bytes. Those that it begins with stand before it, in a chain from
  // the longest to the shortest; the last one's `shorter` is itself.
  struct Entry {
    Index place = 0;     // in the texts
    Index shorter = 0;   // the longest entry that it begins with
    Index jump = 0;      // one further down the chain, so that its end is a few steps away
    Index chain = 0;     // how many there are
    Index best = 0;      // the smallest place in the chain, its own included
    Length size = 0;     // bytes
    Length asLower = 0;  // bytes alike with the entry at the lower end, and
    Length asUpper = 0;  // with the one at the upper end, when the search by halves comes here
  };

  // The last entry that is not behind the text, and the number of bytes that they have in common.
  struct Neighbour {
    std::size_t at = kNone;
    std::size_t alike = 0;
  };

  void LinkChains(const std::vector<std::string>& texts);
  Length MeasureHalves(const std::vector<Length>& alike, std::ptrdiff_t lower,
                       std::ptrdiff_t upper);
  Neighbour Before(const std::vector<std::string>& texts, std::string_view text) const;

  std::vector<Entry> entries_;
  bool prepared_ = false;
};

}  // namespace zevka

#endif  // ZEVKA_MIME_BOUNDARY_SEARCH_H
