#include "host/safe_edit/field_texts.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "host/kit/encode_words.h"
#include "host/kit/text.h"
#include "host/safe_edit/stretch.h"

namespace zevka::host {

namespace {

constexpr std::size_t kMostInLine = 78;
constexpr std::string_view kStandIn = "zevka-text-";

// ASCII is the caller's own spelling, encoded words in it too.
bool IsWrittenAsItIs(std::string_view value) {
  return std::all_of(value.begin(), value.end(),
                     [](char character) { return static_cast<unsigned char>(character) < 0x80; });
}

std::string StandIn(std::size_t index) {
  std::string name(kStandIn);
  return name.append(std::to_string(index)).append("-");
}

std::string_view LineEndOf(const OutlineField& field) {
  const std::size_t end = field.whole.find_last_not_of("\r\n");
  const std::string_view lineEnd = field.whole.substr(end + 1);
  return lineEnd.empty() ? std::string_view("\n") : lineEnd;
}

// The field of that name in whose value the stand-in is; null when there is none.
const OutlineField* FieldWith(const OutlinePart& message, std::string_view name,
                              std::string_view standIn) {
  const std::string lowerName = Lower(name);
  for (const OutlineField& field : message.fields) {
    if (Lower(field.name) == lowerName && field.value.find(standIn) != std::string_view::npos) {
      return &field;
    }
  }
  return nullptr;
}

// Lines of at most 78 characters, broken in front of blanks, where words permit it.
//   column  of the first character
std::string Folded(std::string_view text, std::size_t column, std::string_view lineEnd) {
  std::string result;
  while (!text.empty()) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    const std::size_t end = std::min(text.find_first_of(" \t", begin), text.size());
    if (column + end > kMostInLine && begin > 0 && begin < text.size()) {
      result += lineEnd;
      column = 0;
    }
    result += text.substr(0, end);
    column += end;
    text.remove_prefix(end);
  }
  return result;
}

}  // namespace

std::string GivenValue(const FieldWish& wish, std::size_t index) {
  return IsWrittenAsItIs(wish.value) ? wish.value : StandIn(index);
}

bool HaveStandIns(const std::vector<FieldWish>& wishes) {
  return std::any_of(wishes.begin(), wishes.end(),
                     [](const FieldWish& wish) { return !IsWrittenAsItIs(wish.value); });
}

std::string WithFieldTexts(const std::vector<FieldWish>& wishes, const Outline& result,
                           std::string_view text) {
  std::vector<Patch> patches;
  std::deque<std::string> texts;  // what the patches refer to
  for (std::size_t index = 0; index < wishes.size(); ++index) {
    const FieldWish& wish = wishes[index];
    const std::string standIn = StandIn(index);
    const OutlineField* field =
        IsWrittenAsItIs(wish.value) ? nullptr : FieldWith(result.Message(), wish.name, standIn);
    if (field != nullptr) {
      const std::size_t place = field->value.find(standIn);
      texts.push_back(Folded(WithEncodedWords(Trim(wish.value)), field->name.size() + 1 + place,
                             LineEndOf(*field)));
      patches.push_back({field->value.substr(place, standIn.size()), texts.back(), {}});
    }
  }
  return Patched(text, std::move(patches));
}

}  // namespace zevka::host
