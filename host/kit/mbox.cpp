#include "host/kit/mbox.h"

#include <algorithm>
#include <array>
#include <vector>

#include "host/kit/text.h"

namespace zevka::host {

namespace {

constexpr std::string_view kFrom = "From ";
constexpr std::size_t kNoPlace = std::string_view::npos;
// Longer lines are text. Keeps the reading of dates off lines that never end.
constexpr std::size_t kSeparatorBytes = 1000;
constexpr int kZoneWords = 2;  // "MET DST", "+0100 (CET)"

constexpr std::array<std::string_view, 7> kWeekdays = {"mon", "tue", "wed", "thu",
                                                       "fri", "sat", "sun"};
constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                      "jul", "aug", "sep", "oct", "nov", "dec"};

using Words = std::vector<std::string_view>;

Words SplitWords(std::string_view text) {
  Words words;
  std::size_t start = text.find_first_not_of(" \t");
  while (start != kNoPlace) {
    const std::size_t end = std::min(text.find_first_of(" \t", start), text.size());
    words.push_back(text.substr(start, end - start));
    start = text.find_first_not_of(" \t", end);
  }
  return words;
}

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == kNoPlace;
}

// A number of one or two digits within bounds.
bool IsNumber(std::string_view text, int smallest, int largest) {
  if (!IsDigits(text) || text.size() > 2) {
    return false;
  }
  int value = 0;
  for (const char digit : text) {
    value = value * 10 + (digit - '0');
  }
  return value >= smallest && value <= largest;
}

bool IsWeekday(std::string_view word) {
  if (word.ends_with(',')) {
    word.remove_suffix(1);
  }
  return std::find(kWeekdays.begin(), kWeekdays.end(), Lower(word)) != kWeekdays.end();
}

bool IsMonth(std::string_view word) {
  return std::find(kMonths.begin(), kMonths.end(), Lower(word)) != kMonths.end();
}

bool IsDay(std::string_view word) {
  return IsNumber(word, 1, 31);
}

bool IsYear(std::string_view word) {
  return word.size() == 4 && IsDigits(word);
}

// h:mm, hh:mm or hh:mm:ss
bool IsTime(std::string_view word) {
  const std::size_t colon = word.find(':');
  if (colon == kNoPlace || !IsNumber(word.substr(0, colon), 0, 23)) {
    return false;
  }
  const std::string_view rest = word.substr(colon + 1);
  const std::string_view minutes = rest.substr(0, 2);
  const std::string_view seconds = rest.substr(minutes.size());
  return minutes.size() == 2 && IsNumber(minutes, 0, 59) &&
         (seconds.empty() ||
          (seconds.size() == 3 && seconds[0] == ':' && IsNumber(seconds.substr(1), 0, 60)));
}

// "+0100", "(CET)", "UTC"
bool IsZone(std::string_view word) {
  if (word.front() == '+' || word.front() == '-') {
    return word.size() == 5 && IsDigits(word.substr(1));
  }
  if (word.front() == '(') {
    return word.back() == ')';
  }
  return word.size() <= 5 && word.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == kNoPlace;
}

// Takes the words of a date off the front of a line's rest.
class DateWords {
 public:
  explicit DateWords(const Words& words, std::size_t first) : words_(words), next_(first) {}

  bool Take(bool (*matches)(std::string_view)) {
    const bool taken = next_ < words_.size() && matches(words_[next_]);
    next_ += taken ? 1 : 0;
    return taken;
  }
  void TakeZones() {
    for (int taken = 0; taken < kZoneWords && Take(IsZone); ++taken) {
    }
  }
  bool AtEnd() const {
    const std::size_t left = words_.size() - next_;
    return left == 0 || (left == 3 && words_[next_] == "remote" && words_[next_ + 1] == "from");
  }

 private:
  const Words& words_;
  std::size_t next_;
};

// Thu Jan 1 00:00:00 [zone] 1970 [zone], or Thu, 1 Jan 1970 00:00:00 [zone]
bool IsDateToTheEnd(const Words& words, std::size_t first) {
  DateWords date(words, first);
  if (!date.Take(IsWeekday)) {
    return false;
  }
  const bool monthFirst = date.Take(IsMonth);
  if (!date.Take(IsDay) || (!monthFirst && !date.Take(IsMonth))) {
    return false;
  }
  const bool yearFirst = date.Take(IsYear);
  if (!date.Take(IsTime)) {
    return false;
  }
  date.TakeZones();
  if (!yearFirst) {
    if (!date.Take(IsYear)) {
      return false;
    }
    date.TakeZones();
  }
  return date.AtEnd();
}

std::string_view LineAt(std::string_view text, std::size_t start) {
  const std::size_t newline = text.find('\n', start);
  return text.substr(start, newline == kNoPlace ? kNoPlace : newline + 1 - start);
}

