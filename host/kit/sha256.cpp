#include "host/kit/sha256.h"

#include <algorithm>
#include <bit>

namespace zevka::host {

namespace {

using Word = std::uint32_t;

constexpr std::size_t kRounds = 64;
constexpr std::size_t kBlockWords = 16;
constexpr std::size_t kLengthBytes = 8;

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::array<Word, kRounds> kConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

Word WordAt(const char* bytes) {
  const auto byte = [bytes](std::size_t index) {
    return Word{static_cast<std::uint8_t>(bytes[index])};
  };
  return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

// One round. The caller turns the names of the eight words instead of moving the words.
inline void Round(Word a, Word b, Word c, Word& d, Word e, Word f, Word g, Word& h, Word input) {
  const Word sumE = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
  const Word sumA = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
  h += sumE + (g ^ (e & (f ^ g))) + input;
  d += h;
  h += sumA + ((a & b) | (c & (a | b)));
}

std::array<Word, kRounds> Schedule(const char* block) {
  std::array<Word, kRounds> words;  // NOLINT(*-member-init): written whole below
  for (std::size_t index = 0; index < kBlockWords; ++index) {
    words[index] = WordAt(block + 4 * index);
  }
  for (std::size_t index = kBlockWords; index < kRounds; ++index) {
    const Word near = words[index - 2];
    const Word far = words[index - 15];
    words[index] = words[index - 16] + words[index - 7] +
                   (std::rotr(far, 7) ^ std::rotr(far, 18) ^ (far >> 3)) +
                   (std::rotr(near, 17) ^ std::rotr(near, 19) ^ (near >> 10));
  }
  return words;
}

}  // namespace

void Sha256::AddBlock(const char* block) {
  const std::array<Word, kRounds> words = Schedule(block);
  auto [a, b, c, d, e, f, g, h] = state_;
  for (std::size_t index = 0; index < kRounds; index += 8) {
    const auto input = [&words, index](std::size_t step) {
      return kConstants[index + step] + words[index + step];
    };
    Round(a, b, c, d, e, f, g, h, input(0));
    Round(h, a, b, c, d, e, f, g, input(1));
    Round(g, h, a, b, c, d, e, f, input(2));
    Round(f, g, h, a, b, c, d, e, input(3));
    Round(e, f, g, h, a, b, c, d, input(4));
    Round(d, e, f, g, h, a, b, c, input(5));
    Round(c, d, e, f, g, h, a, b, input(6));
    Round(b, c, d, e, f, g, h, a, input(7));
  }
  const std::array<Word, 8> mixed = {a, b, c, d, e, f, g, h};
  for (std::size_t index = 0; index < state_.size(); ++index) {
    state_[index] += mixed[index];
  }
}

void Sha256::Add(std::string_view bytes) {
  const std::size_t begun = totalBytes_ % kBlockBytes;
  totalBytes_ += bytes.size();
  if (begun != 0) {
    const std::size_t taken = std::min(bytes.size(), kBlockBytes - begun);
    std::copy_n(bytes.data(), taken, pending_.data() + begun);
    bytes.remove_prefix(taken);
    if (begun + taken < kBlockBytes) {
      return;
    }
    AddBlock(pending_.data());
  }
  for (; bytes.size() >= kBlockBytes; bytes.remove_prefix(kBlockBytes)) {
    AddBlock(bytes.data());
  }
  std::copy(bytes.begin(), bytes.end(), pending_.begin());
}

std::string Sha256::HexDigest() const {
  Sha256 rest(*this);
  const std::size_t begun = totalBytes_ % kBlockBytes;
  const std::size_t zeros =
      (begun < kBlockBytes - kLengthBytes ? kBlockBytes : 2 * kBlockBytes) - begun - kLengthBytes;
  std::string padding(zeros, '\0');
  padding[0] = '\x80';
  for (int shift = 56; shift >= 0; shift -= 8) {
    padding.push_back(static_cast<char>((totalBytes_ * 8) >> shift & 0xFF));
  }
  rest.Add(padding);

  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string digest;
  for (const Word word : rest.state_) {
    for (int shift = 28; shift >= 0; shift -= 4) {
      digest.push_back(kDigits[word >> shift & 0xF]);
    }
  }
  return digest;
}

std::string Sha256Hex(std::string_view bytes) {
  Sha256 digest;
  digest.Add(bytes);
  return digest.HexDigest();
}

}  // namespace zevka::host
