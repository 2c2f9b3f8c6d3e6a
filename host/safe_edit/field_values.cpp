#include "host/safe_edit/field_values.h"

#include <algorithm>
#include <string>

#include "host/kit/text.h"
#include "host/safe_edit/encoded_words.h"
#include "host/safe_edit/outline.h"

namespace zevka::host {

namespace {

bool IsWritten(std::string_view value, std::string_view wish) {
  const bool isAscii = std::all_of(wish.begin(), wish.end(), [](char character) {
    return static_cast<unsigned char>(character) < 0x80;
  });
  return SameValue(value, wish) || (!isAscii && DecodedWords(Unfolded(value)) == Trim(wish));
}

}  // namespace

bool SameValue(std::string_view left, std::string_view right) {
  return left == right || Trim(Unfolded(left)) == Trim(Unfolded(right));
}

bool IsWishedValue(std::string_view value, const FieldWish& wish, std::string_view subjectSuffix) {
  if (IsWritten(value, wish.value)) {
    return true;
  }
  return !subjectSuffix.empty() && Lower(wish.name) == "subject" &&
         IsWritten(value, std::string(wish.value).append(subjectSuffix));
}

}  // namespace zevka::host