// The line end that the text ends with.
std::string_view LastLineEnd(std::string_view text) {
  if (text.ends_with("\r\n")) {
    return text.substr(text.size() - 2);
  }
  return text.substr(text.size() - (text.ends_with('\n') ? 1 : 0));
}

// The empty line that the text ends with, or nothing.
std::string_view LastEmptyLine(std::string_view text) {
  const std::string_view last = LastLineEnd(text);
  const std::string_view before = text.substr(0, text.size() - last.size());
  return before.empty() || before.ends_with('\n') ? last : last.substr(last.size());
}

// The place of the first separator at or behind a place, or the end of the text. A separator begins
// the text or follows an empty line.
std::size_t FindSeparator(std::string_view text, std::size_t from) {
  if (from == 0 && IsMboxSeparator(LineAt(text, 0))) {
    return 0;
  }
  constexpr std::string_view kPattern = "\nFrom ";
  std::size_t place = from == 0 ? 0 : from - 1;
  while ((place = text.find(kPattern, place)) != kNoPlace) {
    ++place;
    if (!LastEmptyLine(text.substr(0, place)).empty() && IsMboxSeparator(LineAt(text, place))) {
      return place;
    }
  }
  return text.size();
}

// Hands each line, with its line end, to a function.
template <typename Function>
void ForEachLine(std::string_view text, Function function) {
  while (!text.empty()) {
    const std::string_view line = LineAt(text, 0);
    function(line);
    text.remove_prefix(line.size());
  }
}

// The line without the '>' in front of "From "; the line as it is if it has no "From " there.
std::string_view BareFrom(std::string_view line) {
  const std::string_view bare = line.substr(std::min(line.find_first_not_of('>'), line.size()));
  return bare.starts_with(kFrom) ? bare : line;
}

bool HasBareFrom(std::string_view text) {
  return text.starts_with(kFrom) || text.find("\nFrom ") != kNoPlace;
}

// Quotes only what a reader would take for a separator.
std::string QuotedSeparators(std::string_view message) {
  std::string result;
  std::size_t copied = 0;
  for (std::size_t place = FindSeparator(message, 1); place < message.size();
       place = FindSeparator(message, place + 1)) {
    result.append(message.substr(copied, place - copied)).append(">");
    copied = place;
  }
  return result.append(message.substr(copied));
}

}  // namespace

MboxReader::MboxReader(std::string_view box)
    : box_(box), preambleBytes_(FindSeparator(box, 0)), next_(preambleBytes_) {}

std::optional<MboxEntry> MboxReader::Next() {
  if (next_ >= box_.size()) {
    return std::nullopt;
  }
  MboxEntry entry;
  entry.separator = LineAt(box_, next_);
  const std::size_t start = next_ + entry.separator.size();
  next_ = FindSeparator(box_, start);
  const std::string_view rest = box_.substr(start, next_ - start);
  entry.gap = LastEmptyLine(rest);
  entry.message = rest.substr(0, rest.size() - entry.gap.size());
  return entry;
}

bool LooksLikeMbox(std::string_view text) {
  const std::size_t start = text.find_first_not_of("\r\n");
  return start != kNoPlace && IsMboxSeparator(LineAt(text, start)) &&
         (start == 0 || !LastEmptyLine(text.substr(0, start)).empty());
}

bool IsMboxSeparator(std::string_view line) {
  if (!line.starts_with(kFrom) || line.size() > kSeparatorBytes) {
    return false;
  }
  line.remove_suffix(LastLineEnd(line).size());
  const Words words = SplitWords(line);
  for (std::size_t first = 1; first < words.size(); ++first) {
    if (IsDateToTheEnd(words, first)) {
      return true;
    }
  }
  return false;
}

std::string_view Raw(const MboxEntry& entry) {
  return {entry.separator.data(), entry.separator.size() + entry.message.size() + entry.gap.size()};
}

std::string Unquoted(std::string_view message) {
  std::string result;
  result.reserve(message.size());
  ForEachLine(message, [&result](std::string_view line) {
    result.append(line.substr(BareFrom(line).size() < line.size() ? 1 : 0));
  });
  return result;
}

std::string Quoted(std::string_view message) {
  std::string result;
  result.reserve(message.size());
  ForEachLine(message, [&result](std::string_view line) {
    if (BareFrom(line).starts_with(kFrom)) {
      result.push_back('>');
    }
    result.append(line);
  });
  return result;
}

std::string MessageOf(const MboxEntry& entry) {
  return HasBareFrom(entry.message) ? std::string(entry.message) : Unquoted(entry.message);
}

std::string Replaced(const MboxEntry& entry, std::string_view message) {
  std::string result(entry.separator);
  result.append(HasBareFrom(entry.message) ? QuotedSeparators(message) : Quoted(message));
  if (!entry.gap.empty() && !message.empty() && !message.ends_with('\n')) {
    result.append(LastLineEnd(entry.separator));
  }
  return result.append(entry.gap);
}

}  // namespace zevka::host
