// Pseudo-random input for tests that compare two ways over many inputs. The seed is printed when
// such a test fails, and ZEVKA_TEST_SEED sets it.
#ifndef ZEVKA_TESTS_SUPPORT_RANDOM_BYTES_H
#define ZEVKA_TESTS_SUPPORT_RANDOM_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

namespace zevka::test {

inline std::uint64_t TestSeed() {
  const char* const text = std::getenv("ZEVKA_TEST_SEED");
  return text == nullptr ? 20240229 : std::strtoull(text, nullptr, 10);
}

class RandomBytes {
 public:
  explicit RandomBytes(std::uint64_t seed) : generator_(seed) {}

  // From 0 to `most`, that included.
  std::size_t Number(std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most)(generator_);
  }
  std::string Bytes(std::size_t length) {
    std::string bytes(length, '\0');
    for (char& c : bytes) {
      c = static_cast<char>(Number(255));
    }
    return bytes;
  }
  // Characters of a set.
  std::string From(std::string_view set, std::size_t length) {
    std::string text(length, '\0');
    for (char& c : text) {
      c = set[Number(set.size() - 1)];
    }
    return text;
  }

 private:
  std::mt19937_64 generator_;
};

}  // namespace zevka::test

#endif  // ZEVKA_TESTS_SUPPORT_RANDOM_BYTES_H
