#include "mime/boundary_search.h"

#include <algorithm>
#include <cstring>

namespace zevka {
namespace {

// Passes over what both texts have in common at `at`, in steps of that many bytes.
template <std::size_t kStep>
void PassAlike(std::string_view left, std::string_view right, std::size_t& at) {
  while (at + kStep <= left.size() && at + kStep <= right.size() &&
         std::memcmp(left.data() + at, right.data() + at, kStep) == 0) {
    at += kStep;
  }
}

// How many bytes both texts begin with; the first `from` are known to be alike.
std::size_t Alike(std::string_view left, std::string_view right, std::size_t from) {
  std::size_t at = from;
  PassAlike<512>(left, right, at);
  PassAlike<64>(left, right, at);
  PassAlike<8>(left, right, at);
  PassAlike<1>(left, right, at);
  return at;
}

// Whether `other` stands in front of the text in the order of the bytes, or is equal; they are
// alike in that many bytes and no more.
bool IsNotBehind(std::string_view other, std::string_view text, std::size_t alike) {
  if (alike == other.size() || alike == text.size()) {
    return alike == other.size();
  }
  return static_cast<unsigned char>(other[alike]) < static_cast<unsigned char>(text[alike]);
}

}  // namespace

void BoundarySearch::Prepare(const std::vector<std::string>& texts, std::size_t longest) {
  prepared_ = true;
  entries_.clear();
  entries_.reserve(texts.size());
  for (std::size_t place = 0; place < texts.size(); ++place) {
    if (texts[place].size() <= longest) {
      Entry entry;
      entry.place = static_cast<Index>(place);
      entry.size = static_cast<Length>(texts[place].size());
      entries_.push_back(entry);
    }
  }
  std::sort(entries_.begin(), entries_.end(), [&](const Entry& left, const Entry& right) {
    const int order = texts[left.place].compare(texts[right.place]);
    return order < 0 || (order == 0 && left.place < right.place);
  });
  LinkChains(texts);
  std::vector<Length> alike(entries_.size(), 0);
  for (std::size_t at = 1; at < entries_.size(); ++at) {
    alike[at] =
        static_cast<Length>(Alike(texts[entries_[at - 1].place], texts[entries_[at].place], 0));
  }
  MeasureHalves(alike, -1, static_cast<std::ptrdiff_t>(entries_.size()));
}

void BoundarySearch::LinkChains(const std::vector<std::string>& texts) {
  for (std::size_t at = 0; at < entries_.size(); ++at) {
    Entry& entry = entries_[at];
    const auto self = static_cast<Index>(at);
    entry.shorter = entry.jump = self;
    entry.best = entry.place;
    entry.chain = 1;
    Index up = at == 0 ? self : self - 1;
    while (up != self && !texts[entry.place].starts_with(texts[entries_[up].place])) {
      up = entries_[up].shorter == up ? self : entries_[up].shorter;
    }
    if (up == self) {
      continue;
    }
    const Entry& next = entries_[up];
    const Entry& far = entries_[next.jump];
    entry.shorter = up;
    entry.chain = next.chain + 1;
    entry.best = std::min(entry.place, next.best);
    const bool evenSteps = next.chain - far.chain == far.chain - entries_[far.jump].chain;
    entry.jump = evenSteps ? far.jump : up;
  }
}

// The number of bytes that both ends have in common; `lower` and `upper` stand outside the entries
// at first. `alike` has that of each entry and the one before it.
BoundarySearch::Length BoundarySearch::MeasureHalves(const std::vector<Length>& alike,
                                                     std::ptrdiff_t lower, std::ptrdiff_t upper) {
  if (upper - lower == 1) {
    return upper < static_cast<std::ptrdiff_t>(alike.size())
               ? alike[static_cast<std::size_t>(upper)]
               : Length{0};
  }
  const std::ptrdiff_t middle = lower + (upper - lower) / 2;
  const Length asLower = MeasureHalves(alike, lower, middle);
  const Length asUpper = MeasureHalves(alike, middle, upper);
  Entry& entry = entries_[static_cast<std::size_t>(middle)];
  entry.asLower = asLower;
  entry.asUpper = asUpper;
  return std::min(asLower, asUpper);
}

// By halves, and no byte of the text is compared twice: what is known of the ends tells about the
// middle, but for what begins where they end to be alike.
BoundarySearch::Neighbour BoundarySearch::Before(const std::vector<std::string>& texts,
                                                 std::string_view text) const {
  std::ptrdiff_t lower = -1;
  auto upper = static_cast<std::ptrdiff_t>(entries_.size());
  std::size_t asLower = 0;
  std::size_t asUpper = 0;
  while (upper - lower > 1) {
    const std::ptrdiff_t middle = lower + (upper - lower) / 2;
    const Entry& entry = entries_[static_cast<std::size_t>(middle)];
    const bool byLower = asLower >= asUpper;
    const std::size_t known = byLower ? asLower : asUpper;
    const std::size_t measured = byLower ? entry.asLower : entry.asUpper;
    // Closer to the end that the text is compared with than the text is, or not as close: then the
    // middle lies on that end's side of the text, or on the other.
    if (measured != known) {
      const bool up = (measured > known) == byLower;
      (up ? lower : upper) = middle;
      (up ? asLower : asUpper) = std::min(measured, known);
      continue;
    }
    const std::string& other = texts[entry.place];
    const std::size_t alike = Alike(text, other, known);
    const bool notBehind = IsNotBehind(other, text, alike);
    (notBehind ? lower : upper) = middle;
    (notBehind ? asLower : asUpper) = alike;
  }
  return lower < 0 ? Neighbour{} : Neighbour{static_cast<std::size_t>(lower), asLower};
}

// What the text begins with is its neighbour, when that is not too long, or what that begins with.
std::size_t BoundarySearch::FirstPrefixOf(const std::vector<std::string>& texts,
                                          std::string_view text) const {
  const Neighbour neighbour = Before(texts, text);
  if (neighbour.at == kNone) {
    return kNone;
  }
  std::size_t at = neighbour.at;
  while (entries_[at].size > neighbour.alike) {
    const Entry& entry = entries_[at];
    if (entry.shorter == at) {
      return kNone;
    }
    at = entries_[entry.jump].size > neighbour.alike ? entry.jump : entry.shorter;
  }
  return entries_[at].best;
}

}  // namespace zevka
