#include "mime/boundaries.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "codec/ascii.h"
#include "mime/text_search.h"

namespace zevka {
namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::size_t kLongestSearched = 4096;  // bytes; a delimiter must fit a block
constexpr std::string_view kWord = "boundary";

// One pass over a Content-Type value.
class ParameterReader {
 public:
  ParameterReader(BoundarySet& set, std::string_view value) : set_(set), value_(value) {}

  void ReadAll() {
    for (;;) {
      const std::size_t found = FindNoCase(value_, kWord, at_);
      if (found == kNone) {
        break;
      }
      at_ = found + kWord.size();
      ReadParameter();
    }
    EndRun();
  }

 private:
  char Current() const { return at_ < value_.size() ? value_[at_] : '\0'; }

  // Where the comment that begins at a "(" ends: behind its ")", or with the value. All are found
  // at once, so that comments within comments are not read again and again.
  std::size_t CommentEnd(std::size_t begin) {
    if (value_.size() > std::numeric_limits<std::uint32_t>::max()) {
      return EndIn(hugeCommentEnds_, begin);
    }
    return EndIn(commentEnds_, begin);
  }

  // As narrow as the value allows, for there is one entry for each of its bytes. While a comment is
  // open, its entry says which one it stands in.
  template <typename Place>
  std::size_t EndIn(std::vector<Place>& ends, std::size_t begin) const {
    if (ends.empty()) {
      const auto size = static_cast<Place>(value_.size());
      ends.resize(value_.size());
      Place open = size;
      for (Place at = 0; at < size; ++at) {
        if (value_[at] == '(') {
          ends[at] = std::exchange(open, at);
        } else if (value_[at] == ')' && open != size) {
          open = std::exchange(ends[open], at + 1);
        }
      }
      while (open != size) {
        open = std::exchange(ends[open], size);
      }
    }
    return ends[begin];
  }

  void SkipBlanksAndComments() {
    while (at_ < value_.size() && (IsBlank(value_[at_]) || value_[at_] == '(')) {
      at_ = value_[at_] == '(' ? CommentEnd(at_) : at_ + 1;
    }
  }

  // Stands behind the word "boundary". Without a '=' to come, the word was part of something else.
  void ReadParameter() {
    const std::size_t behindWord = at_;
    bool numbered = false;
    bool extended = false;
    if (Current() == '*') {
      ++at_;
      while (IsDigit(Current())) {
        numbered = true;
        ++at_;
      }
      extended = !numbered;
      if (numbered && Current() == '*') {
        extended = true;
        ++at_;
      }
    }
    SkipBlanksAndComments();
    if (Current() != '=') {
      at_ = behindWord;
      return;
    }
    ++at_;
    SkipBlanksAndComments();
    std::string_view text = ReadText();
    if (extended) {
      text = WithoutCharset(text);
    }
    if (numbered) {
      run_ += text;
    } else {
      EndRun();
      Add(text);
    }
  }

  std::string_view ReadText() {
    std::size_t end = kNone;
    std::size_t next = kNone;
    if (Current() == '"') {
      ++at_;
      end = std::min(value_.find('"', at_), value_.size());
      next = std::min(end + 1, value_.size());
    } else {
      end = std::min(value_.find_first_of("; \t", at_), value_.size());
      next = end;
    }
    const std::string_view text = value_.substr(at_, end - at_);
    at_ = next;
    return text;
  }

  // An extended value begins with a charset and a language, each ended by a single quote.
  static std::string_view WithoutCharset(std::string_view text) {
    const std::size_t first = text.find('\'');
    const std::size_t second = first == kNone ? kNone : text.find('\'', first + 1);
    return second == kNone ? text : text.substr(second + 1);
  }

  void EndRun() {
    Add(run_);
    run_.clear();
  }

  void Add(std::string_view text) {
    const std::size_t last = text.find_last_not_of(" \t");
    if (last == kNone) {
      return;
    }
    std::string candidate = "--" + std::string(text.substr(0, last + 1));
    if (set_.known.Note(set_.candidates, candidate)) {
      set_.candidates.push_back(std::move(candidate));
    }
  }

  BoundarySet& set_;
  std::string_view value_;
  std::size_t at_ = 0;
  std::string run_;                         // numbered sections read so far
  std::vector<std::uint32_t> commentEnds_;  // at the place of each "("; made for the first comment
  std::vector<std::uint64_t> hugeCommentEnds_;  // in its stead when the value is larger than that
};

struct Match {
  std::size_t candidate = kNone;  // place in the list
  std::size_t position = kNone;
};

// One scan of the block, however many candidates there are. KEEP(first-search-any): the order of
// the list decides, not the place in the block, and what follows is not looked at.
Match FirstCandidateIn(BoundarySet& set, std::string_view block) {
  const std::vector<std::string>& candidates = set.candidates;
  Match best;
  if (candidates.size() == 1) {
    if (candidates.front().size() <= kLongestSearched) {
      best = {0, FindText(block, candidates.front(), 0)};
    }
    return best;
  }
  if (!set.search.IsPrepared()) {
    set.search.Prepare(candidates, kLongestSearched);
  }
  for (std::size_t at = FindText(block, "--", 0); at != kNone; at = FindText(block, "--", at + 1)) {
    const std::size_t candidate = set.search.FirstPrefixOf(candidates, block.substr(at));
    if (candidate < best.candidate) {
      best = {candidate, at};
    }
  }
  return best;
}

std::size_t ChooseBoundary(BoundarySet& set, std::string_view block) {
  const Match match = FirstCandidateIn(set, block);
  if (match.position != kNone) {
    set.chosen = set.candidates[match.candidate];
    set.closing = set.chosen + "--";
  }
  return match.position;
}

}  // namespace

std::string_view BoundarySet::Text() const {
  return IsChosen() ? std::string_view(chosen).substr(2) : std::string_view();
}

void CollectBoundaries(BoundarySet& set, std::string_view value) {
  ParameterReader(set, value).ReadAll();
}

std::size_t FindBoundary(BoundarySet& set, std::string_view block, bool closing) {
  if (!set.IsChosen()) {
    return ChooseBoundary(set, block);
  }
  if (closing) {
    return FindText(block, set.closing, 0);
  }
  // KEEP(delimiter-anywhere): a delimiter need not stand at the start of a line, and one followed
  // by '-' counts in the middle of a text too.
  const std::size_t length = set.chosen.size();
  for (std::size_t at = FindText(block, set.chosen, 0); at != kNone;
       at = FindText(block, set.chosen, at + length)) {
    const char next = at + length < block.size() ? block[at + length] : '\0';
    // KEEP(padded-delimiter-missed): blanks behind a delimiter hide it, but for the first one.
    if (next == '\n' || next == '-' || next == '\r') {
      return at;
    }
  }
  return kNone;
}

void ForgetCandidates(BoundarySet& set) {
  set = BoundarySet{{}, {}, {}, std::move(set.chosen), std::move(set.closing)};
}

std::size_t LongestCandidate(const BoundarySet& set) {
  std::size_t longest = 0;
  for (const std::string& candidate : set.candidates) {
    if (candidate.size() <= kLongestSearched) {
      longest = std::max(longest, candidate.size());
    }
  }
  return longest;
}

}  // namespace zevka
