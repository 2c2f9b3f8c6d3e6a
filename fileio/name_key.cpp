#include "fileio/name_key.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>

namespace zevka {
namespace {

constexpr std::uint32_t kStartHigh = 0x67452301;
constexpr std::uint32_t kStartLow = 0xEFCDAB89;
constexpr std::uint32_t kRoundStep = 0x9E3779B9;
constexpr std::uint32_t kLastSum = 0xE3779B90;  // sixteen steps
constexpr std::int32_t kBlockBytes = 16;

using Block = std::array<std::uint32_t, 4>;

// Shifts one byte into a word. KEEP(key-signed-bytes): bytes of 0x80 and above are added as
// negative numbers and so take from the bits above them.
std::uint32_t ShiftIn(std::uint32_t word, char byte) {
  const std::uint32_t bits = static_cast<unsigned char>(byte);
  const std::uint32_t signExtension = bits >= 0x80 ? 0xFFFFFF00 : 0;
  return (word << 8) + (signExtension | bits);
}

// The next four words of a name with `remaining` bytes left. Places without a byte hold the count
// of remaining bytes, which is why short names collide when they end in such bytes.
Block NextBlock(const char* bytes, std::int32_t remaining) {
  std::uint32_t pad = static_cast<std::uint32_t>(remaining);
  pad |= pad << 8;
  pad |= pad << 16;
  Block words = {pad, pad, pad, pad};
  const std::int32_t count = std::min(remaining, kBlockBytes);
  for (std::int32_t i = 0; i < count; ++i) {
    std::uint32_t& word = words[static_cast<std::size_t>(i) / 4];
    word = ShiftIn(word, bytes[i]);
  }
  return words;
}

// KEEP(key-adds): the round adds where the well-known cipher uses exclusive-or and the reverse.
void MixBlock(const Block& words, std::uint32_t& high, std::uint32_t& low) {
  std::uint32_t sum = 0;
  do {
    high += (((low << 4) ^ (low >> 5)) + (low ^ sum)) + words[sum & 3];
    sum += kRoundStep;
    low += (((high << 4) ^ (high >> 5)) + (high ^ sum)) + words[(sum >> 11) & 3];
  } while (sum != kLastSum);
}

// The names of one message come again and again, so each thread remembers the keys of some names.
constexpr std::size_t kKnownKeys = 16;
constexpr std::size_t kLongestKnown = 112;  // characters
constexpr std::size_t kTailBytes = 8;       // of a name, by which its place is chosen

struct KnownKey {
  std::size_t length = 0;
  NameKey key;
  std::array<char, kLongestKnown> name{};
};

constinit thread_local std::array<KnownKey, kKnownKeys> knownKeys{};

// The name of which a key was computed last, and how far the halves were behind each of its whole
// blocks: names of one message begin alike, and how a name goes on does not tell on whole blocks.
struct LastName {
  std::size_t blocks = 0;
  std::array<char, kLongestKnown> name{};
  std::array<NameKey, kLongestKnown / kBlockBytes> behind{};
};

constinit thread_local LastName lastName{};

std::size_t PlaceOf(const char* name, std::size_t length) {
  std::uint64_t tail = 0;
  std::memcpy(&tail, name + length - kTailBytes, kTailBytes);
  constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;
  return (tail * kSpread) >> 60;
}

// As ComputeNameKey; begins where the last name began to be another one.
NameKey ComputeFromLast(const char* name, std::int32_t length) {
  LastName& last = lastName;
  const std::size_t whole = static_cast<std::size_t>(length) / kBlockBytes;
  std::size_t block = 0;
  while (block < std::min(whole, last.blocks) &&
         std::memcmp(name + block * kBlockBytes, last.name.data() + block * kBlockBytes,
                     kBlockBytes) == 0) {
    ++block;
  }
  NameKey halves = block == 0 ? NameKey{kStartHigh, kStartLow} : last.behind[block - 1];
  auto done = static_cast<std::int32_t>(block) * kBlockBytes;
  for (; done + kBlockBytes <= length; done += kBlockBytes) {
    MixBlock(NextBlock(name + done, length - done), halves.high, halves.low);
    last.behind[block++] = halves;
  }
  if (done < length) {
    MixBlock(NextBlock(name + done, length - done), halves.high, halves.low);
  }
  std::memcpy(last.name.data(), name, whole * kBlockBytes);
  last.blocks = whole;
  return {halves.high & ~1U, halves.low};
}

}  // namespace

NameKey ComputeNameKey(const char* bytes, std::int32_t length) {
  std::uint32_t high = kStartHigh;
  std::uint32_t low = kStartLow;
  for (std::int32_t remaining = length; remaining > 0; remaining -= kBlockBytes) {
    MixBlock(NextBlock(bytes, remaining), high, low);
    bytes += std::min(remaining, kBlockBytes);
  }
  return {high & ~1U, low};
}

NameKey KeyOfName(const char* name) {
  constexpr std::size_t kLongest = std::numeric_limits<std::int32_t>::max();
  const std::size_t length = std::strlen(name);
  if (length < kTailBytes || length > kLongestKnown) {
    return ComputeNameKey(name, static_cast<std::int32_t>(std::min(length, kLongest)));
  }
  KnownKey& known = knownKeys[PlaceOf(name, length)];
  if (known.length != length || std::memcmp(known.name.data(), name, length) != 0) {
    known.key = ComputeFromLast(name, static_cast<std::int32_t>(length));
    known.length = length;
    std::memcpy(known.name.data(), name, length);
  }
  return known.key;
}

}  // namespace zevka
