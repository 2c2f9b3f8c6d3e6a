#include "host/safe_edit/stretch.h"

#include <algorithm>
#include <functional>

namespace zevka::host {

bool LiesIn(std::string_view stretch, std::string_view text) {
  const std::less_equal<> notBehind;
  return notBehind(text.data(), stretch.data()) &&
         notBehind(stretch.data() + stretch.size(), text.data() + text.size());
}

std::size_t OffsetIn(std::string_view stretch, std::string_view text) {
  return static_cast<std::size_t>(stretch.data() - text.data());
}

std::string Patched(std::string_view text, std::vector<Patch> patches) {
  std::stable_sort(patches.begin(), patches.end(), [](const Patch& left, const Patch& right) {
    return left.place.data() < right.place.data();
  });
  std::string result;
  result.reserve(text.size());
  std::size_t done = 0;
  for (const Patch& patch : patches) {
    const std::size_t begin = OffsetIn(patch.place, text);
    if (begin < done) {
      continue;
    }
    result += text.substr(done, begin - done);
    result += patch.text;
    result += patch.more;
    done = begin + patch.place.size();
  }
  return result += text.substr(done);
}

}  // namespace zevka::host
