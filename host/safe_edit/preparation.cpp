#include "host/safe_edit/preparation.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>
#include <vector>

#include "host/kit/text.h"
#include "host/safe_edit/stretch.h"

namespace zevka::host {

namespace {

constexpr std::array<std::string_view, 2> kNamesWithoutLetter = {"kim-signature",
                                                                 "omainkey-signature"};
constexpr std::string_view kLetters = "QZXYWVUTSRPONMLKJIHGFECBA";
constexpr char kOwnLetter = 'D';
constexpr char kToLower = 'a' - 'A';
constexpr std::string_view kPlaceholder = "X-Zevka-No-Fields";
constexpr std::string_view kMboxBeginning = "From ";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Whether the field is called as a signature is, but for its first letter.
bool HasNameWithLetter(const OutlineField& field, char letter) {
  const std::string lower = Lower(field.name);
  return !lower.empty() && lower[0] == letter + kToLower &&
         std::find(kNamesWithoutLetter.begin(), kNamesWithoutLetter.end(),
                   std::string_view(lower).substr(1)) != kNamesWithoutLetter.end();
}

// Writes another first letter, capital or small as the old one, into each such name.
//   text  a copy of what the outline was read from
void ChangeLetter(const Outline& outline, std::string_view read, char from, char to,
                  std::string* text) {
  for (const OutlinePart* part : outline.AllParts()) {
    for (const OutlineField& field : part->fields) {
      if (HasNameWithLetter(field, from) && LiesIn(field.name, read)) {
        char& first = (*text)[OffsetIn(field.name, read)];
        first = first == from ? to : static_cast<char>(to + kToLower);
      }
    }
  }
}

// Whether the part begins with the empty line in front of its body.
bool IsWithoutFields(const OutlinePart& part) {
  return part.fields.empty() && part.brokenLines.empty() && !part.header.empty();
}

// The parts below multiparts that have no fields.
std::vector<const OutlinePart*> PartsWithoutFields(const Outline& outline) {
  std::vector<const OutlinePart*> found;
  for (const OutlinePart* part : outline.AllParts()) {
    if (part->kind != OutlineKind::kMultipart) {
      continue;
    }
    for (const OutlinePart& child : part->children) {
      if (IsWithoutFields(child)) {
        found.push_back(&child);
      }
    }
  }
  return found;
}

}  // namespace

std::size_t BytesInFront(std::string_view text) {
  const std::size_t mark = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const std::string_view rest = text.substr(mark);
  const std::size_t end = rest.find_first_of("\r\n");
  if (!rest.starts_with(kMboxBeginning) || end == std::string_view::npos) {
    return mark;
  }
  return mark + end + (rest.substr(end).starts_with("\r\n") ? 2 : 1);
}

Preparation::Preparation(const Outline& message)
    : hasEmptyParts_(!PartsWithoutFields(message).empty()), placeholder_(kPlaceholder) {
  std::set<char> taken;
  std::set<std::string> names;
  for (const OutlinePart* part : message.AllParts()) {
    for (const OutlineField& field : part->fields) {
      hasSignatures_ = hasSignatures_ || HasNameWithLetter(field, kOwnLetter);
      names.insert(Lower(field.name));
      for (const char letter : kLetters) {
        if (HasNameWithLetter(field, letter)) {
          taken.insert(letter);
        }
      }
    }
  }
  while (names.count(Lower(placeholder_)) != 0) {
    placeholder_ += 'x';
  }
  const auto* const free = std::find_if(kLetters.begin(), kLetters.end(),
                                        [&taken](char letter) { return taken.count(letter) == 0; });
  letter_ = free == kLetters.end() ? kOwnLetter : *free;  // then the library will refuse
}

std::string Preparation::Prepared(const Outline& message, std::string_view text) const {
  std::string masked(text);
  if (hasSignatures_) {
    ChangeLetter(message, text, kOwnLetter, letter_, &masked);
  }
  std::vector<Patch> patches;
  std::string field = placeholder_;
  field += ": -";
  for (const OutlinePart* part : PartsWithoutFields(message)) {
    if (LiesIn(part->header, text)) {
      const std::size_t place = OffsetIn(part->header, text);
      // The block is the empty line only, so it ends the new field's line as well.
      patches.push_back({std::string_view(masked).substr(place, 0), field, part->header});
    }
  }
  return patches.empty() ? masked : Patched(masked, std::move(patches));
}

std::string Preparation::Restored(const std::string& result, const OutlineLimits& limits) const {
  const Outline outline = Outline::Read(result, limits);
  std::string restored = result;
  if (hasSignatures_) {
    ChangeLetter(outline, result, letter_, kOwnLetter, &restored);
  }
  std::vector<Patch> patches;
  for (const OutlinePart* part : outline.AllParts()) {
    for (const OutlineField& field : part->fields) {
      if (field.name == placeholder_ && LiesIn(field.whole, result)) {
        const std::size_t place = OffsetIn(field.whole, result);
        patches.push_back({std::string_view(restored).substr(place, field.whole.size()), {}, {}});
      }
    }
  }
  return patches.empty() ? restored : Patched(restored, std::move(patches));
}

}  // namespace zevka::host
