#include "plugin/temporary_names.h"

#include <string_view>

#include "footer/random_text.h"

namespace zevka {
namespace {

constexpr std::string_view kPrefix = "filename-";
constexpr std::size_t kNumberLength = 8;   // digits at least
constexpr std::size_t kRandomLength = 24;  // characters

}  // namespace

TemporaryNames::~TemporaryNames() {
  const MutexGuard guard(mutex_);
  tempNameCounter_ = 0;
}

std::string TemporaryNames::Next() {
  std::uint32_t number = 0;
  {
    const MutexGuard guard(mutex_);
    number = tempNameCounter_++;
  }
  const std::string digits = std::to_string(number);
  std::string name(kPrefix);
  name.append(digits.size() < kNumberLength ? kNumberLength - digits.size() : 0, '0');
  name.append(digits).append("-");
  // The letters are drawn outside the lock, one after the other.
  for (std::size_t i = 0; i < kRandomLength; ++i) {
    name += RandomLetterOrDigit();
  }
  return name;
}

}  // namespace zevka
